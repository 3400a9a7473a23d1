#include "pallctl/values/client_names.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include "support/captured_log.h"

namespace pallctl {
namespace {

std::string processOf(const std::string& processID) {
    return processID == "4711" ? "keli" : processID == "12" ? "other" : "";
}

MessageHead head(const std::string& type, int32_t from, const std::string& id) {
    MessageHead made;
    made.type = type;
    made.from = from;
    made.id = id;
    return made;
}

class ClientNamesTest : public testing::Test {
  protected:
    ClientNames names_{".00ff", processOf};
    CapturedLog log_;
};

TEST_F(ClientNamesTest, KnowTheDaemonAndPallctl) {
    EXPECT_EQ(names_.find(8), "pallwatch");
    EXPECT_EQ(names_.find(1'000'042), "pallctl");
    EXPECT_EQ(names_.find(0), "");
    EXPECT_EQ(names_.find(20), "");
}

TEST_F(ClientNamesTest, AreLearnedFromTheIdsOfRequestsAndNotifications) {
    for (const char* type : {"GET", "SET", "NOT"}) {
        ClientNames names(".00ff", processOf);
        names.learn(head(type, 20, "17@4711.00ff"));
        EXPECT_EQ(names.find(20), "keli") << type;
    }
    names_.learn(head("SET", 20, "17@4711.00ff"));
    names_.learn(head("SET", 20, "1@12.00ff"));
    EXPECT_EQ(names_.find(20), "other") << "another program has taken the connection ID";
}

TEST_F(ClientNamesTest, AreNotLearnedFromAnswersAndForeignIds) {
    names_.learn(head("RSP", 20, "17@4711.00ff"));
    for (const char* id : {"17@4711.aabb", "17@4711", "4711.00ff", "", "17@47x1.00ff", "17@.00ff",
                           "17@../1.00ff", "17@99.00ff"}) {
        names_.learn(head("SET", 20, id));
        EXPECT_EQ(names_.find(20), "") << id;
    }
}

TEST_F(ClientNamesTest, AreThoseOfTheProcesses) {
    EXPECT_EQ(findProcessName(std::to_string(::getpid())), "unit_pallctl_va");
    EXPECT_EQ(findProcessName("999999999"), "");
    EXPECT_TRUE(findMachineMark().starts_with("."));
}

}  // namespace
}  // namespace pallctl
