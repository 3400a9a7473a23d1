#include "client/device.h"

#include <gmock/gmock.h>

#include "bus/messages.h"
#include "client/device_follower.h"
#include "client/format_value.h"
#include "support/captured_log.h"
#include "tools/listening_peer.h"

namespace client {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

std::string idOf(const std::string& bytes, const std::string& before) {
    const std::string mark = R"({"id":")";
    const size_t begin = bytes.rfind(mark, bytes.find(before)) + mark.size();
    return bytes.substr(begin, bytes.find('"', begin) - begin);
}

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

// A device that is not there yet: what is sent is looked at, and answered, after the call.
class DeviceTest : public testing::Test {
  protected:
    DeviceTest() {
        EXPECT_TRUE(session_.open(Clock::now() + 5s));
        peer_.accept();
        session_.flush();
        peer_.read();
    }

    std::string shown(const std::string& name) const {
        const Parameter* parameter = cache_.find(name);
        return parameter ? formatValue(parameter->descriptor, parameter->value.get()) : "unknown";
    }

    bool read(Device& device, const std::vector<std::string>& names,
              std::chrono::milliseconds timeout = 0ms) {
        return DeviceFollower(session_, device, cache_, Subscription::answers, 5s)
            .read(names, timeout);
    }

    CapturedLog log_;
    ListeningPeer peer_;
    BusSession session_{peer_.port(), 1000042};
    ParameterCache cache_;
    Device device_{session_, cache_, "system", {0ms, 0ms}};
    Device tunnelled_{session_, cache_, "frameB.system", {0ms, 0ms}};
};

TEST_F(DeviceTest, TakesNamesWithAndWithoutTheObject) {
    EXPECT_EQ(device_.fullName("ipAddress"), "system.ipAddress");
    EXPECT_EQ(device_.fullName("system.ipAddress"), "system.ipAddress");
    EXPECT_EQ(device_.leafName("system.ipAddress"), "ipAddress");
    EXPECT_EQ(device_.leafName("ipAddress"), "ipAddress");
    EXPECT_EQ(device_.leafName("systemName"), "systemName");
    EXPECT_EQ(device_.fullName("net.ip"), "system.net.ip");
}

TEST_F(DeviceTest, TakesNamesOfTheCatalogueInAnyCase) {
    EXPECT_EQ(device_.fullName("IPADDRESS"), "system.ipAddress");
    EXPECT_EQ(device_.fullName("System.ipaddress"), "system.ipAddress");
    EXPECT_EQ(tunnelled_.fullName("FrameB.System.SSHenabled"), "frameB.system.sshEnabled");
    EXPECT_EQ(device_.fullName("NoSuch"), "system.NoSuch");
    const Device other{session_, cache_, "chassis", {0ms, 0ms}};
    EXPECT_EQ(other.fullName("IPADDRESS"), "chassis.IPADDRESS");
}

TEST_F(DeviceTest, ProbesWithAValueOnlyWhereItIsAnswered) {
    const auto probe = [this](Device& device) {
        device.probe();
        session_.flush();
        return peer_.read();
    };
    EXPECT_THAT(probe(device_), HasSubstr("paramDescriptor")) << "before anything is known";
    for (const char* name : {"system.frameName", "frameB.system.frameName"}) {
        Parameter frameName;
        frameName.descriptor.name = name;
        frameName.descriptor.type = "STRING";
        cache_.describe(std::move(frameName));
    }
    EXPECT_THAT(probe(device_), HasSubstr(R"("param":{"objectName":["frameName"]}};)"));
    EXPECT_THAT(probe(tunnelled_), HasSubstr("paramDescriptor"));
}

