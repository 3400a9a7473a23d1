#pragma once

#include <memory>
#include <optional>
#include <string>

#include "client/client.h"
#include "top/board.h"
#include "top/scene.h"
#include "top/view.h"

namespace top {

// Where what is shown comes from: a device, or a recording of one. Owns the board. Waits for
// nothing. Used by one thread.
class Stage {
  public:
    virtual ~Stage() = default;

    const Board& board() const { return board_; }

    // Readable when step() finds something; -1 for none.
    virtual int descriptor() const = 0;
    // Brings board and view up to date, `elapsed` after the call before.
    virtual void step(View& view, Moment elapsed) = 0;
    // When the next step is due if nothing becomes readable; nothing: never.
    virtual std::optional<Moment> untilNext() const = 0;
    // The present, in the time of the board.
    virtual Moment now() const = 0;
    virtual Status status() const = 0;
    // Does what a key asked for, and tells the view how it went.
    virtual void carryOut(Request request, View& view) = 0;
    // Ends what goes on behind the picture. Why not all of what was to be recorded is on the disk,
    // "PATH: reason", whenever that happened; nothing while all is well.
    virtual std::optional<std::string> finish() { return std::nullopt; }

  protected:
    explicit Stage(const std::string& object) : board_(object) {}

    Board board_;
};

// The device on the bus; what is heard of it goes into the file `recordTo` from the beginning
// unless that is empty. Throws std::runtime_error when that file cannot be made.
std::unique_ptr<Stage> makeLiveStage(const pallctl::Reach& reach, const std::string& recordTo);

// The recording in that file, for the device of that object. Throws BadUsage when it cannot be
// read, or is none.
std::unique_ptr<Stage> makePlayStage(const std::string& path, const std::string& object);

}  // namespace top
