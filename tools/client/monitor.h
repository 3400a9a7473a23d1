#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "client/client.h"
#include "client/ending_signals.h"
#include "client/output.h"
#include "recording/recording.h"

namespace pallctl {

struct MonitorRequest {
    std::vector<std::string> objects;  // these and what is below them; empty: all
    std::set<std::string> types;       // words of the wire; empty: all
    std::string recording;             // the file for what is shown; empty: none
};

// Shows the messages that pass over the bus, one line each (trafficLine), for as long as the output
// has a reader, and connects again whenever the bus was away. What the bus shows is its own choice:
// never what other clients say to the bus itself, and answers only when it knows receiveAll. Used
// by one thread.
class Monitor {
  public:
    Monitor(const Reach& reach, const Style& style, const MonitorRequest& request);

    // kSuccess, also after a signal to end while it records; kNoBus when there is none to begin
    // with, and what the file for the recording holds is left alone then. Throws
    // std::runtime_error when the recording cannot be begun, or it or standard output cannot go on.
    ExitStatus run();

  private:
    void beginRecording();
    void follow();
    void take(std::string_view payload);
    bool isWanted(const std::string& type, const std::string& object) const;
    void checkRecording() const;

    Client client_;
    Style style_;
    MonitorRequest request_;
    std::unique_ptr<EndingSignals> signals_;
    std::unique_ptr<recording::Writer> writer_;
};

}  // namespace pallctl
