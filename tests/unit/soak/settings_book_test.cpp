#include "soaking/settings_book.h"

#include <gtest/gtest.h>

namespace soak {
namespace {

constexpr SettingsBook::Settings kEdit{1U, 2U, 3U};

TEST(SettingsBook, ExpectsWhatWasEdited) {
    SettingsBook book;
    EXPECT_TRUE(book.agrees({7U, 8U, 9U})) << "nothing is known yet";
    book.edited(kEdit);
    EXPECT_TRUE(book.allKnown());
    EXPECT_TRUE(book.agrees(kEdit));
    EXPECT_FALSE(book.agrees({1U, 2U, 4U}));
    EXPECT_FALSE(book.agrees({1U, 2U, std::nullopt}));
}

TEST(SettingsBook, ExpectsWhatWasAcknowledgedSince) {
    SettingsBook book;
    book.edited(kEdit);
    book.acknowledged("netmask", 5, book.edition());
    EXPECT_TRUE(book.agrees({1U, 5U, 3U}));
    EXPECT_FALSE(book.agrees(kEdit));
}

TEST(SettingsBook, SetAndEditOfTheSameMomentLeaveItOpen) {
    SettingsBook book;
    const uint64_t before = book.edition();
    book.edited(kEdit);
    book.acknowledged("ipAddress", 9, before);
    EXPECT_FALSE(book.allKnown());
    EXPECT_TRUE(book.agrees({9U, 2U, 3U}));
    EXPECT_TRUE(book.agrees(kEdit));
    EXPECT_FALSE(book.agrees({9U, 2U, 4U}));
}

TEST(SettingsBook, LosesTrackOfOneOrAll) {
    SettingsBook book;
    book.edited(kEdit);
    book.lostTrackOf("gateway");
    book.lostTrackOf("frameName");
    EXPECT_TRUE(book.agrees({1U, 2U, 99U}));
    EXPECT_FALSE(book.agrees({0U, 2U, 99U}));
    book.editedMeanwhile();
    EXPECT_TRUE(book.agrees({7U, 8U, 9U}));
}

}  // namespace
}  // namespace soak
