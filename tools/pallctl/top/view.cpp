// The view is a state machine with a mode. In mode browse a table binds keys to functions and to
// requests; the other modes pass their keys to the line being typed. The selection is kept by name,
// so that it survives changes of the table.

#include "pallctl/top/view.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace pallctl::top {

using client::Parameter;

// The meaning of a key in mode browse: a function of the view, or a request to others.
struct View::Binding {
    enum class Where { everywhere, device, recording };
    KeyCode code;
    const char* text;  // of a character
    void (View::*act)();
    Request request = Request::none;
    Where where = Where::everywhere;

    bool isFor(const Key& key) const {
        return code == key.code && (code != KeyCode::character || text == key.text);
    }
    bool isIn(SourceKind kind) const {
        return where == Where::everywhere ||
               (where == Where::recording) == (kind == SourceKind::recording);
    }
};

const View::Binding View::kBindings[] = {
    {KeyCode::character, "q", nullptr, Request::quit},
    {KeyCode::redraw, "", nullptr, Request::redraw},
    {KeyCode::up, "", &View::up},
    {KeyCode::character, "k", &View::up},
    {KeyCode::down, "", &View::down},
    {KeyCode::character, "j", &View::down},
    {KeyCode::pageUp, "", &View::pageUp},
    {KeyCode::pageDown, "", &View::pageDown},
    {KeyCode::home, "", &View::first},
    {KeyCode::character, "g", &View::first},
    {KeyCode::end, "", &View::last},
    {KeyCode::character, "G", &View::last},
    {KeyCode::character, "/", &View::startSearch},
    {KeyCode::character, "n", &View::nextMatch},
    {KeyCode::character, "N", &View::previousMatch},
    {KeyCode::character, "f", &View::startFilter},
    {KeyCode::escape, "", &View::clearFilter},
    {KeyCode::character, "?", &View::help},
    {KeyCode::enter, "", &View::startEdit},
    {KeyCode::character, "r", nullptr, Request::record, Binding::Where::device},
    {KeyCode::character, " ", nullptr, Request::pause, Binding::Where::recording},
    {KeyCode::character, "+", nullptr, Request::faster, Binding::Where::recording},
    {KeyCode::character, "-", nullptr, Request::slower, Binding::Where::recording},
    {KeyCode::left, "", nullptr, Request::back, Binding::Where::recording},
    {KeyCode::right, "", nullptr, Request::forward, Binding::Where::recording},
    {KeyCode::character, "0", nullptr, Request::begin, Binding::Where::recording},
};

View::View(const DeviceState& state, SourceKind kind) : state_(state), sourceKind_(kind) {}

Request View::press(const Key& key, Moment now) {
    notice_ = {};
    switch (mode_) {
        case Mode::browse:
            return pressBrowse(key);
        case Mode::confirm:
            return pressConfirm(key, now);
        case Mode::search:
            pressSearch(key);
            break;
        case Mode::filter:
            pressFilter(key);
            break;
        case Mode::edit:
            pressEdit(key);
            break;
        case Mode::help:
            mode_ = Mode::browse;
            break;
    }
    return Request::none;
}

Request View::pressBrowse(const Key& key) {
    const auto* const binding = std::ranges::find_if(
        kBindings, [&](const Binding& each) { return each.isFor(key) && each.isIn(sourceKind_); });
    if (binding == std::end(kBindings)) {
        return Request::none;
    }
    if (binding->act) {
        (this->*binding->act)();
    }
    return binding->request;
}

void View::pressSearch(const Key& key) {
    if (key.code == KeyCode::enter) {
        mode_ = Mode::browse;
        find(0, 1);  // repeats the message without a match
    } else if (key.code == KeyCode::escape) {
        mode_ = Mode::browse;
        selected_ = beforehand_;
    } else if (line_.press(key)) {
        search_ = line_.text();
        selected_ = beforehand_;
        find(0, 1);
    }
}

void View::pressFilter(const Key& key) {
    if (key.code == KeyCode::enter || key.code == KeyCode::escape) {
        mode_ = Mode::browse;
        line_ = key.code == KeyCode::escape ? LineEditor() : line_;
    } else {
        line_.press(key);
    }
    filter_ = line_.text();
}

void View::startSearch() {
    mode_ = Mode::search;
    line_ = LineEditor();
    beforehand_ = selected_;
}

void View::startFilter() {
    mode_ = Mode::filter;
    line_ = LineEditor(filter_);
}

std::vector<const client::Parameter*> View::visible() const {
    std::vector<const client::Parameter*> parameters;
    for (const Section& section : sections()) {
        parameters.insert(parameters.end(), section.parameters.begin(), section.parameters.end());
    }
    return parameters;
}

const client::Parameter* View::selected() const {
    const auto parameters = visible();
    return parameters.empty() ? nullptr : parameters[position()];
}

// The first row when the selected parameter is not visible.
std::size_t View::position() const {
    const auto parameters = visible();
    const auto found = std::ranges::find(parameters, selected_,
                                         [&](const auto* each) { return state_.leafName(*each); });
    return found == parameters.end() ? 0 : static_cast<std::size_t>(found - parameters.begin());
}

void View::select(std::size_t position) {
    const auto parameters = visible();
    if (!parameters.empty()) {
        selected_ = state_.leafName(*parameters[std::min(position, parameters.size() - 1)]);
    }
}

void View::last() {
    const std::size_t count = visible().size();
    select(count > 0 ? count - 1 : 0);
}

void View::move(std::ptrdiff_t rows) {
    const auto target = static_cast<std::ptrdiff_t>(position()) + rows;
    select(static_cast<std::size_t>(std::max<std::ptrdiff_t>(target, 0)));
}

// Checks every row once, starting `start` rows after the selected one.
void View::find(std::ptrdiff_t start, std::ptrdiff_t step) {
    const auto parameters = visible();
    const auto count = static_cast<std::ptrdiff_t>(parameters.size());
    if (search_.empty()) {
        return;
    }
    const auto from = static_cast<std::ptrdiff_t>(position()) + start;
    for (std::ptrdiff_t tried = 0; tried < count; ++tried) {
        const auto row = from + step * tried;
        const auto index = static_cast<std::size_t>(((row % count) + count) % count);
        if (matches(state_, *parameters[index], search_)) {
            return select(index);
        }
    }
    say({"nothing matches " + showable(search_), Style::bad});
}

void View::findOnward(std::ptrdiff_t step) {
    if (search_.empty()) {
        say({"no search yet: type / and a text", Style::bad});
    } else {
        find(step, step);
    }
}

}  // namespace pallctl::top
