// How the services get into the state that a restart finds for them.

#include <gmock/gmock.h>

#include "system_state_fixture.h"

namespace systemstate {

namespace {

using testing::ElementsAre;
using Commands = RecordingMachine::Commands;

struct Service {
    const char* name;
    const char* key;
    const char* marker;
    Commands start;
    Commands stop;
};

// In the order of the catalogue.
const Service kServices[] = {
    {"Ssh",
     "system.sshEnabled",
     "/vantor/etc/sshServerDisabled",
     {"/etc/init.d/S50dropbear restart"},
     {"/etc/init.d/S50dropbear stop"}},
    {"Ftp",
     "system.ftpEnabled",
     "/vantor/etc/ftpServerDisabled",
     {"/etc/init.d/S56tcpsvd restart"},
     {"/etc/init.d/S56tcpsvd stop"}},
    {"Ambrix",
     "system.ambrixEnabled",
     "/vantor/etc/ambrixDisabled",
     {"/etc/init.d/S81ambrix stop", "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'",
      "/etc/init.d/S81ambrix start &", "/vantor/bin/ambrix-shutoff.sh &"},
     {"/etc/init.d/S81ambrix stop", "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'"}},
};

// One service at a time; the file holds the others as disabled.
class ServiceAtStart : public SystemStateTest, public testing::WithParamInterface<Service> {
  protected:
    // Boots from a file that brings the service's parameter with these members, or, when there are
    // none, does not bring it.
    void bootWith(const std::string& members) {
        std::string params;
        for (const Service& service : kServices) {
            const bool tested = service.key == std::string(GetParam().key);
            const std::string own = tested ? members : R"("type":"INT32","value":0)";
            if (!own.empty()) {
                params += (params.empty() ? "" : ",") + std::string("\"") + service.name +
                          R"(":{"oid":")" + service.key + R"(","name":"Held",)" + own + "}";
            }
        }
        root.write(kStateFile,
                   R"({"systemState":{"devices":[{"slot":0,"params":{)" + params + "}}]}}");
        boot("Tessara");
    }

    // Everything that a boot runs when the service is told `own`.
    Commands bootRunning(const Commands& own) const {
        Commands all = {". /tmp/eeprom && echo $PRODUCT"};
        for (const Service& service : kServices) {
            const bool tested = service.key == std::string(GetParam().key);
            const Commands& part = tested ? own : service.stop;
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }

    const ToskParam& param() const { return *state->findParam(GetParam().key); }

    // Whether the parameter is the one that the file brought.
    bool isHeld() const { return param().name() == "Held"; }
    bool isAmbrix() const { return GetParam().key == std::string("system.ambrixEnabled"); }
};

TEST_P(ServiceAtStart, HeldNonZeroStartsIt) {
    bootWith(R"("type":"INT32","value":-2)");
    EXPECT_EQ(machine->take(), bootRunning(GetParam().start));
    EXPECT_TRUE(isHeld());
    EXPECT_EQ(param().valueToString(), "-2");
}

TEST_P(ServiceAtStart, HeldZeroStopsIt) {
    bootWith(R"("type":"INT32","value":0)");
    EXPECT_EQ(machine->take(), bootRunning(GetParam().stop));
    EXPECT_TRUE(isHeld());
}

TEST_P(ServiceAtStart, HeldValueCountsAndNotTheMarker) {
    root.write(GetParam().marker, "");
    bootWith(R"("type":"INT32","value":1)");
    EXPECT_EQ(machine->take(), bootRunning(GetParam().start));
    EXPECT_EQ(param().valueToString(), "1");
}

TEST_P(ServiceAtStart, HeldParameterStaysPublishedAndIsListenedTo) {
    bootWith(R"("type":"INT32","value":0)");
    EXPECT_TRUE(param().published());
    EXPECT_EQ(param().listener(), state.get());
}

TEST_P(ServiceAtStart, NotHeldItIsStartedWithoutItsMarker) {
    bootWith("");
    EXPECT_EQ(machine->take(), bootRunning(GetParam().start));
    EXPECT_EQ(param().valueToString(), "1");
}

TEST_P(ServiceAtStart, NotHeldItIsStoppedWithItsMarker) {
    root.write(GetParam().marker, "");
    bootWith("");
    EXPECT_EQ(machine->take(), bootRunning(GetParam().stop));
    EXPECT_EQ(param().valueToString(), "0");
}

TEST_P(ServiceAtStart, HeldWithoutNumberSshAndFtpStartAndAmbrixStops) {
    for (const char* const members :
         {R"("type":"INT32")", R"("type":"STRING","value":"1")", R"("type":"INT16_ARRAY")"}) {
        bootWith(members);
        EXPECT_EQ(machine->take(), bootRunning(isAmbrix() ? GetParam().stop : GetParam().start))
            << members;
        EXPECT_EQ(isHeld(), isAmbrix()) << members;
        EXPECT_EQ(param().listener(), state.get()) << members;
    }
}

TEST_P(ServiceAtStart, NewParameterOfAServiceThatWasStartedShowsItsMarker) {
    root.write(GetParam().marker, "");
    bootWith(R"("type":"INT32")");
    EXPECT_EQ(param().valueToString(), isAmbrix() ? "" : "0");
}

std::string serviceName(const testing::TestParamInfo<Service>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Table, ServiceAtStart, testing::ValuesIn(kServices), serviceName);

class AmbrixAtStart : public SystemStateTest {
  protected:
    void holdWithoutValue() {
        root.write(kStateFile, R"({"systemState":{"devices":[{"slot":0,"params":{)"
                               R"("a":{"oid":"system.ambrixEnabled","type":"INT32"}}}]}})");
    }
};

TEST_F(AmbrixAtStart, SetOfAParameterRestoredWithoutNumberWorksAsOfAnyOther) {
    holdWithoutValue();
    run();
    EXPECT_EQ(set("system.ambrixEnabled", "1"), 0);
    EXPECT_THAT(announced, ElementsAre("system.ambrixEnabled=1"));
    EXPECT_EQ(machine->take(), kServices[2].start);
    EXPECT_TRUE(state->services().ambrixStarted());
}

TEST_F(AmbrixAtStart, StartingItIsRemembered) {
    boot();
    EXPECT_TRUE(state->services().ambrixStarted());
}

TEST_F(AmbrixAtStart, StoppingItIsNot) {
    holdWithoutValue();
    boot();
    EXPECT_FALSE(state->services().ambrixStarted());
}

TEST_F(AmbrixAtStart, BrioHasItsOwnCommands) {
    boot("QuoraneBrio");
    EXPECT_THAT(
        machine->take(),
        ElementsAre(". /tmp/eeprom && echo $PRODUCT", "sudo systemctl start ssh",
                    "sudo systemctl start vsftpd", "pkill ambrixsrvtst", "pkill brio-ambrix-shu",
                    "/vantor/bin/ambrixsrvlaunch.sh &", "/vantor/bin/brio-ambrix-shutoff.sh &"));
}

}  // namespace

}  // namespace systemstate
