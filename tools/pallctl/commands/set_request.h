#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/signal_fd.h"
#include "client/parse_value.h"
#include "pallctl/commands/commands.h"

namespace pallctl {

struct SetOptions {
    bool force = false;   // send values that do not fit, also to unknown parameters
    bool always = false;  // send values that are in force: an equal value restarts services
    bool dryRun = false;  // send nothing
};

// The assignments of one command line, each with its outcome. Errors are reported on standard error
// as they are found; a call returns the highest status of its assignments. Used by one thread.
class SetRequest {
  public:
    SetRequest(client::Client& client, const Style& style, const SetOptions& options)
        : client_(client), style_(style), options_(options) {}

    // Takes the words "NAME=VALUE". kUsage if one has another form or a name is given twice; the
    // other ones are taken nevertheless, so that all errors are found.
    ExitStatus parse(const std::vector<std::string>& words);
    // Takes a value for a parameter (full name) that is checked already.
    void add(const std::string& name, util::UniqueJSON value);
    // The full names of the parameters that were taken.
    std::vector<std::string> names() const;
    // Checks the values against the descriptors that were read.
    ExitStatus plan();
    // Sends them one after the other. After a missing answer or a signal the rest is not sent; the
    // number of the signal, which stays blocked, is then in `signal`.
    ExitStatus send(int& signal);
    // Instead of send(): prints what it would send.
    void preview();
    size_t countSet() const;
    // Prints the outcomes in the formats for programs.
    void report() const;

  private:
    // One parameter to set, and the outcome.
    struct Change {
        std::string name;
        std::string text{};  // the value as typed
        util::UniqueJSON value = nullptr;
        Outcome outcome = kNotSent;
        int code = 0;                      // of the response; 0: none
        std::string problem = "not sent";  // empty on success

        bool isRejected() const { return outcome.status == kUsage || outcome.status == kNotFound; }
    };

    static util::UniqueJSON toJSON(const Change& change);
    static ExitStatus reject(Change& change, const Outcome& outcome, const std::string& problem);
    Change* findChange(const std::string& name);
    ExitStatus parse(const std::string& word);
    ExitStatus plan(Change& change) const;
    client::ParsedValue parseValue(const client::Parameter* parameter,
                                   const std::string& text) const;
    client::ParsedValue parseForced(const client::Parameter* parameter,
                                    const std::string& text) const;
    bool skipUnchanged(Change& change, const client::Parameter* parameter) const;
    std::string formatPreview(const Change& change, const client::Parameter* parameter) const;
    bool isInterrupted();
    void send(Change& change);
    void suggestRollback(const std::string& name) const;

    client::Client& client_;
    Style style_;
    SetOptions options_;
    std::vector<Change> changes_;
};

}  // namespace pallctl
