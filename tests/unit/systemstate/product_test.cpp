#include "systemstate/product.h"

#include <gmock/gmock.h>

#include "frame_root.h"
#include "recording_machine.h"

namespace systemstate {

namespace {

using testing::ElementsAre;

struct KindCase {
    const char* name;
    bool tessaraFrame;
    bool brio;
    bool keli;
    bool quorane;
    bool namedTessara;
};

class ProductKind : public testing::TestWithParam<KindCase> {};

TEST_P(ProductKind, ByName) {
    const Product product(GetParam().name);
    EXPECT_EQ(product.isTessaraFrame(), GetParam().tessaraFrame);
    EXPECT_EQ(product.isBrio(), GetParam().brio);
    EXPECT_EQ(product.isKeli(), GetParam().keli);
    EXPECT_EQ(product.isQuorane(), GetParam().quorane);
    EXPECT_EQ(product.isNamedTessara(), GetParam().namedTessara);
}

INSTANTIATE_TEST_SUITE_P(Table, ProductKind,
                         testing::Values(KindCase{"Tessara", true, false, false, false, true},
                                         KindCase{"TESSARA", true, false, false, false, true},
                                         KindCase{"Tessara-5ru", true, false, false, false, true},
                                         KindCase{"tessara-5RU", true, false, false, false, true},
                                         KindCase{"Tessara-9ru", false, false, false, false, true},
                                         KindCase{"Tessar", false, false, false, false, false},
                                         KindCase{"QuoraneBrio", false, true, false, false, false},
                                         KindCase{"quoranebrio", false, true, false, false, false},
                                         KindCase{"QuoraneBrio ", false, false, false, false,
                                                  false},
                                         KindCase{"KELI", false, false, true, false, false},
                                         KindCase{"Keli", false, false, true, false, false},
                                         KindCase{"Quorane", false, false, false, true, false},
                                         KindCase{"quorane", false, false, false, false, false},
                                         KindCase{"", false, false, false, false, false}));

TEST(ReadProduct, AsksTheShell) {
    RecordingMachine machine("", "Tessara-5ru");
    EXPECT_EQ(readProduct(machine).name(), "Tessara-5ru");
    EXPECT_THAT(machine.take(), ElementsAre(". /tmp/eeprom && echo $PRODUCT"));
}

TEST(ReadProduct, EmptyAnswerIsAQuorane) {
    RecordingMachine machine("", "");
    testing::internal::CaptureStdout();
    EXPECT_EQ(readProduct(machine).name(), "Quorane");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR reading product string");
}

TEST(ReadProduct, NoAnswerIsAQuorane) {
    RecordingMachine machine("");
    machine.setFirstLine(". /tmp/eeprom && echo $PRODUCT", std::nullopt);
    testing::internal::CaptureStdout();
    EXPECT_EQ(readProduct(machine).name(), "Quorane");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR reading product string");
}

}  // namespace

}  // namespace systemstate
