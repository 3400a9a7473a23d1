#include "program/command_line.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "program/completion.h"
#include "program/help_text.h"
#include "program/standard_output.h"

namespace {

constexpr std::string_view kComplete = "complete";

void explainItself(CLI::App& app) {
    app.formatter_fn([](const CLI::App* asked, const std::string& name, CLI::AppFormatMode) {
        return helpText(*asked, name);
    });
    app.get_help_ptr()->description("Print this and end");
    for (CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
        explainItself(*verb);
    }
}

// The app or verb that the words got to before they made no sense.
const CLI::App& reached(const CLI::App& app) {
    const auto verbs = app.get_subcommands();
    return verbs.empty() ? app : reached(*verbs.back());
}

std::string problem(const CLI::App& app, const CLI::Error& error) {
    const CLI::App& verb = reached(app);
    if (verb.get_require_subcommand_min() == 0) {
        return error.what();
    }
    for (const CLI::App* asked = &verb; asked != nullptr; asked = asked->get_parent()) {
        const auto words = asked->remaining();
        if (!words.empty()) {
            return (words[0].starts_with("-") ? "no option '" : "no verb '") + words[0] + "'";
        }
    }
    return error.get_name() == "RequiredError" ? "a verb is required" : error.what();
}

void finish(CLI::App& app) {
    app.set_version_flag("--version", app.get_name() + " " + programVersion(), "Print the version");
    app.failure_message([](const CLI::App* program, const CLI::Error& error) {
        return program->get_name() + ": " + onOneLine(problem(*program, error)) +
               " (--help tells more)\n";
    });
    explainItself(app);
}

}  // namespace

std::string onOneLine(std::string text, char instead) {
    std::replace_if(
        text.begin(), text.end(),
        [](char byte) { return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f'; },
        instead);
    return text;
}

void complainOfEach(const char* program, const std::string& lines) {
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

Verb CommandLine::program() {
    return Verb(*app_);
}

std::optional<int> CommandLine::read(int argc, const char* const* argv,
                                     const OfferValues& offerValues) {
    finish(*app_);
    if (argc > 1 && argv[1] == kComplete) {
        const std::vector<std::string> words(argv + 2, argv + argc);
        printNow(completion(*app_, words, offerValues));
        return 0;
    }
    try {
        app_->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream answer;  // help or version
        const int status = app_->exit(error, answer, std::cerr);
        printNow(answer.str());
        return status == 0 ? 0 : kBadUsage;
    }
    return std::nullopt;
}
