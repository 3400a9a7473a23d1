// Each reading is judged by itself: a finding with a state, a text and performance data. The worst
// state is the state of the command, and the findings become its line.

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <utility>

#include "cli/command_line.h"
#include "cli/standard_output.h"
#include "client/format_value.h"
#include "client/known_parameters.h"
#include "pallctl/commands/commands.h"
#include "pallctl/values/threshold.h"

namespace pallctl {

namespace {

// In the order of the exit statuses.
enum class State { ok, warning, critical, unknown };
constexpr std::array kWords{"OK", "WARNING", "CRITICAL", "UNKNOWN"};
constexpr State kWorstFirst[] = {State::critical, State::warning, State::unknown, State::ok};

constexpr int kUnknownStatus = static_cast<int>(State::unknown);

// The battery is sampled by the first poll of all; before that, and on a card that polls nothing,
// the daemon publishes its initial values.
constexpr const char* kSampledFirst = "battVoltage";
constexpr double kNotSampled = -1;

struct Ranges {
    std::optional<Threshold> warning;
    std::optional<Threshold> critical;
};

struct Finding {
    State state;
    std::string text;
    std::string performance;  // performance data; empty: none
};

// Separates text and performance data, so that neither contains it.
std::string withoutSeparator(std::string text) {
    std::ranges::replace(text, '|', '/');
    return cli::onOneLine(std::move(text));
}

std::string formatLine(State state, const std::string& text, const std::string& performance) {
    return std::string(kWords[static_cast<size_t>(state)]) + ": " + withoutSeparator(text) +
           (performance.empty() ? "" : " |" + withoutSeparator(performance)) + "\n";
}

std::string formatLabel(std::string name) {
    std::ranges::replace_if(
        name, [](char byte) { return byte == '\'' || byte == '='; }, '_');
    return '\'' + name + '\'';
}

// The number as people see it.
std::optional<double> findNumber(const client::Parameter& parameter) {
    if (!cJSON_IsNumber(parameter.value.get())) {
        return std::nullopt;
    }
    return client::roundAsShown(parameter.descriptor, parameter.value->valuedouble);
}

std::string formatNumber(const client::Descriptor& descriptor, std::optional<double> number) {
    client::Descriptor plain;
    plain.type = descriptor.type;
    plain.precision = descriptor.precision;
    return number ? client::formatValue(plain, util::jsonNumber(*number).get()) : "";
}

std::string explain(const Threshold& threshold) {
    return std::string(threshold.alertsInside ? " (inside " : " (outside ") +
           formatThreshold({threshold.range, false}) + ")";
}

// Given ranges replace the catalogue's of the same kind.
Ranges selectRanges(const Ranges& given, const systemstate::Limits* limits) {
    if (!limits) {
        return given;
    }
    return {given.warning.value_or(Threshold{limits->usual}),
            given.critical.value_or(Threshold{limits->tolerated})};
}

class Check {
  public:
    Check(const client::ConnectionOptions& connection, Ranges ranges)
        : client_(connection, client::Subscription::answers), ranges_(ranges) {}

    // Without names all parameters that have limits are checked. Returns the exit status.
    int run(const std::vector<std::string>& names) {
        const auto checked = names.empty() ? namesWithLimits() : names;
        std::vector<std::string> read = checked;
        read.push_back(client_.device().fullName(kSampledFirst));
        const ExitStatus status = client_.read(read);
        std::vector<Finding> findings;
        if (status != kSuccess) {
            findings.push_back({State::unknown, client_.describeFailure(status), ""});
        } else {
            for (const std::string& name : client_.expand(checked)) {
                findings.push_back(judge(name));
            }
        }
        return report(findings);
    }

  private:
    std::vector<std::string> namesWithLimits() const {
        std::vector<std::string> names = client_.catalogue();
        std::erase_if(names, [](const std::string& name) { return !client::findLimits(name); });
        if (names.empty()) {
            throw cli::UsageError("needs names: there are limits of the daemon's device only");
        }
        return names;
    }