// The daemon answers for any object below its own.
TEST_F(DeviceTest, TakesNoParameterOfTheDaemonForItsOwn) {
    Device below{session_, cache_, "system.foo", {0ms, 0ms}};
    read(below, {});
    peer_.writeFrame("[\"RSP\", \"system.foo\", 8, 1000042, 0]\n{\"id\":\"" +
                     idOf(peer_.read(), "\"param\":{") +
                     R"(","param":{"paramDescriptor":{"type":"device","params":)"
                     R"({"d_system.b":{"oid":"system.b","value":2}}}}})");
    EXPECT_FALSE(below.isForeign());
    read(below, {}, 100ms);
    EXPECT_TRUE(below.isForeign());
    EXPECT_THAT(cache_.all(), testing::IsEmpty());
}

TEST_F(DeviceTest, ReadsDescriptorsByNameAndThenThatOfTheDevice) {
    EXPECT_FALSE(read(device_, {"system.a", "system.b"}));
    const std::string bytes = peer_.read();
    const size_t named = bytes.find(R"("paramDescriptor":{"objectName":["a","b"]}};)");
    const size_t whole = bytes.find(R"("param":{"objectName":["paramDescriptor"]}};)");
    ASSERT_NE(named, std::string::npos) << bytes;
    ASSERT_NE(whole, std::string::npos) << bytes;
    EXPECT_LT(named, whole);
    EXPECT_EQ(count(bytes, "[\"GET\", \"system\", 1000042, 0, 0]"), 2u);
}

TEST_F(DeviceTest, AsksForNoMoreNamesAtOnceThanTheDaemonCanAnswer) {
    std::vector<std::string> names;
    for (int name = 0; name < 601; ++name) {
        names.push_back("system.n" + std::to_string(name) + "x");
    }
    EXPECT_FALSE(read(device_, names));
    const std::string bytes = peer_.read();
    EXPECT_EQ(count(bytes, "\"paramDescriptor\":{"), 3u);
    EXPECT_THAT(bytes, HasSubstr(R"("n299x"]}};)"));
    EXPECT_THAT(bytes, HasSubstr(R"("objectName":["n300x",)"));
    EXPECT_THAT(bytes, HasSubstr(R"("objectName":["n600x"]}};)"));
}

TEST_F(DeviceTest, TakesDescriptorsFromBothAnswersAlsoWhenTheyComeLate) {
    read(device_, {"system.a"});
    const std::string bytes = peer_.read();
    peer_.writeFrame("[\"RSP\", \"system\", 8, 1000042, 0]\n{\"id\":\"" +
                     idOf(bytes, "\"paramDescriptor\":{") +
                     R"(","paramDescriptor":{"d_system.a":{"oid":"system.a","value":1}}})");
    peer_.writeFrame("[\"RSP\", \"system\", 8, 1000042, 0]\n{\"id\":\"" +
                     idOf(bytes, "\"param\":{") +
                     R"(","param":{"paramDescriptor":{"type":"device","params":)"
                     R"({"d_system.b":{"oid":"system.b","value":2}}}}})");
    EXPECT_FALSE(read(device_, {}, 100ms)) << "these answer the request before";
    EXPECT_EQ(shown("system.a"), "1");
    EXPECT_EQ(shown("system.b"), "2");
}

TEST_F(DeviceTest, AnswersUnderAnotherObjectAreNotItsOwn) {
    read(device_, {});
    peer_.writeFrame("[\"RSP\", \"frameB.system\", 8, 1000042, 0]\n{\"id\":\"" +
                     idOf(peer_.read(), "\"param\":{") +
                     R"(","paramDescriptor":{"d_x":{"oid":"x","value":1}}})");
    read(device_, {});
    EXPECT_THAT(cache_.all(), testing::IsEmpty());
}

TEST_F(DeviceTest, WhoeverCannotWaitGetsTheIdOfTheLastAnswer) {
    const std::string id = device_.ask({"system.a"});
    ASSERT_TRUE(session_.flush());
    const std::string bytes = peer_.read();
    EXPECT_EQ(count(bytes, "\"GET\", \"system\""), 2u);
    EXPECT_EQ(idOf(bytes, R"("param":{)"), id);
}

TEST_F(DeviceTest, WhoeverCannotWaitGetsTheIdOfASet) {
    const std::string id = device_.askToSet("system.a", util::jsonNumber(7));
    ASSERT_TRUE(session_.flush());
    const std::string bytes = peer_.read();
    EXPECT_EQ(idOf(bytes, R"("param":{"a":7})"), id);
}

TEST_F(DeviceTest, SetsByTheLeaf) {
    EXPECT_EQ(device_.set("system.sshEnabled", util::jsonNumber(0)), std::nullopt);
    const std::string bytes = peer_.read();
    EXPECT_THAT(bytes, HasSubstr("[\"SET\", \"system\", 1000042, 0, 0]\n"));
    EXPECT_THAT(bytes, HasSubstr(R"("param":{"sshEnabled":0}};)"));
}

