#include "systemstate/system_state.h"

#include <utility>

#include "systemstate/param_keys.h"
#include "systemstate/status_poll.h"

namespace {

void setFrom(const SystemState& state, const std::string& key, const ToskValue& value) {
    if (ToskParam* const param = state.findParam(key)) {
        param->setValueFrom(&value);
    }
}

// Says which thread polls, for as long as it does.
class PollMark {
  public:
    explicit PollMark(std::atomic<std::thread::id>& thread) : thread_(thread) {
        thread_.store(std::this_thread::get_id());
    }
    ~PollMark() { thread_.store({}); }
    PollMark(const PollMark&) = delete;
    PollMark& operator=(const PollMark&) = delete;

  private:
    std::atomic<std::thread::id>& thread_;
};

}  // namespace

SystemState::SystemState(const std::string& containerName, Machine& machine)
    : ToskPersistedStructure(containerName),
      machine_(machine),
      product_(readProduct(machine)),
      poll_(std::make_unique<StatusPoll>(*this, machine)) {}

SystemState::~SystemState() = default;

const char* SystemState::getName() const {
    return "systemState";
}

ToskDevice* SystemState::device() const {
    return devices().empty() ? nullptr : devices().front();
}

ToskParam* SystemState::findParam(const std::string& key) const {
    const ToskDevice* const held = device();
    return held == nullptr ? nullptr : held->findParam(key);
}

void SystemState::setInteger(const std::string& key, int64_t value) {
    setFrom(*this, key, ToskIntegerValue(value));
}

void SystemState::setFloat(const std::string& key, double value) {
    setFrom(*this, key, ToskFloatValue(value));
}

void SystemState::setText(const std::string& key, const std::string& value) {
    setFrom(*this, key, ToskStringValue(value));
}

void SystemState::setParamChanged_cb(ParamChanged callback) {
    paramChanged_ = std::move(callback);
}

void SystemState::updateRedundancy(const ControllerDetails& primary,
                                   const ControllerDetails& secondary) {
    masterDetails_ = {primary, secondary};
    setInteger(kActiveKeliKey, primary.active ? 0 : 1);
    setText(kPrimaryIpAddressKey, primary.ipAddress);
    setInteger(kPrimaryPresentKey, primary.present ? 1 : 0);
    setInteger(kPrimaryActiveKey, primary.active ? 1 : 0);
    setText(kPrimaryVersionKey, primary.version);
    setText(kSecondaryIpAddressKey, secondary.ipAddress);
    setInteger(kSecondaryPresentKey, secondary.present ? 1 : 0);
    setInteger(kSecondaryActiveKey, secondary.active ? 1 : 0);
    setText(kSecondaryVersionKey, secondary.version);
}

void SystemState::poll() {
    const PollMark mark(pollThread_);
    poll_->tick();
}

std::unique_lock<std::mutex> SystemState::takeSettingsTurn() {
    return std::unique_lock(settingsTurn_);
}

std::unique_lock<std::mutex> SystemState::takeSettingsTurnFor(const ToskParam& param) {
    for (const char* const key : {kIpAddressKey, kNetmaskKey, kGatewayKey}) {
        if (findParam(key) == &param) {
            return takeSettingsTurn();
        }
    }
    return {};
}

std::unique_lock<std::mutex> SystemState::trySettingsTurn() {
    return std::unique_lock(settingsTurn_, std::try_to_lock);
}
