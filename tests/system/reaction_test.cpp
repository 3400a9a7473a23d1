// What a set of each parameter does on each product: bus, log, commands, standard output, files.

#include "reaction.h"

#include <regex>

#include "harness/file_version.h"
#include "on_product.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::ElementsAreArray;
using testing::UnorderedElementsAreArray;

namespace {

// With a line that the daemon would not write.
constexpr const char* kNetworkByHand =
    "# by hand\nUSE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n";

struct Case {
    std::string product;
    Reaction reaction;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.reaction.key << " = " << one.reaction.value << " on " << one.product;
}

std::vector<Case> allCases() {
    std::vector<Case> cases;
    for (const auto& table : {serviceReactions(), portReactions(), networkReactions(),
                              commandReactions(), plainReactions()}) {
        for (const Reaction& reaction : table) {
            for (const char* product : kProducts) {
                if (reaction.on(product)) {
                    cases.push_back({product, reaction});
                }
            }
        }
    }
    return cases;
}

std::string nameOf(const testing::TestParamInfo<Case>& info) {
    return identifierOf(info.param.product) + "_" + info.param.reaction.name;
}

class Reactions : public OnProduct, public testing::WithParamInterface<Case> {
  protected:
    Reactions() : OnProduct(GetParam().product) {}

    void startPrepared() {
        frame.write(pallframe::simulation::paths::kNetwork, kNetworkByHand);
        reaction.prepare(frame);
        silencePoll();
        if (reaction.portsKnown) {
            show(bondFile());
        }
        startAndSettle();
        if (reaction.portsKnown) {
            waitForAnnouncement("activeEthernet");
            mark();
        }
    }

    std::string_view bondFile() const {
        return onTessaraFrame(product) ? pallframe::simulation::paths::kBondCopy
                                       : pallframe::simulation::paths::kBond;
    }

    std::string announcedValue() const { return reaction.announced.value_or(reaction.value); }

    std::vector<std::string> expectedOnBus() const {
        const std::string change = "{\"" + reaction.key + "\":" + announcedValue() + "}";
        return joined(joined({announced(change)}, reaction.bus), {answered(200, "OK")});
    }

    std::vector<LogLine> expectedInLog() const {
        const std::string text = reaction.text.value_or(reaction.value);
        std::vector<LogLine> lines{
            debug("AsyncTarnInternalClient::handleSystemKelMasterStateRspMsg: "
                  "[\"SET\", \"system\", 5, 0, 0]\n"),
            debug("ToskParam::setValueFromJSON"),
            debug("ToskParam::setValueFromJSON - fire value changed")};
        lines = joined(lines, logOfChange(reaction.key, text));
        lines = joined(lines, reaction.log);
        lines.push_back(info("System param Set: system." + reaction.key + " = " +
                             reaction.left.value_or(text) + "\n"));
        for (LogLine& line : lines) {
            line.text = std::regex_replace(line.text, std::regex("<product>"), product);
        }
        return lines;
    }

    void expectCommands() const {
        const size_t inOrder = reaction.commands.size();
        const std::vector<std::string> all = newCommands();
        ASSERT_EQ(all.size(), inOrder + reaction.background.size()) << testing::PrintToString(all);
        const auto split = all.begin() + static_cast<ptrdiff_t>(inOrder);
        EXPECT_THAT(std::vector(all.begin(), split), ElementsAreArray(reaction.commands));
        EXPECT_THAT(std::vector(split, all.end()), UnorderedElementsAreArray(reaction.background));
    }

    const Reaction& reaction = GetParam().reaction;
};

INSTANTIATE_TEST_SUITE_P(On, Reactions, testing::ValuesIn(allCases()), nameOf);

TEST_P(Reactions, ShowAllOfThisAndNoMore) {
    startPrepared();
    const FileVersion stateBefore = versionOf(kStateFile);
    set("{\"" + reaction.key + "\":" + reaction.value + "}");
    EXPECT_THAT(sentUntilNow(), ElementsAreArray(expectedOnBus()));
    EXPECT_EQ(valueOf(reaction.key), reaction.left.value_or(announcedValue()));
    waitForNewCommands(reaction.commands.size() + reaction.background.size());
    stop();
    daemon->output().waitForEnd();
    EXPECT_THAT(newLog(), ElementsAreArray(expectedInLog()));
    expectCommands();
    EXPECT_EQ(newOutput(),
              reaction.output + "Pallwatch caught signal:15 (ec: Success) - Stopping.\n");
    EXPECT_EQ(frame.read(pallframe::simulation::paths::kNetwork),
              reaction.network.value_or(kNetworkByHand));
    EXPECT_EQ(versionOf(kStateFile) != stateBefore, reaction.saved);
}

}  // namespace
