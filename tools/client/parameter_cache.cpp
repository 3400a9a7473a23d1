#include "client/parameter_cache.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "client/format_value.h"

namespace client {

namespace {

void holdBack(std::vector<util::UniqueJSON>& values, const cJSON* value) {
    if (values.size() >= ParameterCache::kMaxHeldBack) {
        values.erase(values.begin());
    }
    values.push_back(util::copyJSON(value));
}

}  // namespace

void ParameterCache::beginReading() {
    Reading next;
    if (isReading()) {
        next.announced = std::move(reading_->announced);
        std::erase_if(next.announced,
                      [](const auto& each) { return each.second.heldBack.empty(); });
    }
    reading_ = std::move(next);
}

void ParameterCache::endReading() {
    if (!isReading()) {
        return;
    }
    reading_->isOver = true;
    for (const auto& [name, news] : reading_->announced) {
        releaseNews(name);
    }
}

std::vector<std::string> ParameterCache::missing(const std::vector<std::string>& names) const {
    std::vector<std::string> missing;
    std::copy_if(names.begin(), names.end(), std::back_inserter(missing),
                 [this](const std::string& name) {
                     return !reading_ || !reading_->described.contains(name);
                 });
    return missing;
}

void ParameterCache::describe(Parameter parameter) {
    const std::string name = parameter.descriptor.name;
    const bool isNew = !find(name);
    Parameter& held = known(name);
    const std::string before = reads(parameter.descriptor, held.value.get());
    const bool hasNews = isReading() && reading_->announced.contains(name);
    if (hasNews) {
        reading_->doubtful =
            reading_->doubtful || util::renderJSON(parameter.value.get(), false) !=
                                      util::renderJSON(reading_->announced[name].last.get(), false);
        parameter.value = std::move(held.value);
    }
    held = std::move(parameter);
    if (!isNew && reads(held.descriptor, held.value.get()) != before) {
        tell(held);
    }
    if (isReading()) {
        reading_->described.insert(name);
        releaseNews(name);
    }
}

void ParameterCache::announce(const std::string& name, const cJSON* value) {
    if (!find(name) && parameters_.size() >= kMaxParameters) {
        return;
    }
    if (isReading()) {
        News& news = reading_->announced[name];
        news.last = util::copyJSON(value);
        if (!described(name) && !reading_->described.contains(name)) {
            holdBack(news.heldBack, value);
            return;
        }
    }
    takeOver(name, util::copyJSON(value));
}

void ParameterCache::takeOver(const std::string& name, util::UniqueJSON value) {
    Parameter& held = known(name);
    const std::string before = reads(held.descriptor, held.value.get());
    held.value = std::move(value);
    if (reads(held.descriptor, held.value.get()) != before) {
        tell(held);
    }
}

void ParameterCache::releaseNews(const std::string& name) {
    const auto news = reading_->announced.find(name);
    if (news == reading_->announced.end()) {
        return;
    }
    for (util::UniqueJSON& value : std::exchange(news->second.heldBack, {})) {
        takeOver(name, std::move(value));
    }
}

const Parameter* ParameterCache::find(const std::string& name) const {
    const auto found = parameters_.find(name);
    return found == parameters_.end() ? nullptr : &found->second;
}

const Parameter* ParameterCache::described(const std::string& name) const {
    const Parameter* parameter = find(name);
    return parameter && !parameter->descriptor.type.empty() ? parameter : nullptr;
}

std::vector<const Parameter*> ParameterCache::all() const {
    return order_;
}

Parameter& ParameterCache::known(const std::string& name) {
    const auto [held, isNew] = parameters_.try_emplace(name);
    if (isNew) {
        held->second.descriptor.name = name;
        order_.push_back(&held->second);
    }
    return held->second;
}

std::string ParameterCache::reads(const Descriptor& descriptor, const cJSON* value) const {
    return exact_ ? util::renderJSON(value, false) : formatValue(descriptor, value);
}

void ParameterCache::tell(const Parameter& parameter) const {
    if (onChange_) {
        onChange_(parameter);
    }
}

}  // namespace client
