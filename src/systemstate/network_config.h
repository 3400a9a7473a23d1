#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string_view>

#include "systemstate/network_settings.h"
#include "util/relaxed.h"

class ToskParam;

namespace systemstate {

class Machine;
class ParameterStore;

// The frame's own address settings: their file network.conf, the three parameters that show them,
// and the services that depend on them. Owned by SystemState. The main thread carries out sets, the
// poll thread publishes what other programs write into the file.
class NetworkConfig {
  public:
    // While a set of a network setting is carried out, the poll leaves the file alone: an edit in
    // the same moment must not replace what the request asks for. Once config_ip has written the
    // file the poll looks at it again, also while the network restarts. Has no effect for any other
    // parameter. Main thread, one at a time.
    class SetUnderWay {
      public:
        SetUnderWay(NetworkConfig& config, const ToskParam& param);
        ~SetUnderWay();
        SetUnderWay(const SetUnderWay&) = delete;
        SetUnderWay& operator=(const SetUnderWay&) = delete;

      private:
        std::unique_lock<std::mutex>& lock_;
    };

    // Keeps both.
    NetworkConfig(Machine& machine, ParameterStore& parameters);

    // Whether this is the identifier of one of the three parameters.
    static bool isSetting(std::string_view oid);

    // The settings in the file; 0 for each that it does not name. Any thread.
    NetworkSettings read() const;
    // Reads the settings in the file. A setting that it does not name is left as it was; a file
    // that cannot be opened is logged as critical. Any thread.
    void get_net_settings(uint32_t* ip, uint32_t* netmask, uint32_t* gateway) const;

    // Carries out a set: applies what the three parameters show, as config_ip does, when all of
    // them are valid. Main thread.
    void apply();
    // The checks of apply() with all that they log and print, and nothing else. Any thread.
    void check() const;

    // Makes valid new settings the machine's, if its file holds valid ones and they differ: writes
    // the file from the parameters and restarts what depends on it, unless the file could not be
    // written. 0 when something was restarted, else 1. Main thread; takes as long as the restart,
    // for which it ends what SetUnderWay keeps from the poll.
    int config_ip(uint32_t ip, uint32_t netmask, uint32_t gateway);

    // Publishes the settings in the file that differ from its last contents. Never waits: during a
    // set, this is left to the next call. Poll thread.
    void publishFile();

  private:
    struct Known {
        util::Relaxed<uint32_t> ip;
        util::Relaxed<uint32_t> netmask;
        util::Relaxed<uint32_t> gateway;
    };

    void publishSetting(const char* key, uint32_t address, util::Relaxed<uint32_t>& known);
    void noteWritten(const NetworkSettings& written);
    // The settings in the parameters, if all three are valid; prints the error line otherwise.
    std::optional<NetworkSettings> findValidSettings() const;
    // The settings in the file, if they are valid and not the wanted ones. Logs each step.
    std::optional<NetworkSettings> findSettingsToReplace(const NetworkSettings& wanted) const;

    Machine& machine_;
    ParameterStore& parameters_;
    Known known_;  // what the file said last
    std::mutex mutex_;
    std::unique_lock<std::mutex> setLock_{mutex_, std::defer_lock};  // of the set under way
};

}  // namespace systemstate
