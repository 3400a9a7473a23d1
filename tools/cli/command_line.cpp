// The parser library reads the line and selects the work of a command, which runs afterwards. Its
// own messages are replaced: help by help_text.h, errors by one line that names the word.

#include "cli/command_line.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "cli/completion.h"
#include "cli/help_text.h"
#include "cli/script_errors.h"
#include "cli/standard_output.h"

namespace cli {

namespace {

constexpr std::string_view kComplete = "complete";

void setUpHelp(CLI::App& app) {
    app.formatter_fn([](const CLI::App* asked, const std::string& name, CLI::AppFormatMode) {
        return helpText(*asked, name);
    });
    app.get_help_ptr()->description("Show this help and exit");
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        setUpHelp(*command);
    }
}

// The innermost command that the parser reached before the error.
const CLI::App& findReachedCommand(const CLI::App& app) {
    const auto commands = app.get_subcommands();
    return commands.empty() ? app : findReachedCommand(*commands.back());
}

// The first word that no command took; empty when there is none.
std::string findUnexpectedWord(const CLI::App& command) {
    for (const CLI::App* asked = &command; asked != nullptr; asked = asked->get_parent()) {
        const auto words = asked->remaining();
        if (!words.empty()) {
            return words[0];
        }
    }
    return "";
}

std::string describeError(const CLI::App& app, const CLI::Error& error) {
    const CLI::App& command = findReachedCommand(app);
    const bool needsCommand = command.get_require_subcommand_min() > 0;
    const bool isUnexpected =
        error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    const std::string word = findUnexpectedWord(command);
    if (!word.empty() && (needsCommand || isUnexpected)) {
        const char* const what = needsCommand ? "unknown command" : "unexpected argument";
        return (word.starts_with("-") ? "unknown option" : what) + (" '" + word + "'");
    }
    return needsCommand && error.get_name() == "RequiredError" ? "a command is required"
                                                               : error.what();
}

void setUpParser(CLI::App& app) {
    app.set_version_flag("--version", app.get_name() + " " + programVersion(),
                         "Print the version and exit");
    app.failure_message([](const CLI::App* program, const CLI::Error& error) {
        return program->get_name() + ": " + onOneLine(describeError(*program, error)) +
               " (--help tells more)\n";
    });
    setUpHelp(app);
}

// Takes the places of a standard input, output or error that the program was started without, so
// that no file or connection of its own gets them. Using what was missing fails as before. The
// lowest free descriptor is the next that is missing.
void holdStandardDescriptors() {
    struct Place {
        int descriptor;
        int mode;  // not used there
    };
    for (const Place& place : {Place{STDIN_FILENO, O_WRONLY}, Place{STDOUT_FILENO, O_RDONLY},
                               Place{STDERR_FILENO, O_RDONLY}}) {
        if (::fcntl(place.descriptor, F_GETFD) < 0 && ::open("/dev/null", place.mode) < 0) {
            throw std::system_error(errno, std::generic_category(), "/dev/null");
        }
    }
}

}  // namespace

int runProgram(const char* program, int failure, const std::function<int()>& work) {
    try {
        holdStandardDescriptors();
        return work();
    } catch (const UserError& errors) {
        printErrors(program, errors.what());
        return kUsageError;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", program, error.what());
        return failure;
    }
}

std::string onOneLine(std::string text, char replacement) {
    std::replace_if(
        text.begin(), text.end(),
        [](char byte) { return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f'; },
        replacement);
    return text;
}

void printErrors(const char* program, const std::string& lines) {
    std::istringstream all(lines);
    for (std::string line; std::getline(all, line);) {
        std::fprintf(stderr, "%s: %s\n", program, line.c_str());
    }
}

const char* programVersion() {
    return PALLWATCH_VERSION;
}

CommandLine::CommandLine(const std::string& program, const std::string& about)
    : app_(std::make_unique<CLI::App>(about, program)) {}

CommandLine::~CommandLine() = default;

Command CommandLine::program() {
    return Command(*app_, selected_);
}

int CommandLine::run(int argc, const char* const* argv, const CompleteValue& completeValue) {
    setUpParser(*app_);
    if (argc > 1 && argv[1] == kComplete) {
        const std::vector<std::string> words(argv + 2, argv + argc);
        printNow(completion(*app_, words, completeValue));
        return 0;
    }
    try {
        app_->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream answer;  // help or version
        const int status = app_->exit(error, answer, std::cerr);
        printNow(answer.str());
        return status == 0 ? 0 : findUsageStatus();
    }
    try {
        const int status = selected_.run ? selected_.run() : 0;
        flushOutput();
        return status;
    } catch (const UsageError& error) {
        std::fprintf(stderr, "%s: %s: %s (--help tells more)\n", app_->get_name().c_str(),
                     selected_.command.c_str(), onOneLine(error.what()).c_str());
        return findUsageStatus();
    }
}

int CommandLine::findUsageStatus() const {
    const auto found = selected_.usageStatuses.find(&findReachedCommand(*app_));
    return found == selected_.usageStatuses.end() ? kUsageError : found->second;
}

}  // namespace cli
