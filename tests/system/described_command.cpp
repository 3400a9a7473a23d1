#include "described_command.h"

#include <sstream>

namespace outside {

namespace {

// "  head   text" without the text; "" when it is no such row.
std::string headOf(const std::string& line) {
    if (line.compare(0, 2, "  ") != 0 || line.compare(0, 3, "   ") == 0) {
        return "";
    }
    return line.substr(2, line.find("  ", 2) - 2);
}

Command describe(const Words& words, const std::string& head) {
    Command command{words, head, {}, {}};
    std::istringstream help(run(commandLine(command, {"--help"})).output);
    bool isVerb = false;
    for (std::string line; std::getline(help, line) && !(isVerb && line.empty());) {
        isVerb = isVerb || line.compare(0, 8, "Commands") == 0;
        const std::string row = headOf(line);
        if (!isVerb && row.compare(0, 1, "-") == 0) {
            command.options.push_back(row);
        } else if (isVerb && !row.empty()) {
            Words below = words;
            below.push_back(row.substr(0, row.find(' ')));
            command.verbs.push_back(describe(below, row));
        }
    }
    return command;
}

}  // namespace

std::string Command::called() const {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

Words commandLine(const Command& command, const Words& more) {
    Words line = command.words;
    line[0] = programDirectory() / line[0];
    line.insert(line.end(), more.begin(), more.end());
    return line;
}

Command describedBy(const std::string& program) {
    return describe({program}, program);
}

std::vector<Command> flattened(const Command& command) {
    std::vector<Command> all{command};
    for (const Command& verb : command.verbs) {
        const std::vector<Command> below = flattened(verb);
        all.insert(all.end(), below.begin(), below.end());
    }
    return all;
}

std::vector<Command> allCommands() {
    std::vector<Command> all;
    for (const char* program : kPrograms) {
        const std::vector<Command> commands = flattened(describedBy(program));
        all.insert(all.end(), commands.begin(), commands.end());
    }
    return all;
}

}  // namespace outside
