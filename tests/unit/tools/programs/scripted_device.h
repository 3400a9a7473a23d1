#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bus_peer.h"
#include "util/json.h"

// Stands for the daemon on the bus: connection id 8, serving "system" on a thread of its own. It
// answers as the daemon does: descriptors or values of known names in one response, nothing for
// unknown names, the descriptor of the whole device, and each set with the status it was told.
class ScriptedDevice {
  public:
    using Parameters = std::map<std::string, std::string>;  // leaf to its JSON

    // `saved` are those that the descriptor of the whole device shows.
    ScriptedDevice(uint16_t port, Parameters parameters, std::vector<std::string> saved = {});
    ~ScriptedDevice();

    // From now on sets of this leaf are answered so; 0: not at all. Otherwise 200, or 404 for a
    // leaf that is no parameter.
    void answerSets(const std::string& leaf, int status);
    // Takes another description, as after a restart.
    void replace(const std::string& leaf, const std::string& json);
    void announce(const std::string& leaf, const std::string& value);
    // The next description of parameters by name gets lost on its way.
    void loseDescription();
    // The next description of the parameter is written just before a change and sent just after it
    // was announced, as when another thread of the device made it.
    void overtakeDescription(const std::string& leaf, const std::string& value,
                             const std::string& json);
    // How often parameters were asked for by their names.
    int readings() const;

    // Header line and data of every SET so far.
    std::vector<std::string> sets() const;

  private:
    void serve();
    void handle(const std::string& payload);
    void sendAnnouncement(const std::string& leaf, const std::string& value);
    void answerByName(const std::string& source, const cJSON* data);
    void answerGet(const std::string& source, const cJSON* data);
    void answerSet(const std::string& source, const cJSON* data);
    void respond(const std::string& source, const cJSON* data, const std::string& rest);
    std::string valuesOf(const std::vector<std::string>& leaves) const;
    std::string described(const std::vector<std::string>& leaves) const;

    mutable std::mutex mutex_;  // guards everything below but the peer's reading
    Parameters parameters_;
    std::vector<std::string> saved_;
    std::map<std::string, int> statuses_;
    std::vector<std::string> sets_;
    bool losing_ = false;
    std::function<void()> overtake_;  // sends the announcement, and takes the new description
    int readings_ = 0;
    BusPeer peer_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

// The JSON of a parameter as the daemon writes it; `attributes` come between read-only and value,
// each with a comma behind it.
std::string parameterJSON(const std::string& leaf, const std::string& type, bool readOnly,
                          const std::string& attributes, const std::string& value);
