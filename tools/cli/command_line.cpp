// The parser library reads the line and selects the work of a command, which runs afterwards. Its
// own messages are replaced: help by help_text.h, errors by one line that names the word.

#include "cli/command_line.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "cli/completion.h"
#include "cli/help_text.h"
#include "cli/script_errors.h"
#include "cli/standard_output.h"
#include "cli/usage_error.h"

namespace cli {

namespace {

constexpr std::string_view kComplete = "complete";
constexpr std::string_view kHelp = "help";

void setUpHelp(CLI::App& app) {
    app.formatter_fn([](const CLI::App* asked, const std::string& name, CLI::AppFormatMode) {
        return helpText(*asked, name);
    });
    app.get_help_ptr()->description("Show this help and exit");
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        setUpHelp(*command);
    }
}

void printUsageError(const CLI::App& program, const std::string& text) {
    std::fprintf(stderr, "%s: %s (--help tells more)\n", program.get_name().c_str(),
                 onOneLine(text).c_str());
}

void setUpParser(CLI::App& app) {
    app.set_version_flag("--version", app.get_name() + " " + programVersion(),
                         "Print the version and exit");
    app.failure_message([](const CLI::App*, const CLI::Error&) { return std::string(); });
    setUpHelp(app);
}

// "help" and the commands behind it. Returns the exit status.
int printHelp(const CLI::App& program, const std::vector<std::string>& commands) {
    const CLI::App* command = &program;
    std::string name = program.get_name();
    for (const std::string& word : commands) {
        const CLI::App* const above = command;
        command = findCommand(*above, word);
        if (command == nullptr) {
            printUsageError(program, describeUnknownCommand(*above, word));
            return kUsageError;
        }
        name += " " + word;
    }
    printNow(helpText(*command, name));
    return 0;
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
    const std::vector<std::string> words(argv + std::min(argc, 2), argv + argc);
    if (argc > 1 && argv[1] == kComplete) {
        printNow(completion(*app_, words, completeValue));
        return 0;
    }
    if (argc > 1 && argv[1] == kHelp) {
        return printHelp(*app_, words);
    }
    try {
        app_->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream answer;  // help or version
        if (app_->exit(error, answer, answer) == 0) {
            printNow(answer.str());
            return 0;
        }
        return reportUsageError(describeUsageError(*app_, error));
    }
    try {
        const int status = selected_.run ? selected_.run() : 0;
        flushOutput();
        return status;
    } catch (const UsageError& error) {
        return reportUsageError(selected_.command + ": " + error.what());
    } catch (const std::exception& error) {
        const FailureReport* const report = findFailureReport();
        if (!report) {
            throw;
        }
        printErrors(app_->get_name().c_str(), error.what());
        return reportFailure(*report, error.what());
    }
}

const FailureReport* CommandLine::findFailureReport() const {
    const auto found = selected_.failureReports.find(&findReachedCommand(*app_));
    return found == selected_.failureReports.end() ? nullptr : &found->second;
}

int CommandLine::reportUsageError(const std::string& error) const {
    printUsageError(*app_, error);
    const FailureReport* const report = findFailureReport();
    return report ? reportFailure(*report, error) : kUsageError;
}

// Standard error has the message already if standard output cannot be written.
int CommandLine::reportFailure(const FailureReport& report, const std::string& error) const {
    try {
        printNow(report.format(error));
        return report.status;
    } catch (const std::runtime_error&) {
        return report.status;
    }
}

}  // namespace cli
