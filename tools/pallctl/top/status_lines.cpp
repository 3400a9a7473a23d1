#include "pallctl/top/status_lines.h"

#include <cstdio>

#include "client/format_value.h"
#include "pallctl/network/network_plan.h"
#include "pallctl/top/lines.h"

namespace pallctl::top {

namespace {

using client::Descriptor;
using client::Parameter;

std::string separator(Charset charset) {
    return charset == Charset::unicode ? " · " : " - ";
}

Line namesOf(const RenderInput& input) {
    Line line;
    for (const char* leaf : {"frameName", "systemName", "version"}) {
        if (input.state.find(leaf)) {
            const std::string between = line.empty() ? " " : separator(input.charset);
            line.push_back({between + valueOf(input.state.find(leaf)), Style::title});
        }
    }
    return line.empty() ? Line{{" pallctl top", Style::title}} : line;
}

std::string speedText(double speed) {
    char text[16];
    std::snprintf(text, sizeof text, "x%g", speed);
    return text;
}

std::string linkText(const Status& status, Moment now) {
    if (status.link == Link::connected) {
        return "connected";
    }
    const char* const missing = status.link == Link::noBus ? "no bus" : "no answer";
    return missing + (" for " + ageText(now - status.linkSince));
}

std::string paceText(const Playing& playing) {
    if (playing.at >= playing.length) {
        return "end";
    }
    return playing.paused ? "paused" : speedText(playing.speed);
}

std::string stateText(const RenderInput& input) {
    const Status& status = input.status;
    if (!status.playing) {
        return linkText(status, input.now);
    }
    const Playing& playing = *status.playing;
    return clockText(playing.at) + "/" + clockText(playing.length) + " " + paceText(playing);
}

std::string rangeText(const client::Descriptor& descriptor) {
    client::Descriptor number = descriptor;
    number.widget.clear();
    std::string text;
    if (descriptor.least) {
        text += " from " + client::formatValue(number, util::jsonNumber(*descriptor.least).get());
    }
    if (descriptor.most) {
        text += " up to " + client::formatValue(number, util::jsonNumber(*descriptor.most).get());
    }
    return text;
}

// What a parameter takes.
std::string kindText(const client::Descriptor& descriptor) {
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
    return (descriptor.type == "FLOAT" ? "a number" : "a whole number") + rangeText(descriptor);
}

Line editNotice(const RenderInput& input) {
    const client::Parameter* const parameter = input.view.edited();
    if (!input.view.notice().text.empty() || !parameter) {
        return {{" " + input.view.notice().text, input.view.notice().style}};
    }
    const client::Descriptor& descriptor = parameter->descriptor;
    return {{" " + showable(descriptor.label) + " (" + showable(descriptor.type) + "): ",
             Style::prompt},
            {kindText(descriptor)}};
}

// What the person types, scrolled so that the cursor stays in sight.
Footer typed(const RenderInput& input, const std::string& question, std::size_t columns) {
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
        tail.erase(0, firstCharacter(tail).size());
    }
    foot.keys = {{tail}};
    foot.cursor = lineWidth(tail);
    return foot;
}

Line hintsOf(const RenderInput& input) {
    const bool playing = input.view.sourceKind() == SourceKind::recording;
    const char* const hints =
        playing ? " q quit  ? help  space pause  + - speed  left right seek  / search  f filter"
                : " q quit  ? help  / search  n N next  f filter  Enter set  r record";
    return {{hints, Style::dim}};
}

Line noticeOf(const RenderInput& input) {
    const View& view = input.view;
    if (!view.notice().text.empty()) {
        return {{" " + view.notice().text, view.notice().style}};
    }
    if (view.waiting()) {
        const Waiting& waiting = *view.waiting();
        return {{" setting " + showable(waiting.leaf) + " to " + waiting.to + ", " +
                     ageText(input.now - waiting.since),
                 Style::prompt}};
    }
    if (!view.filter().empty()) {
        const bool isEmpty = !view.selected();
        return {{(isEmpty ? " nothing matches " : " only what matches ") + showable(view.filter()) +
                     " (Esc shows all)",
                 isEmpty ? Style::bad : Style::prompt}};
    }
    return {};
}

Footer confirmFoot(const RenderInput& input) {
    const Change& change = input.view.change();
    Footer foot;
    foot.notice = {
        {" Set " + showable(change.leaf) + " from " + change.from + " to " + change.to + "? y/n",
         Style::prompt}};
    if (const auto* member = pallctl::networkMember(change.leaf)) {
        foot.keys = {{std::string(" Takes effect even if it disconnects you; pallctl network ") +
                          member->option + " can roll back",
                      Style::bad}};
    }
    return foot;
}

}  // namespace

Line renderTitleBar(const RenderInput& input, std::size_t columns) {
    Line right{{" " + input.status.place + separator(input.charset), Style::title},
               {stateText(input) + " ", Style::title}};
    if (input.status.recordingTo) {
        right.insert(right.begin(), {" REC " + *input.status.recordingTo + " ", Style::bad});
    }
    return justified(namesOf(input), right, columns, Style::title);
}

Footer renderFooter(const RenderInput& input, std::size_t columns) {
    Footer foot;
    switch (input.view.mode()) {
        case Mode::search:
            foot = typed(input, "search: ", columns);
            foot.notice = noticeOf(input);
            break;
        case Mode::filter:
            foot = typed(input, "filter: ", columns);
            foot.notice = noticeOf(input);
            break;
        case Mode::edit:
            foot = typed(input, "new value: ", columns);
            foot.notice = editNotice(input);
            break;
        case Mode::confirm:
            return confirmFoot(input);
        case Mode::browse:
        case Mode::help:
            foot.notice = noticeOf(input);
            foot.keys = hintsOf(input);
            break;
    }
    return foot;
}

}  // namespace pallctl::top
