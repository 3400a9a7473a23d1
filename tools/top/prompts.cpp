#include "top/prompts.h"

#include <cstdio>

#include "client/human_form.h"
#include "client/network_plan.h"
#include "top/lines.h"

namespace top {

namespace {

using pallctl::Descriptor;
using pallctl::Parameter;

std::string separator(Charset charset) {
    return charset == Charset::unicode ? " · " : " - ";
}

Line namesOf(const Scene& scene) {
    Line line;
    for (const char* leaf : {"frameName", "systemName", "version"}) {
        if (scene.board.find(leaf)) {
            const std::string between = line.empty() ? " " : separator(scene.charset);
            line.push_back({between + valueOf(scene.board.find(leaf)), Style::title});
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

std::string stateText(const Scene& scene) {
    const Status& status = scene.status;
    if (!status.playing) {
        return linkText(status, scene.now);
    }
    const Playing& playing = *status.playing;
    return clockText(playing.at) + "/" + clockText(playing.length) + " " + paceText(playing);
}

std::string rangeText(const Descriptor& descriptor) {
    pallctl::Descriptor number = descriptor;
    number.widget.clear();
    std::string text;
    if (descriptor.least) {
        text += " from " + pallctl::humanForm(number, jsonNumber(*descriptor.least).get());
    }
    if (descriptor.most) {
        text += " up to " + pallctl::humanForm(number, jsonNumber(*descriptor.most).get());
    }
    return text;
}

// What a parameter takes.
std::string kindText(const Descriptor& descriptor) {
    if (!descriptor.choices.empty()) {
        return "one of: " + showable(pallctl::choiceNames(descriptor)) + " (up, down)";
    }
    if (pallctl::isAddress(descriptor)) {
        return "an address such as 10.1.2.3";
    }
    if (descriptor.type == pallctl::kStructureType) {
        return "member=value, for some or all of them";
    }
    if (descriptor.type == "STRING") {
        return descriptor.maxLength < 0
                   ? "a text"
                   : "a text of up to " + std::to_string(descriptor.maxLength) + " bytes";
    }
    return (descriptor.type == "FLOAT" ? "a number" : "a whole number") + rangeText(descriptor);
}

Line editNotice(const Scene& scene) {
    const Parameter* const parameter = scene.view.edited();
    if (!scene.view.notice().text.empty() || !parameter) {
        return {{" " + scene.view.notice().text, scene.view.notice().style}};
    }
    const Descriptor& descriptor = parameter->descriptor;
    return {{" " + showable(descriptor.label) + " (" + showable(descriptor.type) + "): ",
             Style::prompt},
            {kindText(descriptor)}};
}

// What the person types, scrolled so that the cursor stays in sight.
Foot typed(const Scene& scene, const std::string& question, std::size_t columns) {
    const std::string shown = " " + question;
    const std::string before = showable(scene.view.line().textBeforeCursor());
    const std::string all = showable(scene.view.line().text());
    const std::size_t taken = columnsOf(shown) + columnsOf(before);
    Foot foot;
    if (taken < columns) {
        foot.keys = {{shown, Style::prompt}, {all}};
        foot.cursor = taken;
        return foot;
    }
    std::string tail = before;
    while (columnsOf(tail) >= columns && !tail.empty()) {
        tail.erase(0, firstCharacter(tail).size());
    }
    foot.keys = {{tail}};
    foot.cursor = columnsOf(tail);
    return foot;
}

Line hintsOf(const Scene& scene) {
    const bool playing = scene.view.source() == Source::recording;
    const char* const hints =
        playing ? " q quit  ? help  space pause  + - speed  left right seek  / search  f filter"
                : " q quit  ? help  / search  n N next  f filter  Enter set  r record";
    return {{hints, Style::dim}};
}

Line noticeOf(const Scene& scene) {
    const View& view = scene.view;
    if (!view.notice().text.empty()) {
        return {{" " + view.notice().text, view.notice().style}};
    }
    if (view.waiting()) {
        const Waiting& waiting = *view.waiting();
        return {{" setting " + showable(waiting.leaf) + " to " + waiting.to + ", " +
                     ageText(scene.now - waiting.since),
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

Foot confirmFoot(const Scene& scene) {
    const Change& change = scene.view.change();
    Foot foot;
    foot.notice = {
        {" Set " + showable(change.leaf) + " from " + change.from + " to " + change.to + "? y/n",
         Style::prompt}};
    if (const auto* member = pallctl::networkMember(change.leaf)) {
        foot.keys = {{std::string(" Stays also when it cuts you off; pallctl network ") +
                          member->option + " has a way back",
                      Style::bad}};
    }
    return foot;
}

}  // namespace

Line barOf(const Scene& scene, std::size_t columns) {
    Line right{{" " + scene.status.place + separator(scene.charset), Style::title},
               {stateText(scene) + " ", Style::title}};
    if (scene.status.recordingTo) {
        right.insert(right.begin(), {" REC " + *scene.status.recordingTo + " ", Style::bad});
    }
    return justified(namesOf(scene), right, columns, Style::title);
}

Foot footOf(const Scene& scene, std::size_t columns) {
    Foot foot;
    switch (scene.view.mode()) {
        case Mode::search:
            foot = typed(scene, "search: ", columns);
            foot.notice = noticeOf(scene);
            break;
        case Mode::filter:
            foot = typed(scene, "filter: ", columns);
            foot.notice = noticeOf(scene);
            break;
        case Mode::edit:
            foot = typed(scene, "new value: ", columns);
            foot.notice = editNotice(scene);
            break;
        case Mode::confirm:
            return confirmFoot(scene);
        case Mode::browse:
        case Mode::help:
            foot.notice = noticeOf(scene);
            foot.keys = hintsOf(scene);
            break;
    }
    return foot;
}

}  // namespace top
