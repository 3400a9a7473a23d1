#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>

#include "model/tosk_persisted_structure.h"
#include "systemstate/controller_details.h"
#include "systemstate/ethernet_interface_status.h"
#include "systemstate/machine.h"
#include "systemstate/network_settings.h"
#include "systemstate/product.h"
#include "systemstate/serial_port.h"
#include "systemstate/service_switches.h"
#include "util/relaxed.h"

class StatusPoll;

// The one device of the daemon: its catalogue of parameters, what a set of each does to the
// machine, and the poll that keeps the readings true. Owned by main. Built and loaded before the
// poll thread starts; from then on the main thread sets and the poll thread runs poll().
//
// Shared between the two, without a lock: the numbers inside the parameters' values, the port
// statuses and the Ambrix-started flag (relaxed atomics, each true on its own), the identifiers
// (renamed on the main thread, read on both), and which thread polls. Everything else is either
// not written after the start or belongs to the main thread: the texts, the serial ports, the
// controller pair, the active flag. The settings turn is the one lock.
class SystemState : public ToskPersistedStructure, public ToskValueChangeListener {
  public:
    using ParamChanged = std::function<void(const ToskParam&)>;

    // Asks the machine for its product. `containerName` is the state file's path without ".json".
    SystemState(const std::string& containerName, Machine& machine);
    ~SystemState() override;
    SystemState(const SystemState&) = delete;
    SystemState& operator=(const SystemState&) = delete;

    // "systemState", the device's name in its file.
    const char* getName() const override;

    const Product& product() const { return product_; }
    const std::string& productName() const { return product_.name(); }
    bool isTessaraFrame() const { return product_.isTessaraFrame(); }
    bool isBrio() const { return product_.isBrio(); }
    bool isKeli() const { return product_.isKeli(); }

    // First builder, after the state file was loaded: makes the settings that the file did not
    // bring, and the device if there is none. On a Tessara frame a label that is not empty becomes
    // the frame's name. Saves the file when anything was made or corrected.
    void buildIdentityGroup(const std::string& deviceLabel);

    // Second builder: the rest of the catalogue. Puts the services into the state that the file or
    // their markers say, which runs their commands.
    void buildCatalogue();

    // The first device of the list; null until one was read or built.
    ToskDevice* device() const;
    // By the key the parameter was stored under; null when there is none.
    ToskParam* findParam(const std::string& key) const;

    // New readings: told to the listener when they differ. A missing parameter is passed over, and
    // so is one whose value is of another kind.
    void setInteger(const std::string& key, int64_t value);
    void setFloat(const std::string& key, double value);
    void setText(const std::string& key, const std::string& value);

    // Who announces changes; called on the thread that changed the parameter. Set it before the
    // poll thread starts and clear it after it ended.
    void setParamChanged_cb(ParamChanged callback);

    // Announces the change, then carries out what the parameter stands for. Network settings that
    // the poll found in their file are announced and checked only: they are true already.
    void valueChanged(ToskParam* param) override;

    // Whether a set of the parameter runs commands, which may take a minute.
    bool runsCommands(const ToskParam& param) const;

    // Stores what the bus says of the controller pair and sets its nine parameters. Main thread.
    void updateRedundancy(const ControllerDetails& primary, const ControllerDetails& secondary);
    // The stored pair. Main thread.
    MasterSystemDetails& masterDetails() { return masterDetails_; }

    // A flag for the bus; true from the start.
    bool active() const { return active_; }
    void setActive(bool active) { active_ = active; }

    // One status poll. Poll thread.
    void poll();

    // While somebody has the settings turn, nobody else changes the network settings. The set
    // handler waits for it around each member, so that what was asked for is what gets applied;
    // the poll only tries, and leaves its look at the file to the next tick.
    [[nodiscard]] std::unique_lock<std::mutex> takeSettingsTurn();
    [[nodiscard]] std::unique_lock<std::mutex> trySettingsTurn();
    // The turn for a set of this parameter: an empty lock when it is none of the network settings.
    [[nodiscard]] std::unique_lock<std::mutex> takeSettingsTurnFor(const ToskParam& param);

    // Reads the settings of network.conf. What the file does not say is left as it was; a file
    // that cannot be opened is logged as critical. Any thread.
    void get_net_settings(uint32_t* ip, uint32_t* netmask, uint32_t* gateway) const;

    // Makes valid new settings the machine's, if its file holds valid ones and they differ: writes
    // the file from the parameters and restarts what depends on it, unless the file could not be
    // written. 0 when something was restarted, else 1. Main thread; takes as long as the restart.
    int config_ip(uint32_t ip, uint32_t netmask, uint32_t gateway);

    // The bonded ports; names stay, statuses are the poll's.
    EthernetPorts& ethernetPorts() { return ethernetPorts_; }
    const EthernetPorts& ethernetPorts() const { return ethernetPorts_; }
    const SerialPorts& serialPorts() const { return serialPorts_; }

    // Put a service into a state, with the commands of this frame's edition. Ambrix is stopped in
    // any case, and started anew when it is enabled.
    Edition edition() const { return isBrio() ? Edition::brio : Edition::tessara; }
    void switchSsh(bool enable);
    void switchFtp(bool enable);
    void switchAmbrix(bool enable);
    // Whether the daemon started Ambrix; the poll forgets it when Ambrix shut itself off.
    bool ambrixStarted() const { return ambrixStarted_; }
    void forgetAmbrixStarted() { ambrixStarted_ = false; }

  private:
    struct Reaction;
    static std::span<const Reaction> reactions();

    bool isPolling() const { return pollThread_.load() == std::this_thread::get_id(); }
    void announce(const ToskParam& param);
    void setActiveEthernet(ToskParam& param);
    void applyNetworkSettings(ToskParam& param);
    void check_ip(const NetworkSettings& wanted) const;
    template <void (SystemState::*apply)(bool)>
    void switchService(ToskParam& param);
    void restartNetwork(ToskParam& param);
    void generateReport(ToskParam& param);
    void takeConnection(ToskParam& param);

    Machine& machine_;
    const Product product_;
    EthernetPorts ethernetPorts_ = makeEthernetPorts();
    SerialPorts serialPorts_ = makeSerialPorts();
    MasterSystemDetails masterDetails_;
    bool active_ = true;
    // Ordered: who sees it set also sees the value that the setting of the switch may have created.
    std::atomic<bool> ambrixStarted_{false};
    ParamChanged paramChanged_;
    std::mutex settingsTurn_;
    std::atomic<std::thread::id> pollThread_{};
    std::unique_ptr<ToskDevice> ownDevice_;
    std::unique_ptr<StatusPoll> poll_;
};
