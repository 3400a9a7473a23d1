#include "pallctl/values/settings_file.h"

#include <gmock/gmock.h>

#include "tools/client/descriptors.h"

namespace pallctl {
namespace {

using namespace client;
using testing::HasSubstr;

TEST(SettingsFile, HasSettingsCommentsAndEmptyLines) {
    cli::script::Errors errors("file");
    const auto settings = parseSettings("# a comment\n\n a = b=c \r\n\t# x\nd=", errors);
    EXPECT_NO_THROW(errors.throwAll());
    ASSERT_EQ(settings.size(), 2u);
    EXPECT_EQ(settings[0].line, 3);
    EXPECT_EQ(settings[0].name, "a");
    EXPECT_EQ(settings[0].value, "b=c");
    EXPECT_EQ(settings[1].line, 5);
    EXPECT_EQ(settings[1].name, "d");
    EXPECT_EQ(settings[1].value, "");
}

TEST(SettingsFile, HasNoOtherLines) {
    cli::script::Errors errors("file");
    EXPECT_TRUE(parseSettings("a\n=b\n", errors).empty());
    try {
        errors.throwAll();
        FAIL();
    } catch (const cli::script::Error& error) {
        EXPECT_STREQ(error.what(),
                     "file:1: needs the form NAME=VALUE\nfile:2: needs the form NAME=VALUE");
    }
}

struct Row {
    Descriptor descriptor;
    const char* value;  // on the wire
    const char* line;
};

TEST(SettingsFile, HasEachValueInAFormThatReadsBack) {
    for (const Row& row :
         {Row{switchDescriptor(), "1", "x=Enabled"}, Row{address(), "167772165", "x=10.0.0.5"},
          Row{ofType("INT32"), "-7", "x=-7"}, Row{ofPrecision(1), "1.25", "x=1.25"},
          Row{ofType("STRING"), "\"Rack 4\"", "x=\"Rack 4\""},
          Row{ofType("STRING"), "\"\"", "x=\"\""},
          Row{ofType("STRING"), R"(" a\n\"b\"\\ #\u0007")", R"(x=" a\n\"b\"\\ #\u0007")"},
          Row{ofType("STRUCT"), R"({"_d_a":{"type":"STRING","value":"b"}})",
              R"(x={"_d_a":{"type":"STRING","value":"b"}})"}}) {
        const client::Parameter parameter = holding(row.descriptor, row.value);
        EXPECT_EQ(formatSetting("x", parameter), row.line);
        const auto parsed = parseSetting(parameter, std::string(row.line).substr(2));
        EXPECT_EQ(parsed.problem, "") << row.line;
        EXPECT_TRUE(cJSON_Compare(parsed.value.get(), parameter.value.get(), true)) << row.line;
    }
}

TEST(SettingsFile, TakesAValueAsPeopleTypeIt) {
    const client::Parameter name = holding(ofType("STRING"), "\"\"");
    EXPECT_EQ(util::renderJSON(parseSetting(name, "Rack {4}").value.get(), false), "\"Rack {4}\"");
    EXPECT_EQ(util::renderJSON(parseSetting(name, "{4}").value.get(), false), "\"{4}\"");
    const client::Parameter ssh = holding(switchDescriptor(), "1");
    EXPECT_EQ(util::renderJSON(parseSetting(ssh, "off").value.get(), false), "0");
    EXPECT_EQ(parseSetting(name, "\"half").problem, "must be a JSON value");
    EXPECT_THAT(parseSetting(ssh, "\"off\"").problem, HasSubstr("must be"));
}

}  // namespace
}  // namespace pallctl
