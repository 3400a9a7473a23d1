#include "client/mirror.h"

#include <gmock/gmock.h>

#include "client/human_form.h"

namespace pallctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

UniqueJSON json(const std::string& text) {
    return parseJSON(text.data(), text.size());
}

Parameter parameter(const std::string& name, const std::string& value, int precision = -1) {
    Parameter made;
    made.descriptor.name = name;
    made.descriptor.type = "FLOAT";
    made.descriptor.precision = precision;
    made.value = json(value);
    return made;
}

class MirrorTest : public testing::Test {
  protected:
    MirrorTest() {
        mirror_.setOnChange([this](const Parameter& changed) {
            changes_.push_back(changed.descriptor.name + "=" +
                               humanForm(changed.descriptor, changed.value.get()));
        });
    }

    Mirror mirror_;
    std::vector<std::string> changes_;
};

TEST_F(MirrorTest, TakesTheFirstDescriptionSilently) {
    mirror_.describe(parameter("system.a", "1"));
    EXPECT_THAT(changes_, IsEmpty());
    ASSERT_NE(mirror_.find("system.a"), nullptr);
    EXPECT_EQ(mirror_.find("system.b"), nullptr);
}

TEST_F(MirrorTest, TellsAnAnnouncedChangeInTheFormOfTheDescriptor) {
    mirror_.describe(parameter("system.a", "1", 2));
    mirror_.announce("system.a", json("2.5").get());
    EXPECT_THAT(changes_, ElementsAre("system.a=2.50"));
    EXPECT_EQ(mirror_.find("system.a")->value->valuedouble, 2.5);
}

TEST_F(MirrorTest, IsSilentAboutWhatReadsTheSame) {
    mirror_.describe(parameter("system.a", "1.001", 2));
    mirror_.announce("system.a", json("1.002").get());
    mirror_.describe(parameter("system.a", "1.003", 2));
    EXPECT_THAT(changes_, IsEmpty());
    EXPECT_EQ(mirror_.find("system.a")->value->valuedouble, 1.003);
}

TEST_F(MirrorTest, TellsWhatChangedUnheard) {
    mirror_.describe(parameter("system.a", "1"));
    mirror_.describe(parameter("system.b", "1"));
    mirror_.describe(parameter("system.a", "1"));
    mirror_.describe(parameter("system.b", "2"));
    EXPECT_THAT(changes_, ElementsAre("system.b=2"));
}

TEST_F(MirrorTest, TellsAValueThatNobodyDescribed) {
    mirror_.announce("system.details", json(R"({"a":true})").get());
    EXPECT_THAT(changes_, ElementsAre(R"(system.details={"a":true})"));
}

TEST_F(MirrorTest, ChangesTheFormOfAValueWithoutCallingItAChange) {
    mirror_.announce("system.a", json("1").get());
    changes_.clear();
    mirror_.describe(parameter("system.a", "1", 2));
    EXPECT_THAT(changes_, IsEmpty());
    mirror_.announce("system.a", json("2").get());
    EXPECT_THAT(changes_, ElementsAre("system.a=2.00"));
}

TEST_F(MirrorTest, KeepsTheOrderOfFirstHearing) {
    mirror_.describe(parameter("system.b", "1"));
    mirror_.announce("system.a", json("1").get());
    mirror_.describe(parameter("system.b", "2"));
    std::vector<std::string> names;
    for (const Parameter* each : mirror_.all()) {
        names.push_back(each->descriptor.name);
    }
    EXPECT_THAT(names, ElementsAre("system.b", "system.a"));
}

TEST(Mirror, NeedsNobodyToTell) {
    Mirror mirror;
    mirror.announce("system.a", nullptr);
    mirror.announce("system.a", json("1").get());
    EXPECT_EQ(mirror.all().size(), 1u);
}

}  // namespace
}  // namespace pallctl
