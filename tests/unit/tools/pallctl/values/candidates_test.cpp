#include "pallctl/values/candidates.h"

#include <gmock/gmock.h>

namespace pallctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Words = std::vector<std::string>;

Words wordsOf(const std::vector<cli::Completion>& offers) {
    Words words;
    for (const cli::Completion& offer : offers) {
        words.push_back(offer.word);
    }
    return words;
}

class CandidatesTest : public testing::Test {
  protected:
    CandidatesTest() {
        add("systemName", "STRING", R"("Rack 4")").descriptor.label = "System Name";
        add("ipAddress", "INT32", "3232235777").descriptor.widget = "WIDGET_IP_ADDRESS";
        add("activeEthernet", "INT32", "1").descriptor.choices = {{0, "Port 1"}, {1, "Port 2"}};
        add("serial0", "STRUCT", R"({"_d_name":{"type":"STRING","value":"COM1"}})");
        add("empty", "STRING", "");
        add("tricky", "STRING", R"("two\nlines")");
        add("voltage", "FLOAT", "11.987").descriptor.precision = 2;
        for (const client::Parameter& parameter : owned_) {
            parameters_.push_back(&parameter);
        }
    }

    client::Parameter& add(const std::string& name, const std::string& type,
                           const std::string& value) {
        client::Parameter& made = owned_.emplace_back();
        made.descriptor.name = "system." + name;
        made.descriptor.type = type;
        made.value = value.empty() ? nullptr : util::parseJSON(value.data(), value.size());
        return made;
    }

    Words names(const std::string& word) {
        return wordsOf(completeNames(parameters_, object_, word));
    }
    Words assignments(const std::string& word) {
        return wordsOf(completeAssignments(parameters_, object_, word));
    }

    const client::DevicePath object_{"system"};
    std::vector<client::Parameter> owned_;
    std::vector<const client::Parameter*> parameters_;
};

TEST_F(CandidatesTest, OffersBareNamesInTheOrderOfTheDevice) {
    EXPECT_THAT(names(""), ElementsAre("systemName", "ipAddress", "activeEthernet", "serial0",
                                       "empty", "tricky", "voltage"));
    EXPECT_THAT(names("i"), ElementsAre("ipAddress"));
    EXPECT_THAT(names("IPA"), ElementsAre("ipAddress"));
    EXPECT_THAT(names("nosuch"), IsEmpty());
}

TEST_F(CandidatesTest, OffersTheObjectUntilItIsWrittenAndThenItsNames) {
    EXPECT_THAT(names("sys"), ElementsAre("systemName", "system."));
    EXPECT_THAT(names("system.s"), ElementsAre("system.systemName", "system.serial0"));
}

TEST_F(CandidatesTest, SaysWhatANameStandsFor) {
    EXPECT_EQ(completeNames(parameters_, object_, "systemN").front().about, "System Name: Rack 4");
}

TEST_F(CandidatesTest, GoesOnFromANameToItsValue) {
    EXPECT_THAT(assignments("sys"), ElementsAre("systemName=", "system."));
    EXPECT_THAT(assignments("system.i"), ElementsAre("system.ipAddress="));
    EXPECT_THAT(assignments("ipAddress="), ElementsAre("ipAddress=192.168.1.1"));
    EXPECT_THAT(assignments("system.ipAddress=1"), ElementsAre("system.ipAddress=192.168.1.1"));
    EXPECT_THAT(assignments("serial0="), ElementsAre("serial0=name=COM1"));
    EXPECT_THAT(assignments("voltage="), ElementsAre("voltage=11.99"));
    EXPECT_THAT(assignments("nosuch="), IsEmpty());
}

TEST_F(CandidatesTest, OffersChoicesByTheirNames) {
    EXPECT_THAT(assignments("activeEthernet=Po"),
                ElementsAre("activeEthernet=Port 1", "activeEthernet=Port 2"));
}

TEST_F(CandidatesTest, OffersNoValueThatCouldNotBeSetAgain) {
    EXPECT_THAT(assignments("empty="), IsEmpty());
    EXPECT_THAT(assignments("tricky="), IsEmpty());
    EXPECT_THAT(completeValues(nullptr), IsEmpty());
}

TEST_F(CandidatesTest, KnowsTheNamesOfAnotherObject) {
    owned_[0].descriptor.name = "frameB.system.systemName";
    const client::DevicePath other("frameB.system");
    const std::vector<const client::Parameter*> one{&owned_[0]};
    EXPECT_THAT(wordsOf(completeNames(one, other, "")), ElementsAre("systemName"));
    EXPECT_THAT(wordsOf(completeNames(one, other, "fr")), ElementsAre("frameB.system."));
    EXPECT_THAT(wordsOf(completeNames(one, other, "frameB.system.s")),
                ElementsAre("frameB.system.systemName"));
}

}  // namespace
}  // namespace pallctl
