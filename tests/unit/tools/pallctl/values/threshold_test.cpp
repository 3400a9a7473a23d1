#include "pallctl/values/threshold.h"

#include <gtest/gtest.h>

namespace pallctl {
namespace {

struct Row {
    const char* text;
    double usual;  // no alert
    double alert;
};

TEST(Threshold, AlertsOutsideItsRangeAndWithAnAtInside) {
    for (const Row& row : {Row{"10", 0, -0.1}, Row{"10", 10, 10.1}, Row{"10:", 10, 9.9},
                           Row{"10:", 1e9, -1}, Row{"~:10", -1e9, 10.1}, Row{"10:20", 10, 9.9},
                           Row{"10:20", 20, 20.1}, Row{"@10:20", 9.9, 10}, Row{"@10:20", 20.1, 20},
                           Row{"-5:-2.5", -3, 0}, Row{"11.4:12.6", 12, 11.39}}) {
        const auto threshold = parseThreshold(row.text);
        ASSERT_TRUE(threshold) << row.text;
        EXPECT_FALSE(isAlert(*threshold, row.usual)) << row.text << " " << row.usual;
        EXPECT_TRUE(isAlert(*threshold, row.alert)) << row.text << " " << row.alert;
    }
}

TEST(Threshold, IsWrittenInItsOwnSyntax) {
    for (const char* text : {"0:10", "10:", "~:10", "10:20", "@10:20", "11.4:12.6", "-5:-2.5"}) {
        EXPECT_EQ(formatThreshold(*parseThreshold(text)), text);
    }
    EXPECT_EQ(formatThreshold(*parseThreshold("10")), "0:10");
    EXPECT_EQ(formatThreshold(Threshold()), "") << "never alerts";
}

TEST(Threshold, IsNothingElse) {
    for (const char* text : {"", ":", "@", "x", "10:x", "20:10", "10:~", ":10", "1:2:3", "@@1:2",
                             " 1:2", "nan", "nan:1", "10,5"}) {
        EXPECT_FALSE(parseThreshold(text)) << text;
    }
}

}  // namespace
}  // namespace pallctl
