#include "soak_lib/requests.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "systemstate/catalogue.h"
#include "util/json.h"

namespace soak {
namespace {

TEST(Requests, EveryWritableParameterOfTheCatalogueIsSet) {
    std::set<std::string> set;
    for (const Parameter& parameter : writableParameters()) {
        set.insert(std::string("system.") + parameter.name);
    }
    for (const systemstate::CatalogueRow& row : systemstate::catalogue()) {
        EXPECT_EQ(set.count(row.key) == 1, row.access == systemstate::Access::writable) << row.key;
    }
}

TEST(Requests, SavedAreThoseThatTheCatalogueSaves) {
    for (const systemstate::CatalogueRow& row : systemstate::catalogue()) {
        for (const Parameter& parameter : writableParameters()) {
            if (parameter.name == leafName(row)) {
                EXPECT_EQ(parameter.saved, row.storage == systemstate::Storage::published)
                    << row.key;
            }
        }
    }
}

struct Expected {
    const char* name;
    Values values;
    bool steady;
};

// Each kind of parameter once.
TEST(Requests, ValuesAreThoseThatTheParameterTakes) {
    for (const Expected& expected : {Expected{"frameName", Values::text, true},
                                     {"active", Values::flag, true},
                                     {"activeKeli", Values::flag, false},
                                     {"serial1", Values::connectionPoint, false},
                                     {"sshEnabled", Values::flag, true},
                                     {"ambrixEnabled", Values::flag, false},
                                     {"activeEthernet", Values::port, false},
                                     {"generateReport", Values::command, true},
                                     {"ipAddress", Values::address, false},
                                     {"netmask", Values::netmask, false}}) {
        const auto found = std::ranges::find_if(writableParameters(), [&](const Parameter& each) {
            return std::string_view(each.name) == expected.name;
        });
        ASSERT_NE(found, writableParameters().end()) << expected.name;
        EXPECT_EQ(found->values, expected.values) << expected.name;
        EXPECT_EQ(found->steady, expected.steady) << expected.name;
    }
}

// A run that does little else than wait for commands sees little.
TEST(Requests, FewSetsRunCommands) {
    int64_t all = 0;
    int64_t commands = 0;
    for (const Parameter& parameter : writableParameters()) {
        all += parameter.weight;
        commands += parameter.weight < 30 ? parameter.weight : 0;
    }
    EXPECT_LT(commands * 5, all);
    EXPECT_GT(commands, 0);
}

TEST(Requests, AreNumberedAndNamedByTheirNumber) {
    Random random(1);
    RequestMaker maker(random);
    const Request first = maker.makeGet({"active", "psu1Voltage"});
    EXPECT_EQ(first.number, 1U);
    EXPECT_EQ(first.answers, 2U);
    EXPECT_EQ(first.data, R"({"id":"1@soak","param":{"objectName":["active","psu1Voltage"]}})");
    EXPECT_EQ(parseRequestNumber("1@soak"), 1U);
    EXPECT_EQ(parseRequestNumber("1@other"), std::nullopt);
    EXPECT_EQ(parseRequestNumber("@soak"), std::nullopt);
    EXPECT_EQ(maker.makeAny(true).number, 2U);
}

TEST(Requests, AreJsonWhateverTheirValues) {
    Random random(5);
    RequestMaker maker(random);
    for (int i = 0; i < 2000; ++i) {
        const Request request = maker.makeAny(true);
        ASSERT_NE(util::parseJSON(request.data.data(), request.data.size()), nullptr)
            << request.data;
    }
}

TEST(Requests, NetworkSettingsComeOnlyWhenAllowed) {
    Random random(3);
    RequestMaker maker(random);
    bool came = false;
    for (int i = 0; i < 5000; ++i) {
        const Request request = maker.makeAny(false);
        ASSERT_FALSE(request.parameter != nullptr && request.parameter->isNetwork());
        const Request free = maker.makeAny(true);
        came = came || (free.parameter != nullptr && free.parameter->isNetwork());
    }
    EXPECT_TRUE(came);
}

TEST(Requests, TheSameSeedMakesTheSameRequests) {
    Random one(11);
    Random other(11);
    RequestMaker first(one);
    RequestMaker second(other);
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(first.makeAny(true).data, second.makeAny(true).data);
    }
}

// Any number of clients make these at once, so nothing may depend on who was first or wait for a
// disk.
TEST(Requests, AmongOthersSetNothingThatIsSavedActedUponOrCompared) {
    Random random(1);
    RequestMaker maker(random);
    size_t sets = 0;
    for (int i = 0; i < 1000; ++i) {
        const Request request = maker.makeIndependent();
        if (request.parameter != nullptr) {
            ++sets;
            EXPECT_FALSE(request.parameter->saved);
            EXPECT_FALSE(request.parameter->steady);
            EXPECT_FALSE(request.parameter->isNetwork());
        }
    }
    EXPECT_GT(sets, 300U);
    EXPECT_LT(sets, 700U);
}

}  // namespace
}  // namespace soak
