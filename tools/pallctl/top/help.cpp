#include "pallctl/top/help.h"

#include "pallctl/top/display_text.h"

namespace pallctl::top {

namespace {

struct HelpRow {
    const char* keys;
    const char* meaning;
};

constexpr HelpRow kEverywhere[] = {
    {"q, Ctrl-C", "quit"},
    {"up down, k j", "select a parameter"},
    {"PgUp PgDn", "a page up or down"},
    {"Home End, g G", "first, last"},
    {"/ text", "search names, labels and values"},
    {"n N", "next, previous match"},
    {"f text", "show only what matches; Esc shows all again"},
    {"Ctrl-L", "redraw the screen"},
};
constexpr HelpRow kOfDevice[] = {
    {"Enter", "set the selected parameter, after a question"},
    {"r", "start or stop recording the bus"},
};
constexpr HelpRow kOfRecording[] = {
    {"space", "pause, continue"},
    {"+ -", "faster, slower"},
    {"left right", "10 seconds back, ahead"},
    {"0", "from the beginning"},
};

constexpr std::size_t kKeyColumns = 16;

template <std::size_t count>
void add(std::vector<Line>& lines, const HelpRow (&rows)[count]) {
    for (const HelpRow& row : rows) {
        lines.push_back(
            {{"  " + fit(row.keys, kKeyColumns, Charset::ascii), Style::prompt}, {row.meaning}});
    }
}

}  // namespace

std::vector<Line> renderHelp(const RenderInput& input) {
    std::vector<Line> lines{{{" Keys", Style::heading}}};
    add(lines, kEverywhere);
    if (input.view.sourceKind() == SourceKind::device) {
        add(lines, kOfDevice);
    } else {
        add(lines, kOfRecording);
    }
    lines.push_back({{" A * and colour mark what changed in the last seconds. Any key goes back.",
                      Style::dim}});
    return lines;
}

}  // namespace pallctl::top