TEST_F(DeviceTest, HearsItsAnnouncementsOnly) {
    device_.handleMessage(NOTMessage("system", "a", util::jsonNumber(1)));
    device_.handleMessage(NOTMessage("system.x", "b", util::jsonNumber(1)));
    device_.handleMessage(NOTMessage("frameB.system", "c", util::jsonNumber(1)));
    device_.handleMessage(SETMessage("system", util::jsonObject()));
    device_.handleMessage(NOTMessage("system", DataKey{"param"}, util::jsonNumber(7)));
    EXPECT_EQ(shown("system.a"), "1");
    EXPECT_EQ(cache_.all().size(), 1u);
}

TEST_F(DeviceTest, TellsThatTheDaemonIsNewOnTheBus) {
    EXPECT_FALSE(device_.handleMessage(NOTMessage("system", "ipAddress", util::jsonNumber(1))));
    EXPECT_TRUE(
        device_.handleMessage(NOTMessage("system", "frameName", util::jsonString("Quorane"))));
}

TEST_F(DeviceTest, TakesNamesWithAndWithoutThePrefix) {
    for (const char* name : {"ipAddress", "system.ipAddress", "frameB.system.ipAddress"}) {
        EXPECT_EQ(tunnelled_.fullName(name), "frameB.system.ipAddress");
        EXPECT_EQ(tunnelled_.leafName(name), "ipAddress");
    }
}

TEST_F(DeviceTest, AsksThroughAPrefixForNoDescriptorByName) {
    EXPECT_FALSE(read(tunnelled_, {"frameB.system.a"}));
    const std::string bytes = peer_.read();
    EXPECT_EQ(count(bytes, "\"paramDescriptor\":"), 0u) << bytes;
    EXPECT_THAT(bytes, HasSubstr("[\"GET\", \"frameB.system\", 1000042, 0, 0]"));
    EXPECT_THAT(bytes, HasSubstr(R"("param":{"objectName":["paramDescriptor"]}};)"));
}

TEST_F(DeviceTest, KnowsThroughAPrefixParametersByTheirNameThere) {
    read(tunnelled_, {});
    peer_.writeFrame("[\"RSP\", \"frameB.system\", 8, 1000042, 0]\n{\"id\":\"" +
                     idOf(peer_.read(), "\"param\":{") +
                     R"(","param":{"paramDescriptor":{"type":"device","params":)"
                     R"({"d_system.b":{"oid":"system.b","value":2}}}}})");
    read(tunnelled_, {}, 100ms);
    EXPECT_EQ(shown("frameB.system.b"), "2");
    tunnelled_.handleMessage(NOTMessage("frameB.system", "b", util::jsonNumber(3)));
    tunnelled_.handleMessage(NOTMessage("system", "b", util::jsonNumber(4)));
    EXPECT_EQ(shown("frameB.system.b"), "3");
}

TEST_F(DeviceTest, PutsEveryNameThatTheDeviceSaysUnderItsObject) {
    read(device_, {});
    peer_.writeFrame("[\"RSP\", \"system\", 8, 1000042, 0]\n{\"id\":\"" +
                     idOf(peer_.read(), "\"param\":{") +
                     R"(","paramDescriptor":{"x":{"oid":"LD.PRELOAD","value":1}}})");
    read(device_, {}, 100ms);
    EXPECT_EQ(shown("system.LD.PRELOAD"), "1");
}

// A daemon greets under its own name only, whatever way leads to it.
TEST_F(DeviceTest, HearsThroughAPrefixThatTheDaemonIsNewOnTheBus) {
    EXPECT_EQ(tunnelled_.home(), "system");
    EXPECT_FALSE(tunnelled_.handleMessage(NOTMessage("system", "ipAddress", util::jsonNumber(1))));
    EXPECT_FALSE(
        tunnelled_.handleMessage(NOTMessage("other", "frameName", util::jsonString("Quorane"))));
    EXPECT_TRUE(
        tunnelled_.handleMessage(NOTMessage("system", "frameName", util::jsonString("Quorane"))));
    EXPECT_EQ(shown("frameB.system.frameName"), "unknown");
}

}  // namespace
}  // namespace client
