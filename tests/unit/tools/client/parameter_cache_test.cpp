#include "client/parameter_cache.h"

#include <gmock/gmock.h>

#include "client/format_value.h"

namespace client {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

util::UniqueJSON json(const std::string& text) {
    return util::parseJSON(text.data(), text.size());
}

Parameter parameter(const std::string& name, const std::string& value, int precision = -1) {
    Parameter made;
    made.descriptor.name = name;
    made.descriptor.type = "FLOAT";
    made.descriptor.precision = precision;
    made.value = json(value);
    return made;
}

class ParameterCacheTest : public testing::Test {
  protected:
    ParameterCacheTest() {
        cache_.setOnChange([this](const Parameter& changed) {
            changes_.push_back(changed.descriptor.name + "=" +
                               formatValue(changed.descriptor, changed.value.get()));
        });
    }

    ParameterCache cache_;
    std::vector<std::string> changes_;
};

TEST_F(ParameterCacheTest, TakesTheFirstDescriptionSilently) {
    cache_.describe(parameter("system.a", "1"));
    EXPECT_THAT(changes_, IsEmpty());
    ASSERT_NE(cache_.find("system.a"), nullptr);
    EXPECT_EQ(cache_.find("system.b"), nullptr);
}

TEST_F(ParameterCacheTest, TellsAnAnnouncedChangeInTheFormOfTheDescriptor) {
    cache_.describe(parameter("system.a", "1", 2));
    cache_.announce("system.a", json("2.5").get());
    EXPECT_THAT(changes_, ElementsAre("system.a=2.50"));
    EXPECT_EQ(cache_.find("system.a")->value->valuedouble, 2.5);
}

TEST_F(ParameterCacheTest, IsSilentAboutWhatReadsTheSame) {
    cache_.describe(parameter("system.a", "1.001", 2));
    cache_.announce("system.a", json("1.002").get());
    cache_.describe(parameter("system.a", "1.003", 2));
    EXPECT_THAT(changes_, IsEmpty());
    EXPECT_EQ(cache_.find("system.a")->value->valuedouble, 1.003);
}

TEST_F(ParameterCacheTest, TellsWhatChangedUnheard) {
    cache_.describe(parameter("system.a", "1"));
    cache_.describe(parameter("system.b", "1"));
    cache_.describe(parameter("system.a", "1"));
    cache_.describe(parameter("system.b", "2"));
    EXPECT_THAT(changes_, ElementsAre("system.b=2"));
}

TEST_F(ParameterCacheTest, TellsAValueThatNobodyDescribed) {
    cache_.announce("system.details", json(R"({"a":true})").get());
    EXPECT_THAT(changes_, ElementsAre(R"(system.details={"a":true})"));
}

TEST_F(ParameterCacheTest, ChangesTheFormOfAValueWithoutCallingItAChange) {
    cache_.announce("system.a", json("1").get());
    changes_.clear();
    cache_.describe(parameter("system.a", "1", 2));
    EXPECT_THAT(changes_, IsEmpty());
    cache_.announce("system.a", json("2").get());
    EXPECT_THAT(changes_, ElementsAre("system.a=2.00"));
}

TEST_F(ParameterCacheTest, KeepsTheOrderOfFirstHearing) {
    cache_.describe(parameter("system.b", "1"));
    cache_.announce("system.a", json("1").get());
    cache_.describe(parameter("system.b", "2"));
    std::vector<std::string> names;
    for (const Parameter* each : cache_.all()) {
        names.push_back(each->descriptor.name);
    }
    EXPECT_THAT(names, ElementsAre("system.b", "system.a"));
}

TEST_F(ParameterCacheTest, TellsWhatReadsTheSameWhenExactnessIsAskedFor) {
    cache_.describe(parameter("system.a", "1.001", 2));
    cache_.compareExactly();
    cache_.announce("system.a", json("1.002").get());
    cache_.announce("system.a", json("1.002").get());
    EXPECT_THAT(changes_, ElementsAre("system.a=1.00"));
}

// The answer was written before the change and overtaken by its announcement.
TEST_F(ParameterCacheTest, KeepsWhatWasAnnouncedDuringAReadingWhateverTheAnswerSays) {
    cache_.describe(parameter("system.a", "1"));
    cache_.beginReading();
    cache_.announce("system.a", json("2").get());
    cache_.describe(parameter("system.a", "1", 2));
    cache_.endReading();
    EXPECT_THAT(changes_, ElementsAre("system.a=2"));
    EXPECT_EQ(cache_.find("system.a")->value->valuedouble, 2);
    EXPECT_EQ(cache_.find("system.a")->descriptor.precision, 2) << "its other news are taken";
    EXPECT_TRUE(cache_.isDoubtful());
}

TEST_F(ParameterCacheTest, TellsOnceWhatIsBothAnnouncedAndDescribed) {
    cache_.describe(parameter("system.a", "1"));
    cache_.beginReading();
    cache_.announce("system.a", json("2").get());
    cache_.describe(parameter("system.a", "2"));
    cache_.describe(parameter("system.a", "2"));
    cache_.endReading();
    EXPECT_THAT(changes_, ElementsAre("system.a=2"));
    EXPECT_FALSE(cache_.isDoubtful());
}

TEST_F(ParameterCacheTest, BelievesDescriptionsOfTheNextReadingAgain) {
    cache_.describe(parameter("system.a", "1"));
    cache_.beginReading();
    cache_.announce("system.a", json("2").get());
    cache_.endReading();
    cache_.beginReading();
    cache_.describe(parameter("system.a", "3"));
    EXPECT_THAT(changes_, ElementsAre("system.a=2", "system.a=3"));
}

TEST_F(ParameterCacheTest, HoldsNewsOfTheUndescribedBackUntilTheyCanBeShown) {
    cache_.beginReading();
    cache_.announce("system.a", json("2").get());
    cache_.announce("system.b", json("7").get());
    cache_.announce("system.a", json("3").get());
    EXPECT_THAT(changes_, IsEmpty());
    cache_.describe(parameter("system.a", "3", 1));
    cache_.announce("system.a", json("4").get());
    EXPECT_THAT(changes_, ElementsAre("system.a=2.0", "system.a=3.0", "system.a=4.0"));
    cache_.endReading();
    EXPECT_THAT(changes_,
                ElementsAre("system.a=2.0", "system.a=3.0", "system.a=4.0", "system.b=7"));
}

TEST_F(ParameterCacheTest, HoldsThemBackThroughAReadingThatFailed) {
    cache_.beginReading();
    cache_.announce("system.a", json("2").get());
    cache_.beginReading();
    cache_.describe(parameter("system.a", "2", 1));
    EXPECT_THAT(changes_, ElementsAre("system.a=2.0"));
}

TEST_F(ParameterCacheTest, KnowsWhatAReadingLeftOut) {
    cache_.describe(parameter("system.a", "1"));
    cache_.beginReading();
    cache_.describe(parameter("system.b", "1"));
    cache_.endReading();
    EXPECT_THAT(cache_.missing({"system.a", "system.b", "system.c"}),
                ElementsAre("system.a", "system.c"));
}

TEST_F(ParameterCacheTest, KeepsNoMoreThanItsShareOfADeviceThatNeverStops) {
    for (size_t name = 0; name < ParameterCache::kMaxParameters + 5; ++name) {
        cache_.announce("system.n" + std::to_string(name), json("1").get());
    }
    EXPECT_EQ(cache_.all().size(), ParameterCache::kMaxParameters);
    cache_.announce("system.n0", json("2").get());
    EXPECT_EQ(changes_.back(), "system.n0=2");
}

TEST_F(ParameterCacheTest, HoldsBackTheLastOfTooManyNews) {
    cache_.beginReading();
    for (size_t value = 0; value < ParameterCache::kMaxHeldBack + 5; ++value) {
        cache_.announce("system.a", util::jsonNumber(static_cast<double>(value)).get());
    }
    cache_.endReading();
    EXPECT_EQ(changes_.size(), ParameterCache::kMaxHeldBack);
    EXPECT_EQ(changes_.front(), "system.a=5");
}

TEST(ParameterCache, NeedsNobodyToTell) {
    ParameterCache cache;
    cache.announce("system.a", nullptr);
    cache.announce("system.a", json("1").get());
    EXPECT_EQ(cache.all().size(), 1u);
}

}  // namespace
}  // namespace client
