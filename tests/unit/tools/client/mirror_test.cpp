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

TEST_F(MirrorTest, TellsWhatReadsTheSameWhenExactnessIsAskedFor) {
    mirror_.describe(parameter("system.a", "1.001", 2));
    mirror_.tellExactly();
    mirror_.announce("system.a", json("1.002").get());
    mirror_.announce("system.a", json("1.002").get());
    EXPECT_THAT(changes_, ElementsAre("system.a=1.00"));
}

// The answer was written before the change and overtaken by its announcement.
TEST_F(MirrorTest, KeepsWhatWasAnnouncedDuringAReadingWhateverTheAnswerSays) {
    mirror_.describe(parameter("system.a", "1"));
    mirror_.beginReading();
    mirror_.announce("system.a", json("2").get());
    mirror_.describe(parameter("system.a", "1", 2));
    mirror_.endReading();
    EXPECT_THAT(changes_, ElementsAre("system.a=2"));
    EXPECT_EQ(mirror_.find("system.a")->value->valuedouble, 2);
    EXPECT_EQ(mirror_.find("system.a")->descriptor.precision, 2) << "its other news are taken";
    EXPECT_TRUE(mirror_.isDoubtful());
}

TEST_F(MirrorTest, TellsOnceWhatIsBothAnnouncedAndDescribed) {
    mirror_.describe(parameter("system.a", "1"));
    mirror_.beginReading();
    mirror_.announce("system.a", json("2").get());
    mirror_.describe(parameter("system.a", "2"));
    mirror_.describe(parameter("system.a", "2"));
    mirror_.endReading();
    EXPECT_THAT(changes_, ElementsAre("system.a=2"));
    EXPECT_FALSE(mirror_.isDoubtful());
}

TEST_F(MirrorTest, BelievesDescriptionsOfTheNextReadingAgain) {
    mirror_.describe(parameter("system.a", "1"));
    mirror_.beginReading();
    mirror_.announce("system.a", json("2").get());
    mirror_.endReading();
    mirror_.beginReading();
    mirror_.describe(parameter("system.a", "3"));
    EXPECT_THAT(changes_, ElementsAre("system.a=2", "system.a=3"));
}

TEST_F(MirrorTest, HoldsNewsOfTheUndescribedBackUntilTheyCanBeShown) {
    mirror_.beginReading();
    mirror_.announce("system.a", json("2").get());
    mirror_.announce("system.b", json("7").get());
    mirror_.announce("system.a", json("3").get());
    EXPECT_THAT(changes_, IsEmpty());
    mirror_.describe(parameter("system.a", "3", 1));
    mirror_.announce("system.a", json("4").get());
    EXPECT_THAT(changes_, ElementsAre("system.a=2.0", "system.a=3.0", "system.a=4.0"));
    mirror_.endReading();
    EXPECT_THAT(changes_,
                ElementsAre("system.a=2.0", "system.a=3.0", "system.a=4.0", "system.b=7"));
}

TEST_F(MirrorTest, HoldsThemBackThroughAReadingThatFailed) {
    mirror_.beginReading();
    mirror_.announce("system.a", json("2").get());
    mirror_.beginReading();
    mirror_.describe(parameter("system.a", "2", 1));
    EXPECT_THAT(changes_, ElementsAre("system.a=2.0"));
}

TEST_F(MirrorTest, KnowsWhatAReadingLeftOut) {
    mirror_.describe(parameter("system.a", "1"));
    mirror_.beginReading();
    mirror_.describe(parameter("system.b", "1"));
    mirror_.endReading();
    EXPECT_THAT(mirror_.missing({"system.a", "system.b", "system.c"}),
                ElementsAre("system.a", "system.c"));
}

TEST_F(MirrorTest, KeepsNoMoreThanItsShareOfADeviceThatNeverStops) {
    for (size_t name = 0; name < Mirror::kMostParameters + 5; ++name) {
        mirror_.announce("system.n" + std::to_string(name), json("1").get());
    }
    EXPECT_EQ(mirror_.all().size(), Mirror::kMostParameters);
    mirror_.announce("system.n0", json("2").get());
    EXPECT_EQ(changes_.back(), "system.n0=2");
}

TEST_F(MirrorTest, HoldsBackTheLastOfTooManyNews) {
    mirror_.beginReading();
    for (size_t value = 0; value < Mirror::kMostHeldBack + 5; ++value) {
        mirror_.announce("system.a", jsonNumber(static_cast<double>(value)).get());
    }
    mirror_.endReading();
    EXPECT_EQ(changes_.size(), Mirror::kMostHeldBack);
    EXPECT_EQ(changes_.front(), "system.a=5");
}

TEST(Mirror, NeedsNobodyToTell) {
    Mirror mirror;
    mirror.announce("system.a", nullptr);
    mirror.announce("system.a", json("1").get());
    EXPECT_EQ(mirror.all().size(), 1u);
}

}  // namespace
}  // namespace pallctl
