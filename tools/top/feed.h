#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/client.h"
#include "recording/recording.h"
#include "top/board.h"
#include "top/scene.h"
#include "top/view.h"

namespace top {

// Brings a board what the bus says of the device, for as long as it lives: connects again, reads
// everything again whenever bus or daemon were away, and asks every few seconds whether the daemon
// still answers. Waits for nothing: whoever owns it calls step() when the descriptor is readable
// and every second. Keeps the board, which outlives it. Used by one thread.
class Feed {
  public:
    Feed(const pallctl::Reach& reach, Board& board);

    // Readable when there is something to take in; -1 while there is no connection.
    int descriptor() const { return session_.descriptor(); }
    void step(Moment now);
    // Whether there is more to take in than one step does: the next one is due at once.
    bool isBehind() const { return behind_; }

    Link link() const { return link_; }
    Moment linkSince() const { return linkSince_; }

    // Sends one value; false, and nothing sent, when there is no bus. How it went comes out of
    // takeOutcome() once, after a later step().
    bool set(const std::string& leaf, UniqueJSON value, Moment now);
    std::optional<Outcome> takeOutcome() { return std::exchange(outcome_, std::nullopt); }

    // From now on every message is written to the file, beginning with all that can be read.
    // Throws std::runtime_error that names the file.
    void record(const std::string& path);
    // Null when all is on the disk, otherwise why it is not. Nothing to do when nothing is
    // recorded.
    std::optional<std::string> stopRecording();
    const std::optional<std::string>& recordingTo() const { return recordingTo_; }
    // Why the recording ended by itself, once; nothing while all is well.
    std::optional<std::string> takeRecordingFailure();

  private:
    // An answer that is waited for.
    struct Question {
        std::string id;
        Moment deadline{0};
    };

    void connect(Moment now);
    void takeIn(Moment now);
    void take(const pallctl::BusSession::Payload& payload, Moment now);
    void takeAnswer(const TarnInternalMessage& answer, Moment now);
    void ask(std::vector<std::string> names, Moment now);
    void endReading(Moment now);
    void giveUp(Moment now);
    void become(Link link, Moment now);

    const pallctl::Reach reach_;
    const std::vector<std::string> names_;
    Board& board_;
    pallctl::Patience patience_;
    pallctl::BusSession session_;
    pallctl::Device device_;
    Link link_ = Link::noBus;
    Moment linkSince_{0};
    Moment nextAttempt_{0};
    Moment nextQuestion_{0};
    bool stale_ = true;  // what the board holds may be old
    bool behind_ = false;
    std::vector<std::string> asked_;  // by name, in the reading that goes on
    bool isRepeated_ = false;         // that reading: for what was open in the one before
    std::optional<Question> question_;
    std::optional<Question> set_;
    std::optional<Outcome> outcome_;
    std::unique_ptr<recording::Writer> writer_;
    std::optional<std::string> recordingTo_;
};

}  // namespace top
