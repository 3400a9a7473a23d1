// The watch reads everything first; then the follower reads again whenever bus or daemon were away,
// and the parameter cache reports the changes since then. After a restart of the daemon, a filter
// holds back the values that it starts with.

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "cli/standard_output.h"
#include "client/name_pattern.h"
#include "client/restart_filter.h"
#include "pallctl/commands/commands.h"
#include "util/system_clock.h"

namespace pallctl {

namespace {

// Prints changes as they happen, one line each.
class Watch {
  public:
    // Without names everything is watched.
    Watch(const client::ConnectionOptions& connection, const Style& style,
          const std::vector<std::string>& names)
        : client_(connection, client::Subscription::announcements), style_(style), names_(names) {}

    // With `table` everything is printed first. Returns when standard output loses its reader, or
    // when there is nothing to watch to begin with. Throws std::runtime_error when standard output
    // cannot be written.
    ExitStatus run(bool table) {
        const ExitStatus status = begin(table);
        while (status == kSuccess && !client_.session().outputGone()) {
            client_.follow(filter_.next());
            if (client_.device().takeRestart()) {
                client::complain(client_.device().object(), "daemon restarted");
                filter_.restart();
            }
            for (const std::string& name : filter_.takeOverdue(client::Clock::now())) {
                print(*client_.cache().find(name));
            }
        }
        return status;
    }

  private:
    ExitStatus begin(bool table) {
        if (style_.raw) {
            client_.cache().compareExactly();
        }
        if (!table) {
            startReporting();
        }
        ExitStatus status = client_.read(names_.empty() ? client_.catalogue() : names_);
        if (status == kSuccess) {
            status = checkNames();
        }
        if (status == kSuccess && table) {
            const auto only = client_.expand(names_);
            cli::printNow(formatParameters(client_.described({only.begin(), only.end()}), style_));
            startReporting();
        }
        for (const client::Parameter* parameter : client_.described()) {
            filter_.setKnown(parameter->descriptor.name, formatOneLine(*parameter, style_));
        }
        client_.device().takeRestart();  // the first start
        return status;
    }

    ExitStatus checkNames() const {
        // Through a prefix most parameters are known only after they change.
        if (client_.device().isThroughPrefix() || client_.session().outputGone()) {
            return kSuccess;
        }
        ExitStatus status = kSuccess;
        for (const std::string& name : client_.expand(names_)) {
            if (!client_.cache().find(name)) {
                client::complain(name, client_.describeUnknown(name));
                status = kNotFound;
            }
        }
        return status;
    }

    void startReporting() {
        client_.cache().setOnChange([this](const client::Parameter& parameter) {
            client_.reportConnection();
            if (isWatched(parameter.descriptor.name) && isNews(parameter)) {
                print(parameter);
            }
        });
    }

    bool isNews(const client::Parameter& parameter) {
        return filter_.isNews(parameter.descriptor.name, formatOneLine(parameter, style_),
                              !client_.follower().isCurrent(), client::Clock::now());
    }

    void print(const client::Parameter& parameter) {
        filter_.setKnown(parameter.descriptor.name, formatOneLine(parameter, style_));
        cli::printNow(formatChange(parameter, util::readSystemClock(), style_));
    }

    // Also a parameter that is not known yet when the watch begins.
    bool isWatched(const std::string& name) const {
        return names_.empty() ||
               std::ranges::any_of(client_.device().fullNames(names_), [&](const auto& each) {
                   return each == name || client::matchesPattern(each, name);
               });
    }

    client::Client client_;
    client::RestartFilter filter_;
    Style style_;
    std::vector<std::string> names_;  // any form, or patterns; empty: everything
};

struct Arguments {
    std::vector<std::string> names;
    bool table = false;
    std::string time = cli::kTimeForms[0];
};

ExitStatus watch(const Options& options, const Arguments& arguments) {
    Style style = options.style();
    setTimeForm(style, arguments.time);
    return Watch(options.connection(), style, arguments.names).run(arguments.table);
}

}  // namespace

void addTimeOption(cli::Command command, std::string& word) {
    command.add("--time", word, "Times of day, with the date, or ISO 8601")
        .choices({std::begin(cli::kTimeForms), std::end(cli::kTimeForms)})
        .showsDefault();
}

void setTimeForm(Style& style, const std::string& word) {
    const auto* const found = std::ranges::find(cli::kTimeForms, word);
    style.time = static_cast<cli::TimeForm>(found - std::begin(cli::kTimeForms));
}

void addWatch(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("watch", "Print each change as it happens");
    const auto arguments = std::make_shared<Arguments>();
    command.add("NAME", arguments->names, "Only these");
    command.addFlag("--table", arguments->table, "Print the table first");
    addTimeOption(command, arguments->time);
    command.work([&options, arguments] { return watch(options, *arguments); });
}

}  // namespace pallctl
