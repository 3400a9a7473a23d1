#pragma once

#include <cstdint>
#include <string>

#include "cli/command.h"
#include "client/client.h"
#include "pallctl/values/output.h"

namespace pallctl {

// The options of every command. Lives as long as the command line that it describes them to; the
// calls return the parsed values.
class Options {
  public:
    explicit Options(cli::Command program);
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    client::ConnectionOptions connection() const;
    // For the standard output of this process.
    Style style() const;
    // The object as given; empty without the option.
    const std::string& object() const { return object_; }

  private:
    void addConnectionOptions(cli::Command program);
    void addStyleOptions(cli::Command program);

    std::string object_;
    uint16_t port_ = client::ConnectionOptions().port;
    std::string timeout_;
    std::string wait_;
    bool json_ = false;
    bool keyvalue_ = false;
    bool raw_ = false;
};

}  // namespace pallctl
