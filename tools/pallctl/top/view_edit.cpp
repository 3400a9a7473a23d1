// The part of the view that changes the device: type a value, confirm it, see the result.

#include <algorithm>
#include <utility>

#include "bus/message_types.h"
#include "client/device.h"
#include "client/format_value.h"
#include "client/parse_value.h"
#include "pallctl/top/view.h"

namespace pallctl::top {

namespace {

using client::Choice;
using client::Parameter;

constexpr const char* kMayHappen = "; it may still be carried out";

Notice makeNotice(const std::string& leaf, const SetResult& result) {
    const std::string subject = showable(leaf) + ": ";
    switch (result.kind) {
        case SetResult::Kind::answered:
            break;
        case SetResult::Kind::noAnswer:
            return {subject + "no answer" + kMayHappen, Style::bad};
        case SetResult::Kind::connectionLost:
            return {subject + "connection lost" + kMayHappen, Style::bad};
        case SetResult::Kind::notConnected:
            return {subject + "no bus; nothing was sent", Style::bad};
    }
    const int code = result.statusCode;
    return {subject + std::to_string(code) + " " + statusText(code),
            client::isTaken(code) ? Style::good : Style::bad};
}

}  // namespace

void View::startEdit() {
    const client::Parameter* const parameter = selected();
    if (!parameter) {
        return;
    }
    const std::string leaf = showable(state_.leafName(*parameter));
    if (sourceKind_ == SourceKind::recording) {
        say({"a recording cannot be changed", Style::bad});
    } else if (parameter->descriptor.readOnly) {
        say({leaf + " is read-only", Style::bad});
    } else if (waiting_) {
        say({"still waiting for the answer to " + showable(waiting_->leaf), Style::bad});
    } else {
        mode_ = Mode::edit;
        selected_ = state_.leafName(*parameter);
        line_ = LineEditor(client::hasValue(*parameter) ? displayValue(parameter) : "");
    }
}

// Even if the filter hides it.
const client::Parameter* View::edited() const {
    return selected_.empty() ? nullptr : state_.find(selected_);
}

void View::pressEdit(const Key& key) {
    if (key.code == KeyCode::escape) {
        mode_ = Mode::browse;
    } else if (key.code == KeyCode::enter) {
        propose();
    } else if (key.code == KeyCode::up) {
        nextChoice(-1);
    } else if (key.code == KeyCode::down || key.code == KeyCode::tab) {
        nextChoice(1);
    } else {
        line_.press(key);
    }
}

// The choice after (or before) the one in the line; the first one for another text.
void View::nextChoice(std::ptrdiff_t step) {
    const client::Parameter* const parameter = edited();
    if (!parameter || parameter->descriptor.choices.empty()) {
        return;
    }
    const std::vector<client::Choice>& choices = parameter->descriptor.choices;
    const auto count = static_cast<std::ptrdiff_t>(choices.size());
    const auto current = std::ranges::find(choices, line_.text(), &client::Choice::name);
    const auto next = current == choices.end() ? 0 : current - choices.begin() + step + count;
    line_ = LineEditor(showable(choices[static_cast<std::size_t>(next % count)].name));
}

void View::propose() {
    const client::Parameter* const parameter = edited();
    if (!parameter) {
        mode_ = Mode::browse;
        return;
    }
    client::ParsedValue form = client::parseValue(*parameter, line_.text());
    if (!form.value) {
        say({showable(form.problem), Style::bad});
    } else if (client::isSameValue(parameter->value.get(), form.value.get())) {
        mode_ = Mode::browse;
        say({showable(state_.leafName(*parameter)) + " is " + displayValue(parameter) +
             " already"});
    } else {
        // The line contains all members, not only the changed ones.
        if (cJSON_IsObject(form.value.get())) {
            client::dropSameMembers(parameter->value.get(), form.value.get());
        }
        mode_ = Mode::confirm;
        change_ = {state_.leafName(*parameter), displayValue(parameter),
                   showable(client::formatValue(parameter->descriptor, form.value.get())),
                   std::move(form.value)};
    }
}

Request View::pressConfirm(const Key& key, Moment now) {
    if (key.code == KeyCode::character && (key.text == "y" || key.text == "Y")) {
        mode_ = Mode::browse;
        waiting_ = Waiting{change_.leaf, change_.to, now};
        return Request::set;
    }
    if (key.code == KeyCode::escape || key.text == "n" || key.text == "N") {
        mode_ = Mode::browse;
        say({showable(change_.leaf) + " stays " + change_.from});
    }
    return Request::none;
}

void View::showSetResult(const SetResult& result) {
    if (const auto waiting = std::exchange(waiting_, std::nullopt)) {
        say(makeNotice(waiting->leaf, result));
    }
}

}  // namespace pallctl::top
