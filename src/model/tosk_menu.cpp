#include "model/tosk_menu.h"

#include "model/numbers.h"

namespace {

void readName(const cJSON* item, ToskObject& object) {
    if (const char* name = jsonText(jsonMember(item, "name"))) {
        object.setName(name);
    }
}

UniqueJSON childrenToJSON(const ToskObject& object) {
    UniqueJSON array = jsonArray();
    for (const ToskObject* child : object.children()) {
        addElement(array.get(), child->toJSON());
    }
    return array;
}

}  // namespace

int ToskMenu::fromJSON(const cJSON* item) {
    if (!item) {
        return -1;
    }
    readName(item, *this);
    if (const cJSON* id = jsonMember(item, "id")) {
        setId(saturatedInt32(id->valuedouble));
    }
    if (const cJSON* unique = jsonMember(item, "unique")) {
        setUnique(saturatedInt32(unique->valuedouble));
    }
    if (const cJSON* hidden = jsonMember(item, "hidden")) {
        setHidden(cJSON_IsTrue(hidden));
    }
    if (const cJSON* disabled = jsonMember(item, "disabled")) {
        setDisabled(cJSON_IsTrue(disabled));
    }
    readOids(jsonMember(item, "oids"));
    return 0;
}

void ToskMenu::readOids(const cJSON* oids) {
    const cJSON* element = nullptr;
    cJSON_ArrayForEach(element, oids) {
        auto oid = std::make_unique<ToskOID>();
        if (oid->fromJSON(element) == 0) {
            addChild(oid.get());
            readOids_.push_back(std::move(oid));
        }
    }
}

UniqueJSON ToskMenu::toJSON() const {
    UniqueJSON json = jsonObject();
    addMember(json.get(), "name", jsonString(name()));
    addMember(json.get(), "id", jsonNumber(id()));
    addMember(json.get(), "unique", jsonNumber(unique()));
    addMember(json.get(), "disabled", jsonBool(disabled()));
    addMember(json.get(), "hidden", jsonBool(hidden()));
    addMember(json.get(), "oids", childrenToJSON(*this));
    return json;
}

int ToskMenuGroup::fromJSON(const cJSON* item) {
    if (!item) {
        return -1;
    }
    readName(item, *this);
    if (const cJSON* id = jsonMember(item, "menuid")) {
        setId(saturatedInt32(id->valuedouble));
    }
    const cJSON* element = nullptr;
    cJSON_ArrayForEach(element, jsonMember(item, "menus")) {
        auto menu = std::make_unique<ToskMenu>();
        if (menu->fromJSON(element) == 0) {
            addChild(menu.get());
            readMenus_.push_back(std::move(menu));
        }
    }
    return 0;
}

UniqueJSON ToskMenuGroup::toJSON() const {
    UniqueJSON json = jsonObject();
    addMember(json.get(), "name", jsonString(name()));
    addMember(json.get(), "menuid", jsonNumber(id()));
    addMember(json.get(), "menus", childrenToJSON(*this));
    return json;
}
