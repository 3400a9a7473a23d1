#include "systemstate/serial_port.h"

#include "model/tosk_struct_value.h"

namespace {

constexpr const char* kConnectionPoint = "connectionPoint";

ToskParam textMember(const char* leaf, const char* name, const std::string& text) {
    ToskParam member;
    member.setOid(ToskOID::fromParts("", leaf));
    member.setName(name);
    member.setType(kTypeString);
    member.setValue(std::make_shared<ToskStringValue>(text));
    return member;
}

}  // namespace

SerialPorts makeSerialPorts() {
    return {{{"/dev/ttyS2", "COM1", "", "system.serial0"},
             {"/dev/ttyS1", "COM2", "", "system.serial1"},
             {"/dev/ttyS3", "TBus", "", "system.serial2"}}};
}

std::unique_ptr<ToskParam> makeSerialParam(const SerialPort& port) {
    auto value = std::make_shared<ToskStructValue>();
    value->addParam(textMember("name", "Name", port.label));
    value->addParam(textMember("dev", "Device", port.device));
    value->addParam(textMember(kConnectionPoint, "Active Connection", port.connectionPoint));

    auto param = std::make_unique<ToskParam>();
    param->setOid(ToskOID(port.oid, 1));
    param->setName(port.label);
    param->setType(kTypeStruct);
    param->setValue(std::move(value));
    param->setPublished(false);
    return param;
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
