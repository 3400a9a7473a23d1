// The text is made from the same App that parses the line. Each row has a head and a text in a
// column of its own, wrapped at kColumns.

#include "cli/help_text.h"

#include <algorithm>
#include <sstream>

namespace cli {

std::vector<const CLI::Option*> listOptions(const CLI::App& app, bool positional) {
    return app.get_options(
        [positional](const CLI::Option* option) { return option->get_positional() == positional; });
}

namespace {

using CLI::detail::join;
using CLI::detail::split;

constexpr size_t kColumns = 80;
constexpr size_t kTextColumn = 26;

// The parser's words for types, which do not help people.
constexpr const char* kTypes[] = {"TEXT", "INT", "UINT", "FLOAT", "BOOLEAN"};

// "  head   text", the text in a column of its own; a long head has a line of its own.
std::string formatRow(const std::string& head, const std::string& text) {
    std::string line = "  " + head;
    std::string lines;
    if (line.size() + 2 > kTextColumn) {
        lines = line + "\n";
        line.clear();
    }
    line.resize(kTextColumn, ' ');
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (line.size() + 1 + word.size() > kColumns) {
            lines += line + "\n";
            line.assign(kTextColumn, ' ');
        }
        line += (line.size() == kTextColumn ? "" : " ") + word;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return lines + line + "\n";
}

bool repeats(const CLI::Option& option) {
    return option.get_expected_max() >= CLI::detail::expected_max_vector_size;
}

std::string formatOptionHead(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    const std::string word = valueWord(option);
    return join(names, ", ") + (word.empty() ? "" : " " + word);
}

std::string formatOptionText(const CLI::Option& option) {
    const std::string usual = option.get_default_str();
    return option.get_description() + (usual.empty() ? "" : " (" + usual + ")");
}

std::vector<const CLI::App*> findCommands(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

// "NAME [VALUE...]", the arguments of a command.
std::string listPositionals(const CLI::App& app) {
    std::vector<std::string> words;
    for (const CLI::Option* option : listOptions(app, true)) {
        const std::string word = option->get_name(true) + (repeats(*option) ? "..." : "");
        words.push_back(option->get_required() ? word : "[" + word + "]");
    }
    return join(words, " ");
}

std::string formatCommandHead(const CLI::App& command) {
    const std::string words = listPositionals(command);
    return command.get_name() + (words.empty() ? "" : " " + words);
}

// The command "help" of a program has no line of its own: its help fills a screen already.
std::string formatCommandsTitle(const CLI::App& app) {
    return app.get_parent() ? "Commands (COMMAND --help tells more):\n"
                            : "Commands (help COMMAND or COMMAND --help tells more):\n";
}

std::string formatUsage(const CLI::App& app, const std::string& name) {
    std::string line = "Usage: " + name + " [OPTIONS]";
    if (!findCommands(app).empty()) {
        line += app.get_require_subcommand_min() == 0 ? " [COMMAND]" : " COMMAND";
    }
    const std::string words = listPositionals(app);
    return line + (words.empty() ? "" : " " + words) + "\n";
}

}  // namespace

std::vector<std::string> listChoices(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const size_t begin = type.find('{');
    const size_t end = type.find('}', begin);
    return end == std::string::npos ? std::vector<std::string>()
                                    : split(type.substr(begin + 1, end - begin - 1), ',');
}

const CLI::App* findCommand(const CLI::App& app, const std::string& name) {
    const auto found =
        app.get_subcommands([&name](const CLI::App* command) { return command->check_name(name); });
    return found.empty() ? nullptr : found.front();
}

std::string valueWord(const CLI::Option& option) {
    if (option.get_expected_max() == 0) {
        return "";
    }
    // Checks append their own words to the type, after colons.
    const std::string type = option.get_type_name();
    std::string word = type.substr(0, type.find(':'));
    const bool isNamed = std::find(std::begin(kTypes), std::end(kTypes), word) == std::end(kTypes);
    if (isNamed && !word.empty()) {
        return word;
    }
    const std::string choices = join(listChoices(option), "|");
    return choices.empty() ? "VALUE" : choices;
}

std::string helpText(const CLI::App& app, const std::string& name) {
    std::string text = app.get_description();
    text.erase(text.find_last_not_of('\n') + 1);
    text += "\n" + formatUsage(app, name);
    for (const CLI::Option* option : listOptions(app, true)) {
        const std::string choices = join(listChoices(*option), "|");
        const std::string about = formatOptionText(*option);
        text += formatRow(option->get_name(true), about.empty() ? choices : about);
    }
    text += "Options:\n";
    for (const CLI::Option* option : listOptions(app, false)) {
        text += formatRow(formatOptionHead(*option), formatOptionText(*option));
    }
    const auto commands = findCommands(app);
    text += commands.empty() ? "" : formatCommandsTitle(app);
    for (const CLI::App* command : commands) {
        text += formatRow(formatCommandHead(*command), command->get_description());
    }
    const std::string notes = app.get_footer();
    return text + (notes.empty() ? "" : "\n" + notes + "\n");
}

}  // namespace cli
