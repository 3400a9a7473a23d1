#include "model/struct_size.h"

#include <cstring>

#include "model/tosk_constraint.h"
#include "model/tosk_param.h"
#include "model/tosk_struct_value.h"
#include "model/tosk_value.h"
#include "util/json.h"

namespace model {

namespace {

// A choice takes that even without a name.
constexpr std::size_t kChoice = sizeof(ToskIntegerChoiceConstraint::Choice);

std::size_t sizeOfChoices(const ToskConstraint* constraint) {
    std::size_t bytes = 0;
    if (const auto* choices = dynamic_cast<const ToskIntegerChoiceConstraint*>(constraint)) {
        for (const ToskIntegerChoiceConstraint::Choice& choice : choices->choices()) {
            bytes += kChoice + choice.name.size();
        }
    }
    return bytes;
}

std::size_t sizeOfText(const cJSON* item) {
    const char* const text = util::jsonText(item);
    return text != nullptr ? std::strlen(text) : 0;
}

std::size_t sizeOfChoices(const cJSON* constraint) {
    std::size_t bytes = 0;
    const cJSON* choice = nullptr;
    cJSON_ArrayForEach(choice, util::jsonMember(constraint, "choices")) {
        bytes += kChoice + sizeOfText(util::jsonMember(choice, "name"));
    }
    return bytes;
}

}  // namespace

StructSize& StructSize::operator+=(const StructSize& other) {
    members += other.members;
    texts += other.texts;
    return *this;
}

StructSize StructSize::over(const StructSize& other) const {
    return {members > other.members ? members - other.members : 0,
            texts > other.texts ? texts - other.texts : 0};
}

StructSize sizeOfValue(const ToskValue* value) {
    StructSize size;
    if (const auto* text = dynamic_cast<const ToskStringValue*>(value)) {
        size.texts = text->text().size();
    } else if (const auto* structure = dynamic_cast<const ToskStructValue*>(value)) {
        for (const ToskParam& member : structure->params()) {
            size += sizeOfMember(member);
        }
    }
    return size;
}

StructSize sizeOfMember(const ToskParam& member) {
    StructSize size{1, member.oid().toString().size() + member.name().size() +
                           member.widget().size() + sizeOfChoices(member.constraint().get())};
    return size += sizeOfValue(member.value().get());
}

StructSize sizeOfValue(const cJSON* item) {
    StructSize size{0, sizeOfText(item)};
    if (!cJSON_IsObject(item)) {
        return size;
    }
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, item) {
        if (isMemberKey(member->string)) {
            size += sizeOfMember(member, member->string + kMemberPrefix.size());
        }
    }
    return size;
}

StructSize sizeOfMember(const cJSON* item, std::string_view name) {
    StructSize size{1, name.size() + sizeOfText(util::jsonMember(item, "oid")) +
                           sizeOfText(util::jsonMember(item, "name")) +
                           sizeOfText(util::jsonMember(item, "widget")) +
                           sizeOfChoices(util::jsonMember(item, "constraint"))};
    return size += sizeOfValue(util::jsonMember(item, "value"));
}

bool isMemberKey(const char* key) {
    return key != nullptr && std::string_view(key).starts_with(kMemberPrefix);
}

}  // namespace model
