#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bus_frames.h"
#include "peer.h"

// The programs that the comparison measures, each from the far end of its connection.

enum class Request { get, set, savedSet };

// One program. It runs on processor 0 and is started anew for each measurement.
class Subject {
  public:
    virtual ~Subject() = default;

    virtual std::string name() const = 0;
    // Starts the program and waits until it answers `request` and has nothing else to say.
    // `ticks`: it also wakes once a second and sends heartbeats, as a daemon does.
    virtual std::unique_ptr<Peer> start(Request request, bool ticks) const = 0;
    // What to send; sets alternate between two values.
    virtual std::string request(Request request, size_t turn) const = 0;
    virtual std::unique_ptr<AnswerCounter> counter(Request request) const = 0;
    // Keeps the connection alive while nothing is asked; empty where that takes nothing.
    virtual std::string heartbeat() const { return {}; }
};

// Waits until `answers` have been counted.
void waitFor(const Peer& peer, AnswerCounter& counter, size_t answers);

// What one request makes the daemon write: the programs beside it do the same.
struct RequestCost {
    std::string answer;    // all that it sends until the request is answered
    std::string logFile;   // the lines, as LogLines reads them
    size_t savedSize = 0;  // of the state file
};

std::unique_ptr<Subject> makeDaemon(const std::string& path);
// Measures the daemon at `path`; the log lines are read from the frame's system log and written to
// `logFile`.
RequestCost measureCost(const Subject& daemon, Request request, const std::string& logFile);

// An echo of the daemon's messages. A saved set is saved by each.
enum class EchoKind {
    bare,       // a write for each answer
    gathering,  // one write for the answers to what one read brought
    logging,    // sends the log lines of a set, too
};
std::unique_ptr<Subject> makeEcho(const std::string& path, const Subject& daemon,
                                  const std::vector<RequestCost>& costs, EchoKind kind);
std::unique_ptr<Subject> makePropertyService(const std::string& path,
                                             const std::vector<RequestCost>& costs);
