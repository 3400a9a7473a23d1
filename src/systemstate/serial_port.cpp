#include "systemstate/serial_port.h"

#include <cstddef>

#include "model/tosk_struct_value.h"

namespace systemstate {

namespace {

constexpr const char* kConnectionPoint = "connectionPoint";

ToskParam textMember(const char* leaf, const char* name, const std::string& text) {
    ToskParam member;
    member.setOid(ToskOID::fromParts("", leaf));
    member.setName(name);
    member.setType(model::kTypeString);
    member.setValue(std::make_shared<ToskStringValue>(text));
    return member;
}

}  // namespace

SerialPorts makeSerialPorts() {
    SerialPorts ports;
    for (std::size_t i = 0; i < ports.size(); ++i) {
        ports[i] = {kSerialPorts[i].device, kSerialPorts[i].label, "", kSerialPorts[i].oid};
    }
    return ports;
}

std::shared_ptr<ToskValue> makeSerialValue(const SerialPort& port) {
    auto value = std::make_shared<ToskStructValue>();
    value->addParam(textMember("name", "Name", port.label));
    value->addParam(textMember("dev", "Device", port.device));
    value->addParam(textMember(kConnectionPoint, "Active Connection", port.connectionPoint));
    return value;
}

void takeConnectionPoint(SerialPort& port, const ToskParam& param) {
    const auto* const value = dynamic_cast<const ToskStructValue*>(param.value().get());
    if (value == nullptr) {
        return;
    }
    for (const ToskParam& member : value->params()) {
        if (member.oid().leaf() == kConnectionPoint) {
            port.connectionPoint = member.valueToString();
        }
    }
}

}  // namespace systemstate
