#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/client.h"
#include "pallctl/top/device_state.h"
#include "pallctl/top/render_input.h"
#include "pallctl/top/view.h"
#include "recording/recording.h"

namespace pallctl::top {

// Updates a device state with what the bus says of the device, for as long as it lives: connects
// again, reads everything again whenever bus or daemon were away, and asks every few seconds
// whether the daemon still answers. Waits for nothing: whoever owns it calls step() when the
// descriptor is readable and every second. Keeps the state, which outlives it. Used by one thread.
class LiveFeed {
  public:
    LiveFeed(const client::ConnectionOptions& connection, DeviceState& state);

    // Readable when there are messages; -1 while there is no connection.
    int descriptor() const { return session_.descriptor(); }
    void step(Moment now);
    // Whether more messages are waiting than one step takes: call step() again at once.
    bool isBehind() const { return behind_; }

    Link link() const { return link_; }
    Moment linkSince() const { return linkSince_; }

    // Sends one value; false when there is no bus. A later step() makes the result available, once,
    // through takeSetResult().
    bool set(const std::string& leaf, util::UniqueJSON value, Moment now);
    std::optional<SetResult> takeSetResult() { return std::exchange(setResult_, std::nullopt); }

    // Records every message to the file from now on, and reads everything again first. Throws
    // std::runtime_error that names the file.
    void record(const std::string& path);
    // Empty when everything is on the disk, otherwise the failure. Does nothing without a
    // recording.
    std::optional<std::string> stopRecording();
    const std::optional<std::string>& recordingTo() const { return recordingTo_; }
    // The failure that ended the recording, once; empty otherwise.
    std::optional<std::string> takeRecordingFailure();

  private:
    // An answer that is waited for.
    struct Question {
        std::string id;
        Moment deadline{0};
    };

    void connect(Moment now);
    void receiveAll(Moment now);
    void take(const client::BusSession::Payload& payload, Moment now);
    void takeAnswer(const TarnInternalMessage& answer, Moment now);
    void ask(std::vector<std::string> names, Moment now);
    void endReading(Moment now);
    void checkTimeouts(Moment now);
    void setLink(Link link, Moment now);

    const client::ConnectionOptions connection_;
    const std::vector<std::string> names_;
    DeviceState& state_;
    client::Timeouts timeouts_;
    client::BusSession session_;
    client::Device device_;
    Link link_ = Link::noBus;
    Moment linkSince_{0};
    Moment nextAttempt_{0};
    Moment nextQuestion_{0};
    bool stale_ = true;  // what the state holds may be old
    bool behind_ = false;
    std::vector<std::string> asked_;  // by name, in the reading that goes on
    bool isRepeated_ = false;         // that reading: for what was open in the one before
    std::optional<Question> question_;
    std::optional<Question> set_;
    std::optional<SetResult> setResult_;
    std::unique_ptr<recording::Writer> writer_;
    std::optional<std::string> recordingTo_;
};

}  // namespace pallctl::top
