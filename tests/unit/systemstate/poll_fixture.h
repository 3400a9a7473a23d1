#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "frame_root.h"
#include "recording_machine.h"
#include "systemstate/system_state.h"

namespace systemstate {

// The commands that switch the load of the battery on and off around a sample.
inline constexpr const char* kLoadOn = "/sbin/devmem 0x8aa00014 32 0x01";
inline constexpr const char* kLoadOff = "/sbin/devmem 0x8aa00014 32 0x00";

// A device on a directory of sample files, polled by hand, and a diary of what can be seen of that:
// what is logged, as "<priority> <text>" with debug lines left out, commands and pauses as the
// recording machine writes them, and announcements as "NOT <identifier>=<value>".
class PollFixture : public testing::Test {
  protected:
    ~PollFixture() override;

    // Builds the device of a card of this product; the diary begins after it.
    void start(const std::string& product);
    // The same with settings in network.conf and its first poll behind it: the next one samples the
    // battery.
    void startBeforeSample(const std::string& product);
    // As start(), with no more parameters than those of the frame's identity.
    void startWithoutCatalogue(const std::string& product);

    void poll(int times = 1);
    // What the diary says of one more poll.
    std::vector<std::string> pollDiary();
    // The diary so far; a new one begins.
    std::vector<std::string> takeDiary();

    std::string value(const char* key) const;

    FrameRoot root_;
    std::unique_ptr<RecordingMachine> machine_;
    std::unique_ptr<SystemState> state_;

  private:
    std::vector<std::string> diary_;
};

// A bonding file as the driver writes it, and, without its version block, as the copy of a Tessara
// frame has it, with these texts for the active slave and for the two links.
std::string bondingFile(const std::string& active, const std::string& eth0,
                        const std::string& eth1);
std::string tessaraBondingFile(const std::string& active, const std::string& eth0,
                               const std::string& eth1);

}  // namespace systemstate
