#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "client/client.h"
#include "pallctl/top/device_state.h"
#include "pallctl/top/render_input.h"
#include "pallctl/top/view.h"
#include "recording/recording.h"

namespace pallctl::top {

// Updates a device state from the device that it follows, sends sets to it, and records the
// messages. Never waits: the owner calls step() when the descriptor is readable and every second.
// Keeps a reference to the state, which outlives it. Used by one thread.
class LiveFeed {
  public:
    LiveFeed(const client::ConnectionOptions& connection, DeviceState& state);

    // Readable when there are messages; -1 while there is no connection.
    int descriptor() const { return client_.session().descriptor(); }
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
    // A set without an answer so far.
    struct PendingSet {
        std::string id;
        Moment deadline{0};
    };

    void receiveAll(Moment now);
    void take(std::string_view payload, Moment now);
    void endSet(const SetResult& result);
    void setLink(Link link, Moment now);

    DeviceState& state_;
    client::Client client_;
    Link link_ = Link::noBus;
    Moment linkSince_{0};
    bool behind_ = false;
    std::optional<PendingSet> set_;
    std::optional<SetResult> setResult_;
    std::unique_ptr<recording::Writer> writer_;
    std::optional<std::string> recordingTo_;
};

}  // namespace pallctl::top
