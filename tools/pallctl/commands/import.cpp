// The file is checked as a whole before anything is sent: its form first, then its names and values
// against the descriptors of the device. What differs is the plan, which the user confirms; then
// each setting is sent as a request of its own.

#include <unistd.h>

#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "cli/escape.h"
#include "cli/signal_fd.h"
#include "cli/standard_output.h"
#include "cli/table.h"
#include "cli/timed_script.h"
#include "pallctl/commands/commands.h"
#include "pallctl/commands/set_request.h"
#include "pallctl/network/network_plan.h"
#include "pallctl/values/settings_file.h"

namespace pallctl {

namespace {

constexpr const char* kStandardInput = "-";
constexpr size_t kReadableValue = 12;  // columns of a value in a narrow terminal

struct Arguments {
    std::string file;
    bool yes = false;
    bool dryRun = false;
};

struct PlannedSet {
    const client::Parameter* parameter;  // owned by the cache
    util::UniqueJSON value;
};

class Import {
  public:
    Import(const Options& options, const Arguments& arguments)
        : client_(options.connection(), client::Subscription::changes),
          style_(options.style()),
          arguments_(arguments),
          errors_(arguments.file) {}

    // Throws cli::script::Error with all errors in the file; nothing is set then.
    ExitStatus run() {
        const bool isInput = arguments_.file == kStandardInput;
        settings_ =
            parseSettings(cli::script::readFile(isInput ? "/dev/stdin" : arguments_.file), errors_);
        errors_.throwAll();
        const ExitStatus status = client_.read(listNames());
        if (status != kSuccess) {
            return status;
        }
        plan();
        errors_.throwAll();
        printPlan();
        if (arguments_.dryRun || plan_.empty()) {
            return kSuccess;
        }
        if (!arguments_.yes && !confirm()) {
            client::complain("not confirmed; nothing is set");
            return kFailed;
        }
        return send();
    }

  private:
    std::vector<std::string> listNames() const {
        std::vector<std::string> names;
        for (const Setting& setting : settings_) {
            names.push_back(setting.name);
        }
        return names;
    }

    void plan() {
        std::set<std::string> seen;
        for (const Setting& setting : settings_) {
            const std::string name = client_.device().fullName(setting.name);
            const std::string problem =
                seen.insert(name).second ? plan(name, setting.value) : "given more than once";
            if (!problem.empty()) {
                errors_.add(setting.line, cli::escapeForTerminal(name).append(": ").append(
                                              cli::escapeForTerminal(problem)));
            }
        }
    }

    // Returns the error.
    std::string plan(const std::string& name, const std::string& text) {
        const client::Parameter* const parameter = client_.cache().described(name);
        if (!parameter) {
            return client_.describeUnknown(name);
        }
        if (parameter->descriptor.readOnly) {
            return "is read-only";
        }
        if (const auto* const member = findNetworkMember(client_.device().leafName(name))) {
            return std::string("is not imported; use 'pallctl network ") + member->option + "'";
        }
        client::ParsedValue parsed = parseSetting(*parameter, text);
        if (parsed.value && !client::isSameValue(parameter->value.get(), parsed.value.get())) {
            plan_.push_back({parameter, std::move(parsed.value)});
        }
        return parsed.problem;
    }

    void printPlan() const {
        cli::Table table({"NAME", {"NOW", kReadableValue}, {"NEW", kReadableValue}});
        for (const PlannedSet& planned : plan_) {
            const client::Parameter wanted{planned.parameter->descriptor,
                                           util::copyJSON(planned.value.get())};
            table.add({cli::escapeForTerminal(wanted.descriptor.name),
                       formatOneLine(*planned.parameter, style_), formatOneLine(wanted, style_)});
        }
        const std::string same = std::to_string(settings_.size() - plan_.size()) + " of " +
                                 std::to_string(settings_.size()) + " settings are set already\n";
        cli::printNow((plan_.empty() ? "" : table.text(style_.colour, style_.columns)) + same);
    }

    bool confirm() const {
        std::cerr << "Set " << plan_.size() << (plan_.size() == 1 ? " parameter" : " parameters")
                  << "? (yes/no) " << std::flush;
        std::string answer;
        return arguments_.file != kStandardInput && std::getline(std::cin, answer) &&
               (answer == "yes" || answer == "y");
    }

    ExitStatus send() {
        SetRequest request(client_, style_, {});
        for (PlannedSet& planned : plan_) {
            request.add(planned.parameter->descriptor.name, std::move(planned.value));
        }
        int signal = 0;
        const ExitStatus status = request.send(signal);
        cli::printNow(std::to_string(request.countSet()) + " of " + std::to_string(plan_.size()) +
                      " set\n");
        if (signal != 0) {
            cli::endBySignal(signal);
        }
        return status;
    }

    client::Client client_;
    Style style_;
    Arguments arguments_;
    cli::script::Errors errors_;
    std::vector<Setting> settings_;
    std::vector<PlannedSet> plan_;
};

ExitStatus importSettings(const Options& options, const Arguments& arguments) {
    requirePlainFormat(options);
    if (arguments.file == kStandardInput && !arguments.yes && !arguments.dryRun) {
        throw cli::UsageError("settings from standard input need --yes or --dry-run");
    }
    return Import(options, arguments).run();
}

}  // namespace

void addImport(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("import", "Set the parameters in a file of export");
    const auto arguments = std::make_shared<Arguments>();
    command.add("FILE", arguments->file, "Lines NAME=VALUE; - for standard input").required();
    command.addFlag("-y,--yes", arguments->yes, "Do not ask");
    command.addFlag("-n,--dry-run", arguments->dryRun, "Print what would be set");
    command.notes(
        "Checks the whole file, prints what differs from the device, and asks before it\n"
        "sets anything. Nothing is set if a line is wrong.");
    command.work([&options, arguments] { return importSettings(options, *arguments); });
}

}  // namespace pallctl
