#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The far end of the daemon's connection, as far as the benchmarks need it: requests as frames of
// the bus, and answers counted in what arrives.

// Where the daemon connects to.
constexpr uint16_t kBusPort = 15000;

// A message of `type` for an object.
std::string frame(const std::string& type, const std::string& object, const std::string& data);
// `names`: JSON strings with commas between them.
std::string getRequest(const std::string& names);
std::string setRequest(const std::string& name, int value);

// Counts complete answers in what arrives, in pieces of any size.
class AnswerCounter {
  public:
    virtual ~AnswerCounter() = default;
    virtual size_t count(const std::string& bytes) = 0;
};

// Frames of one message type; heartbeats and other traffic do not count.
class FrameCounter : public AnswerCounter {
  public:
    explicit FrameCounter(const std::string& type) : start_("[\"" + type + "\"") {}
    size_t count(const std::string& bytes) override;

  private:
    std::string start_;
    std::string pending_;
};
