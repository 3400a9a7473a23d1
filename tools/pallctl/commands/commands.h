#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "client/client.h"
#include "pallctl/options.h"

// The commands of pallctl, each in the file of its name. An add function describes the command and
// its work to the command line.

namespace pallctl {

using AddCommand = void (*)(cli::Command program, const Options& options);

void addCheck(cli::Command program, const Options& options);
void addDescribe(cli::Command program, const Options& options);
void addExport(cli::Command program, const Options& options);
void addGet(cli::Command program, const Options& options);
void addImport(cli::Command program, const Options& options);
void addList(cli::Command program, const Options& options);
void addMonitor(cli::Command program, const Options& options);
void addNetwork(cli::Command program, const Options& options);
void addSet(cli::Command program, const Options& options);
void addTop(cli::Command program, const Options& options);
void addVersion(cli::Command program, const Options& options);
void addWait(cli::Command program, const Options& options);
void addWatch(cli::Command program, const Options& options);

// The option --time of a command that prints lines with times, into a word that setTimeForm()
// reads.
void addTimeOption(cli::Command command, std::string& word);
void setTimeForm(Style& style, const std::string& word);

// For a command with one output format: throws cli::UsageError when another one is requested.
void requirePlainFormat(const Options& options);

// The outcome of a command for one parameter, as a word for programs and as an exit status.
struct Outcome {
    const char* word;
    ExitStatus status;
};

// The outcomes that more than one command has.
inline constexpr Outcome kInvalidValue{"invalid", kUsage};
inline constexpr Outcome kUnknownName{"notFound", kNotFound};
inline constexpr Outcome kUnanswered{"noAnswer", kNoAnswer};
inline constexpr Outcome kNotSent{"notSent", kNoAnswer};

// The parameters of these names or patterns that the device describes; reports the others as not
// found, and raises the status accordingly.
std::vector<const client::Parameter*> findParameters(const client::Client& client,
                                                     const std::vector<std::string>& names,
                                                     ExitStatus& status);

}  // namespace pallctl
