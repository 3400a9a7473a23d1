#include "program/command_line.h"

#include <string>

void finishCommandLine(CLI::App& app) {
    app.set_version_flag("--version", app.get_name() + " " PALLWATCH_VERSION);
    app.failure_message([](const CLI::App* program, const CLI::Error& error) {
        return program->get_name() + ": " + error.what() + " (--help tells more)\n";
    });
}

std::optional<int> readCommandLine(CLI::App& app, int argc, const char* const* argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kBadUsage;
    }
    return std::nullopt;
}
