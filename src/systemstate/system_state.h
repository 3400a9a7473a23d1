#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "model/tosk_persisted_structure.h"
#include "systemstate/controller_details.h"
#include "systemstate/ethernet_ports.h"
#include "systemstate/machine.h"
#include "systemstate/network_config.h"
#include "systemstate/parameter_store.h"
#include "systemstate/product.h"
#include "systemstate/serial_port.h"
#include "systemstate/service_control.h"
#include "systemstate/set_reactions.h"
#include "systemstate/status_poll.h"

// The one device of the daemon: its catalogue of parameters, what a set of each does to the
// machine, and the poll that keeps the readings true. Owned by main. Built and loaded before the
// poll thread starts; from then on the main thread sets and the poll thread runs poll().
//
// Both threads use, without a lock, the numbers of the parameters, their identifiers (renamed on
// the main thread), the port statuses and the Ambrix-started flag, each of which is atomic and
// correct on its own. NetworkConfig has the one lock. Everything else is not written after the
// start or belongs to the main thread: the texts, the serial ports, the controller pair, the active
// flag.
class SystemState : public ToskPersistedStructure, public ToskValueChangeListener {
  public:
    using ParamChanged = std::function<void(const ToskParam&)>;

    // Asks the machine for its product. `containerName` is the state file's path without ".json".
    SystemState(const std::string& containerName, systemstate::Machine& machine);
    SystemState(const SystemState&) = delete;
    SystemState& operator=(const SystemState&) = delete;

    // "systemState", the device's name in its file.
    const char* getName() const override;

    const systemstate::Product& product() const { return product_; }
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
    ToskDevice* device() const { return parameters_.device(); }
    // By the key the parameter was stored under; null when there is none.
    ToskParam* findParam(std::string_view key) const { return parameters_.find(key); }
    systemstate::ParameterStore& parameters() { return parameters_; }

    // The callback that announces changes; called on the thread that changed the parameter. Set it
    // before the poll thread starts and clear it after it ended.
    void setParamChanged_cb(ParamChanged callback);

    // Sets the parameter as a request asks for it: 0, or -1 when the value does not fit. Main
    // thread.
    int setFromRequest(ToskParam& param, const cJSON* value);

    // After a set: sends a notification of the change, then performs the reaction to the set.
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
    void poll() { poll_.tick(); }

    // Both as in NetworkConfig.
    void get_net_settings(uint32_t* ip, uint32_t* netmask, uint32_t* gateway) const;
    int config_ip(uint32_t ip, uint32_t netmask, uint32_t gateway);

    // The bonded ports; names stay, statuses are the poll's.
    systemstate::EthernetPorts& ethernetPorts() { return ethernetPorts_; }
    const systemstate::EthernetPorts& ethernetPorts() const { return ethernetPorts_; }
    const systemstate::SerialPorts& serialPorts() const { return serialPorts_; }

    systemstate::ServiceControl& services() { return services_; }

  private:
    void readingChanged(ToskParam& param);
    std::string reportChange(const ToskParam& param);
    void announce(const ToskParam& param);

    systemstate::Machine& machine_;
    const systemstate::Product product_;
    systemstate::EthernetPorts ethernetPorts_ = systemstate::makeEthernetPorts();
    systemstate::SerialPorts serialPorts_ = systemstate::makeSerialPorts();
    MasterSystemDetails masterDetails_;
    bool active_ = true;
    ParamChanged paramChanged_;
    std::unique_ptr<ToskDevice> ownDevice_;
    systemstate::ParameterStore parameters_;
    systemstate::ServiceControl services_;
    systemstate::NetworkConfig network_;
    systemstate::SetReactions reactions_;
    systemstate::StatusPoll poll_;
};
