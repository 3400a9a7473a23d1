#include "client/known_parameters.h"

#include "model/tosk_param.h"
#include "model/tosk_type_names.h"
#include "systemstate/catalogue.h"
#include "systemstate/serial_port.h"

namespace client {

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

std::vector<std::string> knownParameterNames() {
    std::vector<std::string> names;
    for (const Descriptor& descriptor : knownDescriptors()) {
        names.push_back(descriptor.name);
    }
    return names;
}

std::vector<Descriptor> knownDescriptors() {
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

void describeKnownParameters(const DevicePath& object, ParameterCache& cache) {
    for (Descriptor& descriptor : knownDescriptors()) {
        descriptor.name = object.fullName(descriptor.name);
        if (!cache.described(descriptor.name)) {
            const Parameter* const heard = cache.find(descriptor.name);
            util::UniqueJSON value = util::copyJSON(heard ? heard->value.get() : nullptr);
            cache.describe({std::move(descriptor), std::move(value)});
        }
    }
}

}  // namespace client
