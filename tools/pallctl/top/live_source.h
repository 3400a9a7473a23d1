#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "client/client.h"
#include "pallctl/top/data_source.h"
#include "recording/recording.h"

namespace pallctl::top {

// The device on the bus: follows it, sends sets to it, and records the messages to a file. Due when
// the descriptor is readable and every second.
class LiveSource : public DataSource {
  public:
    // Records from the start to the file `recordTo` unless that is empty. Throws as record() does.
    explicit LiveSource(const client::ConnectionOptions& connection,
                        const std::string& recordTo = "");

    int descriptor() const override { return client_.session().descriptor(); }
    std::optional<Moment> untilNext() const override;
    Moment now() const override { return now_; }
    void step(View& view, Moment elapsed) override;
    Status status() const override;
    void carryOut(Request request, View& view) override;
    std::optional<std::string> finish() override;

    // Takes in what has arrived, and does what is due.
    void advance(Moment elapsed);

    // Sends one value; false when there is no bus. A later step makes the result available, once,
    // through takeSetResult().
    bool set(const std::string& leaf, util::UniqueJSON value);
    std::optional<SetResult> takeSetResult() { return std::exchange(setResult_, std::nullopt); }

    // Records every message to the file from now on, and reads everything again first. Throws
    // std::runtime_error that names the file.
    void record(const std::string& path);
    // Empty when everything is on the disk, otherwise the failure. Does nothing without a
    // recording.
    std::optional<std::string> stopRecording();
    // The failure that ended the recording, once; empty otherwise.
    std::optional<std::string> takeRecordingFailure();

  private:
    // A set without an answer so far.
    struct PendingSet {
        std::string id;
        Moment deadline{0};
    };

    void receiveAll();
    void take(std::string_view payload);
    void endSet(const SetResult& result);
    void setLink(Link link);
    void toggleRecording(View& view);

    const std::string place_;
    client::Client client_;
    Moment now_{0};
    Link link_ = Link::noBus;
    Moment linkSince_{0};
    bool behind_ = false;  // more messages are waiting than one step takes
    std::optional<PendingSet> set_;
    std::optional<SetResult> setResult_;
    std::unique_ptr<recording::Writer> writer_;
    std::optional<std::string> recordingTo_;
    std::optional<std::string> recordingFailure_;  // the first one
};

}  // namespace pallctl::top
