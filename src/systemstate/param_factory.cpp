#include "systemstate/param_factory.h"

#include <span>
#include <utility>
#include <vector>

#include "systemstate/catalogue.h"
#include "systemstate/product.h"

namespace systemstate {

namespace {

InitialValue makeInitialValue(const CatalogueRow& row, const CatalogueSources& sources) {
    if (row.initialValue != nullptr) {
        return row.initialValue(sources);
    }
    switch (row.type) {
        case model::kTypeString:
            return initial::text("");
        case model::kTypeFloat:
            return std::make_shared<ToskFloatValue>(0.0);
        default:
            return initial::integer(0);
    }
}

std::shared_ptr<ToskConstraint> makeConstraint(std::span<const char* const> texts) {
    if (texts.empty()) {
        return nullptr;
    }
    std::vector<ToskIntegerChoiceConstraint::Choice> choices;
    for (const char* const text : texts) {
        choices.push_back({static_cast<int32_t>(choices.size()), text});
    }
    return std::make_shared<ToskIntegerChoiceConstraint>(std::move(choices));
}

}  // namespace

namespace initial {

InitialValue integer(int64_t number) {
    return std::make_shared<ToskIntegerValue>(number);
}

InitialValue text(const std::string& value) {
    return std::make_shared<ToskStringValue>(value);
}

InitialValue one(const CatalogueSources& /*sources*/) {
    return integer(1);
}

InitialValue systemName(const CatalogueSources& /*sources*/) {
    return text("System");
}

InitialValue productName(const CatalogueSources& sources) {
    return text(sources.product.name());
}

InitialValue version(const CatalogueSources& sources) {
    return text(sources.version);
}

InitialValue activePort(const CatalogueSources& sources) {
    return integer(activePortIndex(sources.ports));
}

InitialValue activeController(const CatalogueSources& sources) {
    return integer(sources.details.primary.active ? 0 : 1);
}

InitialValue notSampled(const CatalogueSources& /*sources*/) {
    return std::make_shared<ToskFloatValue>(-1.0);
}

}  // namespace initial

std::unique_ptr<ToskParam> makeParam(const CatalogueRow& row, const CatalogueSources& sources) {
    auto param = std::make_unique<ToskParam>();
    param->setOid(ToskOID(row.key, 1));
    param->setName(row.name);
    param->setType(row.type);
    param->setWidget(row.widget);
    param->setReadonly(row.access == Access::readonly);
    param->setConstraint(makeConstraint(row.choices));
    param->setPrecision(row.precision);
    param->setPublished(row.storage == Storage::published);
    param->setValue(makeInitialValue(row, sources));
    return param;
}

}  // namespace systemstate
