// JSON of any shape, from a damaged file or a foreign program, ends in a model that can be written
// again. Nothing is expected of what it holds.

#include <array>

#include <gtest/gtest.h>

#include "model/tosk_persisted_structure.h"
#include "model/tosk_struct_value.h"
#include "support/seeded_random.h"
#include "tosk_test_support.h"

namespace model {

namespace {

constexpr int kRounds = 2000;

constexpr std::array<const char*, 34> kKeys{
    "oid",    "name",    "type",        "readonly", "widget",        "precision", "value",
    "params", "slot",    "maxlength",   "devices",  "constraint",    "choices",   "hidden",
    "menus",  "menuid",  "menu_groups", "disabled", "totallength",   "unique",    "id",
    "oids",   "_d_name", "_d_",         "_d_a.b",   "d_system.x",    "",          "Type",
    "_d_dev", "_d_s",    "d_",          "version",  "_d_value_long", "slot ",
};

constexpr std::array<const char*, 30> kLeaves{
    "0",
    "1",
    "-1",
    "3.9",
    "1e300",
    "-1e300",
    "1e999",
    "19",
    "20",
    "400",
    "4294967296",
    "2147483648",
    "true",
    "false",
    "null",
    "\"\"",
    "\"device\"",
    "\"menu\"",
    "\"INT16\"",
    "\"INT32\"",
    "\"FLOAT\"",
    "\"STRING\"",
    "\"STRUCT\"",
    "\"INT32_ARRAY\"",
    "\"STRUCT_ARRAY\"",
    "\"INT_CHOICE\"",
    "\"INT_RANGE\"",
    "\"system.x\"",
    "\"undotted\"",
    "\"a.b.c\"",
};

std::string randomJSON(SeededRandom& random, int depth) {
    const size_t kind = random.below(depth > 0 ? 4 : 1);
    if (kind == 0) {
        return kLeaves[random.below(kLeaves.size())];
    }
    const bool object = kind > 1;
    std::string text;
    const size_t members = random.below(7);
    for (size_t i = 0; i < members; ++i) {
        text += text.empty() ? "" : ",";
        if (object) {
            text += "\"" + std::string(kKeys[random.below(kKeys.size())]) + "\":";
        }
        text += randomJSON(random, depth - 1);
    }
    return object ? "{" + text + "}" : "[" + text + "]";
}

// Items that are most often what the model looks for, so that random ones are met deep inside.
std::string randomParamJSON(SeededRandom& random) {
    return R"({"oid":"system.x","type":)" + std::string(kLeaves[18 + random.below(7)]) +
           R"(,"value":)" + randomJSON(random, 4) + R"(,"constraint":)" + randomJSON(random, 3) +
           R"(,"precision":)" + randomJSON(random, 1) + "}";
}

std::string randomDeviceJSON(SeededRandom& random) {
    return R"({"slot":0,"params":[)" + randomParamJSON(random) + "," + randomJSON(random, 3) +
           R"(],"menu_groups":)" + randomJSON(random, 4) + "}";
}

// Reads `json` and writes what came of it; the text has to be JSON again.
template <typename Object>
void readAndWrite(Object&& object, const std::string& json) {
    object.fromJSON(parsed(json).get());
    EXPECT_NE(nullptr, parsed(rendered(object.toJSON()))) << json;
}

TEST(HostileJSON, ParametersSurviveAnyShape) {
    SeededRandom random;
    quietly([&] {
        for (int i = 0; i < kRounds; ++i) {
            readAndWrite(makeParam("system.x", kTypeFloat),
                         random.coin() ? randomParamJSON(random) : randomJSON(random, 5));
        }
    });
}

TEST(HostileJSON, SetRequestsSurviveAnyShapeForEveryType) {
    SeededRandom random;
    std::array<ToskParam, 10> params;
    quietly([&] {
        for (int i = 0; i < kRounds; ++i) {
            const size_t type = random.below(params.size());
            ToskParam& param = params[type];
            param.setType(static_cast<int32_t>(type));
            param.setOid(ToskOID("system.x", 1));
            const util::UniqueJSON json = parsed(randomJSON(random, 5));
            const int result = param.setValueFromJSON(json.get());
            EXPECT_TRUE(result == 0 || result == -1);
            param.setValueFromJSONIfChanged(json.get());
            EXPECT_NE(nullptr, parsed(rendered(param.toJSON())));
        }
    });
}

TEST(HostileJSON, StructuresSurviveAnyShape) {
    SeededRandom random;
    quietly([&] {
        for (int i = 0; i < kRounds; ++i) {
            readAndWrite(ToskPersistedStructure("any"),
                         R"({"devices":[)" + randomDeviceJSON(random) + "]}");
            readAndWrite(ToskPersistedStructure("any"), randomJSON(random, 6));
        }
    });
}

TEST(HostileJSON, ConstraintsAndMenusSurviveAnyShape) {
    SeededRandom random;
    for (int i = 0; i < kRounds; ++i) {
        readAndWrite(ToskIntegerChoiceConstraint(), randomJSON(random, 4));
        readAndWrite(ToskConstraint(), randomJSON(random, 2));
        readAndWrite(ToskMenuGroup(), randomJSON(random, 4));
    }
}

TEST(HostileJSON, DeepestNestingOfTheParserIsReadEverywhere) {
    for (const char* open : {R"({"_d_s":)", R"({"value":)", R"({"params":)", "[", R"({"menus":)"}) {
        const std::string_view close = *open == '[' ? "]" : "}";
        const std::string json = nested(999, open, "0", close);
        readAndWrite(makeParam("system.x", kTypeStruct), json);
        readAndWrite(ToskStructValue(), json);
        readAndWrite(ToskDevice(), json);
        readAndWrite(ToskPersistedStructure("any"), json);
    }
}

}  // namespace

}  // namespace model
