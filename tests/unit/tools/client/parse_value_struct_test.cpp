#include <gtest/gtest.h>

#include "client/format_value.h"
#include "client/parse_value.h"
#include "tools/client/descriptors.h"

namespace client {
namespace {

std::string structure(const std::string& text) {
    const ParsedValue form = parseValue(serialPort(), text);
    return form.value ? util::renderJSON(form.value.get(), false) : form.problem;
}

TEST(ParseStruct, TakesTheMembersThatAreNamed) {
    EXPECT_EQ(structure("connectionPoint=Node 7"),
              R"({"_d_connectionPoint":{"type":"STRING","value":"Node 7"}})");
    EXPECT_EQ(structure("level=3, name="), R"({"_d_level":{"type":"FLOAT","value":3},)"
                                           R"("_d_name":{"type":"STRING","value":""}})");
}

TEST(ParseStruct, LeavesAGapInAValueWithoutAMemberBehindIt) {
    EXPECT_EQ(structure("connectionPoint=a, b=c, level=1"),
              R"({"_d_connectionPoint":{"type":"STRING","value":"a, b=c"},)"
              R"("_d_level":{"type":"FLOAT","value":1}})");
}

TEST(ParseStruct, SaysWhichMembersThereAre) {
    for (const char* text : {"", "x", "nosuch=1", "name", ", name=x"}) {
        EXPECT_EQ(structure(text), "needs member=value with members: name, level, connectionPoint")
            << text;
    }
}

TEST(ParseStruct, SaysWhatIsWrongWithAMember) {
    EXPECT_EQ(structure("name=x, level=y"), "level must be a number");
}

TEST(ParseStruct, TakesBackWhatIsShown) {
    const Parameter port = serialPort();
    const ParsedValue form = parseValue(port, formatValue(port.descriptor, port.value.get()));
    ASSERT_TRUE(form.value) << form.problem;
    EXPECT_EQ(util::renderJSON(form.value.get(), false),
              R"({"_d_name":{"type":"STRING","value":"COM1"},)"
              R"("_d_level":{"type":"FLOAT","value":2.3},)"
              R"("_d_connectionPoint":{"type":"STRING","value":""}})");
}

TEST(ParseStruct, NeedsAValueThatTellsTheMembers) {
    EXPECT_EQ(parseValue(holding(ofType("STRUCT"), "null"), "a=1").problem,
              "has members that are not known here");
}

}  // namespace
}  // namespace client
