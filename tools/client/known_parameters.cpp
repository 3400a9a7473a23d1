#include "client/known_parameters.h"

#include <strings.h>

#include <algorithm>

#include "model/tosk_type_names.h"
#include "systemstate/catalogue.h"

namespace client {

namespace {

Descriptor describeRow(const systemstate::CatalogueRow& row) {
    Descriptor descriptor;
    descriptor.name = row.key;
    descriptor.label = row.name;
    descriptor.type = valueTypeName(row.type);
    descriptor.readOnly = row.access == systemstate::Access::readonly;
    descriptor.widget = row.widget;
    descriptor.precision = row.precision;
    if (!row.choices.empty()) {
        descriptor.constraint = constraintTypeName(model::kConstraintIntChoice);
    }
    for (const char* text : row.choices) {
        descriptor.choices.push_back({static_cast<int64_t>(descriptor.choices.size()), text});
    }
    return descriptor;
}

// For "system.psu1Voltage" or "frameB.system.psu1Voltage" the row of system.psu1Voltage; or null.
const systemstate::CatalogueRow* findRow(const std::string& name) {
    const auto rows = systemstate::catalogue();
    const auto row = std::ranges::find_if(rows, [&](const systemstate::CatalogueRow& each) {
        return name == each.key || name.ends_with(std::string(".") + each.key);
    });
    return row == rows.end() ? nullptr : &*row;
}

}  // namespace

std::vector<std::string> knownParameterNames() {
    std::vector<std::string> names;
    for (const systemstate::CatalogueRow& row : systemstate::catalogue()) {
        names.emplace_back(row.key);
    }
    return names;
}

std::string findKnownSpelling(const std::string& leaf) {
    const auto rows = systemstate::catalogue();
    const auto row = std::ranges::find_if(rows, [&](const systemstate::CatalogueRow& each) {
        const std::string name(leafName(each));
        return ::strcasecmp(name.c_str(), leaf.c_str()) == 0;
    });
    return row == rows.end() ? leaf : std::string(leafName(*row));
}

std::vector<Descriptor> knownDescriptors() {
    std::vector<Descriptor> descriptors;
    for (const systemstate::CatalogueRow& row : systemstate::catalogue()) {
        descriptors.push_back(describeRow(row));
    }
    return descriptors;
}

void describeKnownParameters(const DevicePath& object, ParameterCache& cache) {
    for (Descriptor& descriptor : knownDescriptors()) {
        descriptor.name = object.fullName(descriptor.name);
        if (!cache.described(descriptor.name)) {
            const Parameter* const announced = cache.find(descriptor.name);
            util::UniqueJSON value = util::copyJSON(announced ? announced->value.get() : nullptr);
            cache.describe({std::move(descriptor), std::move(value)});
        }
    }
}

bool isCommand(const std::string& name) {
    const auto* const row = findRow(name);
    return row && row->choices.data() == systemstate::kCommandTexts;
}

const systemstate::Limits* findLimits(const std::string& name) {
    const auto* const row = findRow(name);
    return row ? systemstate::findLimits(*row) : nullptr;
}

}  // namespace client
