#pragma once

#include <cstddef>
#include <string>

#include "bus_frames.h"

// The far end of a service on systemd's bus library: the few messages of the D-Bus protocol
// (the chapters on messages and on authentication of the D-Bus document) that read and write
// its properties over a direct connection.

constexpr const char* kPropertyPath = "/bench/State";
constexpr const char* kPropertyInterface = "bench.State";

// Opens the conversation as nobody in particular; the service answers with one line.
std::string propertyGreeting();
std::string propertyGet(const std::string& name);
std::string propertySet(const std::string& name, int value);

// Answers to calls; signals do not count, nor does the line that answers the greeting.
class ReplyCounter : public AnswerCounter {
  public:
    size_t count(const std::string& bytes) override;

  private:
    std::string pending_;
};
