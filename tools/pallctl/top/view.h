#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pallctl/top/key.h"
#include "pallctl/top/line_editor.h"
#include "pallctl/top/parameter_groups.h"
#include "pallctl/top/screen_content.h"
#include "util/json.h"

namespace pallctl::top {

// The kind of source of the state.
enum class SourceKind { device, recording };

// A request to the owners of terminal, bus and files.
enum class Request { none, quit, set, record, pause, faster, slower, back, forward, begin, redraw };

// A new value for a parameter. It becomes a set when the user confirms it.
struct Change {
    std::string leaf;
    std::string from;  // formatted, as is the next
    std::string to;
    util::UniqueJSON value;
};

// The result of a set.
struct SetResult {
    enum class Kind { answered, noAnswer, connectionLost, notConnected };
    Kind kind = Kind::answered;
    int statusCode = 0;  // of the answer
};

// The current meaning of the keys.
enum class Mode { browse, search, filter, edit, confirm, help };

// A message for the user.
struct Notice {
    std::string text;  // showable
    Style style = Style::plain;
};

// A set without an answer yet.
struct Waiting {
    std::string leaf;
    std::string to;
    Moment since{0};
};

// The state of the user interface: selection, search, filter, and the value being edited.
// Independent of terminal and bus: keys come in, requests go out. Keeps a reference to the device
// state, which outlives it. Used by one thread.
class View {
  public:
    View(const DeviceState& state, SourceKind kind);

    // The owner carries out a set with takeChange() and reports to showSetResult().
    Request press(const Key& key, Moment now);
    // The confirmed change.
    Change takeChange() { return std::move(change_); }
    void showSetResult(const SetResult& result);
    // Shown until the next key.
    void say(Notice notice) { notice_ = std::move(notice); }
    // The number of table rows in a page.
    void setPage(std::size_t rows) { page_ = rows > 1 ? rows : 1; }

    SourceKind sourceKind() const { return sourceKind_; }
    Mode mode() const { return mode_; }
    // The parameters that pass the filter.
    std::vector<Section> sections() const { return groupParameters(state_, filter_); }
    // The selected parameter; null when the table is empty.
    const client::Parameter* selected() const;
    // The parameter being edited, in mode edit; null when it is no longer known.
    const client::Parameter* edited() const;
    const std::string& filter() const { return filter_; }
    const Notice& notice() const { return notice_; }
    const std::optional<Waiting>& waiting() const { return waiting_; }
    // The text being typed, in the modes that have one.
    const LineEditor& line() const { return line_; }
    // The change to confirm, in mode confirm.
    const Change& change() const { return change_; }

  private:
    struct Binding;
    static const Binding kBindings[];

    Request pressBrowse(const Key& key);
    Request pressConfirm(const Key& key, Moment now);
    void pressSearch(const Key& key);
    void pressFilter(const Key& key);
    void pressEdit(const Key& key);

    void up() { move(-1); }
    void down() { move(1); }
    void pageUp() { move(-static_cast<std::ptrdiff_t>(page_)); }
    void pageDown() { move(static_cast<std::ptrdiff_t>(page_)); }
    void first() { select(0); }
    void last();
    void startSearch();
    void startFilter();
    void startEdit();
    void help() { mode_ = Mode::help; }
    void nextMatch() { findOnward(1); }
    void previousMatch() { findOnward(-1); }
    void clearFilter() { filter_.clear(); }

    std::vector<const client::Parameter*> visible() const;
    std::size_t position() const;
    void select(std::size_t position);
    void move(std::ptrdiff_t rows);
    void find(std::ptrdiff_t start, std::ptrdiff_t step);
    void findOnward(std::ptrdiff_t step);
    void nextChoice(std::ptrdiff_t step);
    void propose();

    const DeviceState& state_;
    const SourceKind sourceKind_;
    Mode mode_ = Mode::browse;
    std::size_t page_ = 1;
    std::string selected_;    // by the last part of its name
    std::string beforehand_;  // selected when the search began
    std::string search_;
    std::string filter_;
    LineEditor line_;
    Change change_;
    std::optional<Waiting> waiting_;
    Notice notice_;
};

}  // namespace pallctl::top
