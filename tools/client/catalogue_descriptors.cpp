#include "client/catalogue_descriptors.h"

#include "model/tosk_param.h"
#include "model/tosk_type_names.h"
#include "systemstate/catalogue.h"
#include "systemstate/serial_port.h"

namespace pallctl {

namespace {

Descriptor descriptorOf(const CatalogueRow& row) {
    Descriptor descriptor;
    descriptor.name = row.key;
    descriptor.label = row.name;
    descriptor.type = valueTypeName(row.type);
    descriptor.readOnly = row.access == Access::readonly;
    descriptor.widget = row.widget;
    descriptor.precision = row.precision;
    if (!row.choices.empty()) {
        descriptor.constraint = constraintTypeName(kConstraintIntChoice);
    }
    for (const char* text : row.choices) {
        descriptor.choices.push_back({static_cast<int64_t>(descriptor.choices.size()), text});
    }
    return descriptor;
}

}  // namespace

std::vector<Descriptor> catalogueDescriptors() {
    std::vector<Descriptor> descriptors;
    for (const auto rows : {identityGroup(), mainCatalogue()}) {
        for (const CatalogueRow& row : rows) {
            descriptors.push_back(descriptorOf(row));
        }
    }
    for (const SerialPort& port : makeSerialPorts()) {
        descriptors.push_back(decodeParameter(makeSerialParam(port)->toJSON().get())->descriptor);
    }
    return descriptors;
}

void describeCatalogue(const DeviceObject& object, Mirror& mirror) {
    for (Descriptor& descriptor : catalogueDescriptors()) {
        descriptor.name = object.fullName(descriptor.name);
        if (!mirror.described(descriptor.name)) {
            const Parameter* const heard = mirror.find(descriptor.name);
            UniqueJSON value = copyJSON(heard ? heard->value.get() : nullptr);
            mirror.describe({std::move(descriptor), std::move(value)});
        }
    }
}

}  // namespace pallctl
