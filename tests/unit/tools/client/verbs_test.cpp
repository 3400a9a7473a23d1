#include "client/verbs.h"

#include <gtest/gtest.h>

namespace pallctl {
namespace {

Parameter parameter(const std::string& name, const std::string& type, UniqueJSON value,
                    bool readOnly = false) {
    Parameter made;
    made.descriptor.name = name;
    made.descriptor.type = type;
    made.descriptor.readOnly = readOnly;
    made.value = std::move(value);
    return made;
}

class ParameterTableTest : public testing::Test {
  protected:
    ParameterTableTest() {
        mirror_.describe(parameter("system.extra", "STRING", jsonString("a\nb")));
        mirror_.describe(parameter("system.version", "STRING", jsonString("1.0"), true));
        mirror_.describe(parameter("system.frameName", "STRING", jsonString("Quorane")));
        mirror_.announce("system.undescribed", jsonNumber(1).get());
    }

    Mirror mirror_;
};

TEST_F(ParameterTableTest, PutsTheCatalogueFirstAndLeavesOutWhatNobodyDescribed) {
    EXPECT_EQ(parameterTable(mirror_),
              "NAME              VALUE    TYPE    READ-ONLY\n"
              "system.frameName  Quorane  STRING  no\n"
              "system.version    1.0      STRING  yes\n"
              "system.extra      a\\nb     STRING  no\n");
}

TEST_F(ParameterTableTest, ShowsOnlyWhatIsAskedFor) {
    EXPECT_EQ(parameterTable(mirror_, {"system.version"}),
              "NAME            VALUE  TYPE    READ-ONLY\n"
              "system.version  1.0    STRING  yes\n");
}

}  // namespace
}  // namespace pallctl
