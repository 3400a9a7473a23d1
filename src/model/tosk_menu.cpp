#include "model/tosk_menu.h"

#include "util/numbers.h"

namespace {

void readName(const cJSON* item, ToskObject& object) {
    if (const char* name = util::jsonText(util::jsonMember(item, "name"))) {
        object.setName(name);
    }
}

util::UniqueJSON childrenToJSON(const ToskObject& object) {
    util::UniqueJSON array = util::jsonArray();
    for (const ToskObject* child : object.children()) {
        util::addElement(array.get(), child->toJSON());
    }
    return array;
}

}  // namespace

int ToskMenu::fromJSON(const cJSON* item) {
    if (!item) {
        return -1;
    }
    readName(item, *this);
    if (const cJSON* id = util::jsonMember(item, "id")) {
        setId(util::saturatedInt32(id->valuedouble));
    }
    if (const cJSON* unique = util::jsonMember(item, "unique")) {
        setUnique(util::saturatedInt32(unique->valuedouble));
    }
    if (const cJSON* hidden = util::jsonMember(item, "hidden")) {
        setHidden(cJSON_IsTrue(hidden));
    }
    if (const cJSON* disabled = util::jsonMember(item, "disabled")) {
        setDisabled(cJSON_IsTrue(disabled));
    }
    readOids(util::jsonMember(item, "oids"));
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

util::UniqueJSON ToskMenu::toJSON() const {
    util::UniqueJSON json = util::jsonObject();
    util::addMember(json.get(), "name", util::jsonString(name()));
    util::addMember(json.get(), "id", util::jsonNumber(id()));
    util::addMember(json.get(), "unique", util::jsonNumber(unique()));
    util::addMember(json.get(), "disabled", util::jsonBool(disabled()));
    util::addMember(json.get(), "hidden", util::jsonBool(hidden()));
    util::addMember(json.get(), "oids", childrenToJSON(*this));
    return json;
}

int ToskMenuGroup::fromJSON(const cJSON* item) {
    if (!item) {
        return -1;
    }
    readName(item, *this);
    if (const cJSON* id = util::jsonMember(item, "menuid")) {
        setId(util::saturatedInt32(id->valuedouble));
    }
    const cJSON* element = nullptr;
    cJSON_ArrayForEach(element, util::jsonMember(item, "menus")) {
        auto menu = std::make_unique<ToskMenu>();
        if (menu->fromJSON(element) == 0) {
            addChild(menu.get());
            readMenus_.push_back(std::move(menu));
        }
    }
    return 0;
}

util::UniqueJSON ToskMenuGroup::toJSON() const {
    util::UniqueJSON json = util::jsonObject();
    util::addMember(json.get(), "name", util::jsonString(name()));
    util::addMember(json.get(), "menuid", util::jsonNumber(id()));
    util::addMember(json.get(), "menus", childrenToJSON(*this));
    return json;
}
