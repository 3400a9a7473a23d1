#include "pallframe/simulation/product.h"

#include <gtest/gtest.h>

using namespace pallframe::simulation;

namespace {

TEST(Product, IsFoundInAnyCase) {
    ASSERT_NE(findProduct("tessara-5RU"), nullptr);
    EXPECT_EQ(findProduct("tessara-5RU")->name, "Tessara-5ru");
}

TEST(Product, ANameIsNotItsBeginning) {
    EXPECT_EQ(findProduct("Tess"), nullptr);
    EXPECT_EQ(findProduct("Tessara-5"), nullptr);
    EXPECT_EQ(findProduct(""), nullptr);
}

TEST(Product, AllFiveAreListed) {
    EXPECT_EQ(productNames(), "Quorane, Tessara, Tessara-5ru, QuoraneBrio, KELI");
}

TEST(Product, OnlyTessaraFramesAreTessaraFrames) {
    for (const char* name : {"Tessara", "Tessara-5ru"}) {
        EXPECT_TRUE(findProduct(name)->tessara) << name;
        EXPECT_GE(findProduct(name)->frameType, 0) << name;
    }
    for (const char* name : {"Quorane", "QuoraneBrio", "KELI"}) {
        EXPECT_FALSE(findProduct(name)->tessara) << name;
    }
}

}  // namespace
