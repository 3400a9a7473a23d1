#pragma once

#include <string>
#include <utility>

#include "model/json_container.h"

namespace model {

// A container called "sample" whose payload is one text: {"sample": {"text": ...}}.
class SampleContainer : public AbstractJSONTopLevelContainer {
  public:
    using AbstractJSONTopLevelContainer::AbstractJSONTopLevelContainer;
    using AbstractJSONTopLevelContainer::writeFile;
    SampleContainer() = default;

    const char* getName() const override { return "sample"; }

    int fromJSON(const cJSON* item) override {
        const char* read = util::jsonText(util::jsonMember(item, "text"));
        text = read == nullptr ? "" : read;
        return read == nullptr ? -1 : 0;
    }

    util::UniqueJSON toJSON() const override {
        util::UniqueJSON object = util::jsonObject();
        util::addMember(object.get(), "text", util::jsonString(text));
        return object;
    }

    // Holds `newText` from now on and saves it.
    void saveText(std::string newText, bool keepOld) {
        text = std::move(newText);
        saveToOwnPath(keepOld);
    }

    std::string text;
};

// The bytes of a file with that container in it.
inline std::string sampleFile(const std::string& text) {
    return "{\n\t\"version\":\t0,\n\t\"sample\":\t{\n\t\t\"text\":\t\"" + text + "\"\n\t}\n}";
}

}  // namespace model
