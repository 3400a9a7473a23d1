#include "cli/escape.h"

#include <gtest/gtest.h>

namespace cli {
namespace {

TEST(EscapeForTerminal, LeavesTextAsItIs) {
    EXPECT_EQ(escapeForTerminal("Rack 4 \"left\""), "Rack 4 \"left\"");
    EXPECT_EQ(escapeForTerminal("Zürich, 東京, 🎛"), "Zürich, 東京, 🎛");
    EXPECT_EQ(escapeForTerminal(""), "");
}

TEST(EscapeForTerminal, WritesControlsAsEscapes) {
    EXPECT_EQ(escapeForTerminal("a\nb\tc\x1b[2Jd\x7f"), "a\\nb\\tc\\x1b[2Jd\\x7f");
    EXPECT_EQ(escapeForTerminal("\xc2\x9b"), "\\xc2\\x9b") << "a terminal takes it for ESC [";
    EXPECT_EQ(escapeForTerminal("\xc2\xa0"), "\xc2\xa0") << "the first that is no control";
}

TEST(EscapeForTerminal, WritesWhatTurnsTheDirectionOfATextAsEscapes) {
    EXPECT_EQ(escapeForTerminal("a\u202eb"), "a\\xe2\\x80\\xaeb");
    for (const char* turning : {"\u200e", "\u200f", "\u202a", "\u202e", "\u2066", "\u2069"}) {
        EXPECT_EQ(escapeForTerminal(turning).size(), 12u) << turning;
    }
    for (const char* beside : {"\u200d", "\u2010", "\u2029", "\u202f", "\u2065", "\u206a"}) {
        EXPECT_EQ(escapeForTerminal(beside), beside);
    }
}

TEST(EscapeForTerminal, WritesWhatIsNoTextAsEscapes) {
    EXPECT_EQ(escapeForTerminal("a\x9bz"), "a\\x9bz");
    EXPECT_EQ(escapeForTerminal("\xc3"), "\\xc3");
    EXPECT_EQ(escapeForTerminal("\xe6\x9d"
                                "a"),
              "\\xe6\\x9da");
}

TEST(ValidUTF8, ReplacesEachByteThatBeginsNoCharacter) {
    EXPECT_EQ(validUTF8("Zürich 🎛\n"), "Zürich 🎛\n");
    EXPECT_EQ(validUTF8("a\xff"
                        "b"),
              "a\xef\xbf\xbd"
              "b");
    EXPECT_EQ(validUTF8("\xf0\x9f\x8e"), "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd");
}

TEST(ValidUTF8, AcceptsNoFormThatReadersWouldRefuse) {
    for (const char* bytes : {"\xc0\x80", "\xc1\xbf", "\xe0\x9f\xbf", "\xed\xa0\x80",
                              "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xf5\x80\x80\x80"}) {
        EXPECT_EQ(validUTF8(bytes).find(bytes), std::string::npos);
    }
    for (const char* text : {"\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xee\x80\x80",
                             "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_EQ(validUTF8(text), text);
    }
}

TEST(ShellQuoted, IsOneWordWhateverItHolds) {
    EXPECT_EQ(shellQuoted(""), "''");
    EXPECT_EQ(shellQuoted("$(reboot) `id` \"x\" \\ \n;"), "'$(reboot) `id` \"x\" \\ \n;'");
    EXPECT_EQ(shellQuoted("it's"), "'it'\\''s'");
}

TEST(ShellName, IsAVariable) {
    EXPECT_EQ(shellName("system.ipAddress"), "system_ipAddress");
    EXPECT_EQ(shellName("frameB.system.a-b c;d"), "frameB_system_a_b_c_d");
    EXPECT_EQ(shellName("5ru.system.a"), "_5ru_system_a");
    EXPECT_EQ(shellName("ü"), "__");
    EXPECT_EQ(shellName(""), "_");
}

TEST(EscapeJSON, MeansTheSameWithoutWhatATerminalObeys) {
    EXPECT_EQ(escapeJSON("{\"a\":\"\x7f\xc2\x9b\xc3\xa4\"}"), R"({"a":"\u007f\u009bä"})");
    EXPECT_EQ(escapeJSON("{\"a\":1}"), "{\"a\":1}");
    EXPECT_EQ(escapeJSON("\xc2"), "\xc2");
}

}  // namespace
}  // namespace cli
