// The product's name is what decides, however the card spells it.

#include "on_product.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::Contains;
using testing::ElementsAre;

namespace {

// A frame that is furnished as one product, and whose card gives itself a name.
class Named : public OnProduct {
  protected:
    explicit Named(std::string_view furnished = "Quorane") : OnProduct(furnished) {}

    void startNamed(const std::string& name) {
        frame.write(pallframe::simulation::paths::kEeprom, "PRODUCT=" + name + "\n");
        startAndSettle();
    }

    void expectSwapRefused(const std::string& name) {
        set(R"({"activeEthernet":1})");
        EXPECT_THAT(sentUntilNow(),
                    ElementsAre(announced(R"({"activeEthernet":1})"), answered(200, "OK")));
        EXPECT_THAT(newLog(), Contains(error("Active ethernet port swapover not supported on " +
                                             name + "\n")));
        EXPECT_THAT(newCommands(), testing::IsEmpty());
    }
};

TEST_F(Named, QuoraneSwapsItsPortInThatCaseOnly) {
    silencePoll();
    startNamed("quorane");
    expectSwapRefused("quorane");
}

TEST_F(Named, ALongNameIsCutInTheLog) {
    silencePoll();
    startNamed("ANameOfMoreThanThirtyTwoCharacters");
    expectSwapRefused("ANameOfMoreThanThirtyTwoCharacte");
    EXPECT_EQ(valueOf("frameName"), "\"ANameOfMoreThanThirtyTwoCharacters\"");
}

class NamedBrio : public Named {
  protected:
    NamedBrio() : Named("QuoraneBrio") {}
};

TEST_F(NamedBrio, IsOneInAnyCase) {
    startNamed("QUORANEbrio");
    set(R"({"sshEnabled":0})");
    sentUntilNow();
    EXPECT_THAT(newCommands(), ElementsAre("sudo systemctl stop ssh", "systemctl stop ssh"));
}

class NamedTessara : public Named {
  protected:
    NamedTessara() : Named("Tessara") { frame.remove(pallframe::simulation::paths::kBond); }
};

TEST_F(NamedTessara, IsOneInAnyCase) {
    startNamed("tessARA");
    EXPECT_EQ(waitForAnnouncement("frameType"), "2");
    EXPECT_EQ(valueOf("ethPort1Status"), "1") << "read from the copy";
    EXPECT_EQ(waitForAnnouncement("battVoltage"), "3.100283203125") << "in its wiring";
}

class NamedKELI : public Named {
  protected:
    NamedKELI() : Named("KELI") {}
};

TEST_F(NamedKELI, IsOneInAnyCase) {
    startNamed("Keli");
    EXPECT_EQ(waitForAnnouncement("battVoltage"), "3.1002587890625") << "in its wiring";
}

}  // namespace