    Finding judge(const std::string& name) const {
        const std::string leaf = client_.device().leafName(name);
        const client::Parameter* const parameter = client_.cache().described(name);
        const auto* const limits = client::findLimits(name);
        if (!parameter) {
            return {State::unknown, leaf + " " + client_.describeUnknown(name), ""};
        }
        const auto number = findNumber(*parameter);
        if (!number) {
            return {State::unknown, leaf + " has no number", ""};
        }
        if (limits && !isMeasured()) {
            return {State::unknown, leaf + " is not measured", ""};
        }
        const Ranges ranges = selectRanges(ranges_, limits);
        if (!ranges.warning && !ranges.critical) {
            return {State::unknown, leaf + " has no limits, give --warning or --critical", ""};
        }
        return judge(*parameter, leaf, *number, ranges, limits ? limits->unit : "");
    }

    bool isMeasured() const {
        const auto* const first = client_.cache().find(client_.device().fullName(kSampledFirst));
        return !first || findNumber(*first) != kNotSampled;
    }

    static Finding judge(const client::Parameter& parameter, const std::string& leaf, double number,
                         const Ranges& ranges, const std::string& unit) {
        const std::string value = formatNumber(parameter.descriptor, number);
        Finding finding{State::ok, leaf + " " + value + (unit.empty() ? "" : " " + unit), ""};
        if (ranges.critical && isAlert(*ranges.critical, number)) {
            finding.state = State::critical;
            finding.text += explain(*ranges.critical);
        } else if (ranges.warning && isAlert(*ranges.warning, number)) {
            finding.state = State::warning;
            finding.text += explain(*ranges.warning);
        }
        finding.performance = formatLabel(leaf) + "=" + value + ";" +
                              formatThreshold(ranges.warning.value_or(Threshold())) + ";" +
                              formatThreshold(ranges.critical.value_or(Threshold())) + ";" +
                              formatNumber(parameter.descriptor, parameter.descriptor.minimum) +
                              ";" +
                              formatNumber(parameter.descriptor, parameter.descriptor.maximum);
        return finding;
    }

    // One line: the worst first, and what is right only when all is.
    static int report(const std::vector<Finding>& findings) {
        std::string texts;
        std::string performance;
        State worst = State::ok;
        for (const State state : kWorstFirst) {
            for (const Finding& finding : findings) {
                if (finding.state == state && (state != State::ok || worst == State::ok)) {
                    worst = texts.empty() ? state : worst;
                    texts += (texts.empty() ? "" : ", ") + finding.text;
                }
            }
        }
        for (const Finding& finding : findings) {
            performance += finding.performance.empty() ? "" : " " + finding.performance;
        }
        cli::print(formatLine(worst, texts, performance));
        return static_cast<int>(worst);
    }

    client::Client client_;
    Ranges ranges_;
};

struct Arguments {
    std::vector<std::string> names;
    std::string warning;
    std::string critical;
};

std::string checkThreshold(const std::string& text) {
    return parseThreshold(text)
               ? ""
               : "invalid range '" + text + "'; use 10, 10:, ~:10, 10:20 or @10:20";
}

int check(const Options& options, const Arguments& arguments) {
    requirePlainFormat(options);
    client::ConnectionOptions connection = options.connection();
    connection.reportsFailures = false;  // the line says it
    const Ranges ranges{parseThreshold(arguments.warning), parseThreshold(arguments.critical)};
    if (arguments.names.empty() && (ranges.warning || ranges.critical)) {
        throw cli::UsageError("--warning and --critical need names");
    }
    return Check(connection, ranges).run(arguments.names);
}

}  // namespace

void addCheck(cli::Command program, const Options& options) {
    cli::Command command =
        program.addCommand("check", "Compare readings with their limits, as a plugin");
    const auto arguments = std::make_shared<Arguments>();
    command.add("NAME", arguments->names, "Only these; without it all that have limits");
    command.add("--warning", arguments->warning, "Warn outside this range, such as 11.4:12.6")
        .kind("RANGE")
        .check(checkThreshold);
    command.add("--critical", arguments->critical, "Critical outside this range")
        .kind("RANGE")
        .check(checkThreshold);
    command.notes(
        "For a monitoring system: prints one line with performance data, and exits\n"
        "with 0 (ok), 1 (warning), 2 (critical) or 3 (unknown, also after a mistake in\n"
        "the command line, without a bus and without an answer).\n"
        "A range is 10 (0 to 10), 10:, ~:10, 10:20, or @10:20 to alert inside it.");
    command.reportFailures({kUnknownStatus, [](const std::string& error) {
                                return formatLine(State::unknown, error, "");
                            }});
    command.work([&options, arguments] { return check(options, *arguments); });
}

}  // namespace pallctl
