// The title bar has the names of the device on the left and its link on the right. The footer
// depends on the mode: a notice and the keys, a line being typed, or a question.

#include "pallctl/top/status_lines.h"

#include <cstdio>

#include "client/format_value.h"
#include "pallctl/network/network_plan.h"
#include "pallctl/top/alarms.h"
#include "pallctl/top/line_layout.h"

namespace pallctl::top {

namespace {

using client::Parameter;

std::string selectSeparator(Charset charset) {
    return charset == Charset::unicode ? " · " : " - ";
}

Line renderNames(const RenderInput& input) {
    Line line;
    for (const char* leaf : {"frameName", "systemName", "version"}) {
        if (input.state.find(leaf)) {
            const std::string between = line.empty() ? " " : selectSeparator(input.charset);
            line.push_back({between + displayValue(input.state.find(leaf)), Style::title});
        }
    }
    return line.empty() ? Line{{" pallctl top", Style::title}} : line;
}

std::string formatSpeed(double speed) {
    char text[16];
    std::snprintf(text, sizeof text, "x%g", speed);
    return text;
}

std::string formatLink(const Status& status, Moment now) {
    if (status.link == Link::connected) {
        return "connected";
    }
    const char* const missing = status.link == Link::noBus ? "no bus" : "no answer";
    return missing + (" for " + formatAge(now - status.linkSince));
}

std::string formatPace(const Playing& playing) {
    if (playing.at >= playing.length) {
        return "end";
    }
    return playing.paused ? "paused" : formatSpeed(playing.speed);
}

std::string formatState(const RenderInput& input) {
    const Status& status = input.status;
    if (!status.playing) {
        return formatLink(status, input.now);
    }
    const Playing& playing = *status.playing;
    return formatClock(playing.at) + "/" + formatClock(playing.length) + " " + formatPace(playing);
}

std::string describeRange(const client::Descriptor& descriptor) {
    client::Descriptor number = descriptor;
    number.widget.clear();
    std::string text;
    if (descriptor.minimum) {
        text += " from " + client::formatValue(number, util::jsonNumber(*descriptor.minimum).get());
    }
    if (descriptor.maximum) {
        text +=
            " up to " + client::formatValue(number, util::jsonNumber(*descriptor.maximum).get());
    }
    return text;
}

// The valid values of a parameter.
std::string describeKind(const client::Descriptor& descriptor) {
    if (!descriptor.choices.empty()) {
        return "one of: " + showable(client::choiceNames(descriptor)) + " (up, down)";
    }
    if (client::isAddress(descriptor)) {
        return "an address such as 10.1.2.3";
    }
    if (descriptor.type == client::kStructureType) {
        return "member=value, for some or all of them";
    }
    if (descriptor.type == "STRING") {
        return descriptor.maxLength < 0
                   ? "a text"
                   : "a text of up to " + std::to_string(descriptor.maxLength) + " bytes";
    }
    return (descriptor.type == "FLOAT" ? "a number" : "a whole number") + describeRange(descriptor);
}

Line renderEditNotice(const RenderInput& input) {
    const client::Parameter* const parameter = input.view.edited();
    if (!input.view.notice().text.empty() || !parameter) {
        return {{" " + input.view.notice().text, input.view.notice().style}};
    }
    const client::Descriptor& descriptor = parameter->descriptor;
    return {{" " + showable(descriptor.label) + " (" + showable(descriptor.type) + "): ",
             Style::prompt},
            {describeKind(descriptor)}};
}

// The text being typed, scrolled so that the cursor is visible.
Footer renderInputLine(const RenderInput& input, const std::string& question, std::size_t columns) {
    const std::string shown = " " + question;
    const std::string before = showable(input.view.line().textBeforeCursor());
    const std::string all = showable(input.view.line().text());
    const std::size_t taken = lineWidth(shown) + lineWidth(before);
    Footer foot;
    if (taken < columns) {
        foot.keys = {{shown, Style::prompt}, {all}};
        foot.cursor = taken;
        return foot;
    }
    std::string tail = before;
    while (lineWidth(tail) >= columns && !tail.empty()) {
        tail.erase(0, getFirstCharacter(tail).size());
    }
    foot.keys = {{tail}};
    foot.cursor = lineWidth(tail);
    return foot;
}

Line renderHints(const RenderInput& input) {
    const bool playing = input.view.sourceKind() == SourceKind::recording;
    const char* const hints =
        playing ? " q quit  ? help  space pause  + - speed  left right seek  / search  f filter"
                : " q quit  ? help  / search  n N next  f filter  Enter set  r record";
    return {{hints, Style::dim}};
}

// A small screen may show none of the readings.
Line renderAlarmNotice(const RenderInput& input) {
    std::string names;
    for (const Parameter* parameter : findAlarming(input.state, input.now)) {
        names += (names.empty() ? "" : ", ") + showable(input.state.leafName(*parameter));
    }
    return names.empty() ? Line() : Line{{" ! out of range: " + names, Style::bad}};
}

Line renderNotice(const RenderInput& input) {
    const View& view = input.view;
    if (!view.notice().text.empty()) {
        return {{" " + view.notice().text, view.notice().style}};
    }
    if (view.waiting()) {
        const Waiting& waiting = *view.waiting();
        return {{" setting " + showable(waiting.leaf) + " to " + waiting.to + ", " +
                     formatAge(input.now - waiting.since),
                 Style::prompt}};
    }
    if (!view.filter().empty()) {
        const bool isEmpty = !view.selected();
        return {{(isEmpty ? " nothing matches " : " only what matches ") + showable(view.filter()) +
                     " (Esc shows all)",
                 isEmpty ? Style::bad : Style::prompt}};
    }
    return renderAlarmNotice(input);
}

Footer renderQuestion(const RenderInput& input) {
    const Change& change = input.view.change();
    Footer foot;
    foot.notice = {
        {" Set " + showable(change.leaf) + " from " + change.from + " to " + change.to + "? y/n",
         Style::prompt}};
    if (const auto* member = pallctl::findNetworkMember(change.leaf)) {
        foot.keys = {{std::string(" Takes effect even if it disconnects you; pallctl network ") +
                          member->option + " can roll back",
                      Style::bad}};
    }
    return foot;
}

}  // namespace

Line renderTitleBar(const RenderInput& input, std::size_t columns) {
    Line right{{" " + input.status.place + selectSeparator(input.charset), Style::title},
               {formatState(input) + " ", Style::title}};
    if (input.status.recordingTo) {
        right.insert(right.begin(), {" REC " + *input.status.recordingTo + " ", Style::bad});
    }
    return justify(renderNames(input), right, columns, Style::title);
}

Footer renderFooter(const RenderInput& input, std::size_t columns) {
    Footer foot;
    switch (input.view.mode()) {
        case Mode::search:
            foot = renderInputLine(input, "search: ", columns);
            foot.notice = renderNotice(input);
            break;
        case Mode::filter:
            foot = renderInputLine(input, "filter: ", columns);
            foot.notice = renderNotice(input);
            break;
        case Mode::edit:
            foot = renderInputLine(input, "new value: ", columns);
            foot.notice = renderEditNotice(input);
            break;
        case Mode::confirm:
            return renderQuestion(input);
        case Mode::browse:
        case Mode::help:
            foot.notice = renderNotice(input);
            foot.keys = renderHints(input);
            break;
    }
    return foot;
}

}  // namespace pallctl::top
