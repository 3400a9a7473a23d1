#include "cli/timed_script.h"

#include <fstream>

#include <gmock/gmock.h>

#include "support/temporary_directory.h"

namespace cli {

namespace {

using namespace std::chrono_literals;
using script::Line;
using script::parse;
using script::parseDuration;
using testing::ElementsAre;
using testing::IsEmpty;
using Words = std::vector<std::string>;

Line line(std::chrono::milliseconds at, Words words, int number) {
    return {at, std::move(words), number};
}

std::string problemOf(const std::string& text) {
    try {
        parse(text, "a.scenario");
    } catch (const script::Error& error) {
        return error.what();
    }
    return "none";
}

Words wordsOf(const std::string& text) {
    return parse(text, "a").at(0).words;
}

TEST(Script, AtCountsFromTheStartAndAfterFromTheLineBefore) {
    EXPECT_THAT(
        parse("at 2s cable eth0 down\nafter 500ms cable eth0 up\nat 3s battery 0\n", "a"),
        ElementsAre(line(2s, {"cable", "eth0", "down"}, 1),
                    line(2500ms, {"cable", "eth0", "up"}, 2), line(3s, {"battery", "0"}, 3)));
}

TEST(Script, ALineWithoutATimeIsDoneTogetherWithTheOneBefore) {
    EXPECT_THAT(parse("one\nafter 1s two\nthree", "a"),
                ElementsAre(line(0s, {"one"}, 1), line(1s, {"two"}, 2), line(1s, {"three"}, 3)));
}

TEST(Script, CommentsAndEmptyLinesCountAsLinesOnly) {
    EXPECT_THAT(parse("# nothing\n\n \t one # two\r\n#\n", "a"), ElementsAre(line(0s, {"one"}, 3)));
    EXPECT_THAT(parse("", "a"), IsEmpty());
    EXPECT_EQ(wordsOf("one#two"), Words{"one#two"});
}

TEST(Script, QuotesKeepAWordTogether) {
    EXPECT_EQ(wordsOf("file '/a b' # c"), (Words{"file", "/a b"}));
    EXPECT_EQ(wordsOf(R"(a"b c"'d # e'f)"), Words{"ab cd # ef"});
    EXPECT_EQ(wordsOf(R"(send '{"a":"\n"}')"), (Words{"send", R"({"a":"\n"})"}));
    EXPECT_EQ(wordsOf(R"("say \"so\" \\" C:\x)"), (Words{R"(say "so" \)", R"(C:\x)"}));
    EXPECT_EQ(wordsOf("''"), Words{""});
}

TEST(Script, ARepetitionIsWrittenOut) {
    EXPECT_THAT(parse("at 1s a\nrepeat 2\n after 1s b\n after 500ms c\nend\nafter 1s d", "x"),
                ElementsAre(line(1s, {"a"}, 1), line(2s, {"b"}, 3), line(2500ms, {"c"}, 4),
                            line(3500ms, {"b"}, 3), line(4s, {"c"}, 4), line(5s, {"d"}, 6)));
}

TEST(Script, InARepetitionAtCountsFromTheStartOfThePass) {
    EXPECT_THAT(parse("at 10s repeat 2\nat 1s a\nat 3s end\nat 20s b", "x"),
                ElementsAre(line(11s, {"a"}, 2), line(14s, {"a"}, 2), line(20s, {"b"}, 4)));
}

TEST(Script, RepetitionsStandInOneAnother) {
    EXPECT_THAT(
        parse("repeat 2\na\nrepeat 2\nafter 1s b\nend\nend\nc", "x"),
        ElementsAre(line(0s, {"a"}, 2), line(1s, {"b"}, 4), line(2s, {"b"}, 4), line(2s, {"a"}, 2),
                    line(3s, {"b"}, 4), line(4s, {"b"}, 4), line(4s, {"c"}, 7)));
}

TEST(Script, AWordIsOnlySpecialWhereItBelongs) {
    EXPECT_EQ(wordsOf("say repeat end at after"), (Words{"say", "repeat", "end", "at", "after"}));
}

TEST(ScriptError, NamesFileAndLine) {
    EXPECT_EQ(problemOf("one\n\nat soon two"),
              "a.scenario:3: invalid duration 'soon'; use 500ms, 2s, 3m or 1h, up to 24 hours");
    EXPECT_EQ(problemOf("at 2s"), "a.scenario:1: 'at' needs a time and a command");
    EXPECT_EQ(problemOf("after"), "a.scenario:1: 'after' needs a time and a command");
    EXPECT_EQ(problemOf("\nsay 'so"), "a.scenario:2: the quote ' has no end");
    EXPECT_EQ(problemOf("say \"so\\"), "a.scenario:1: the quote \" has no end");
    EXPECT_EQ(problemOf(std::string("a\0b", 3)),
              "a.scenario:1: not a text: it contains a zero byte");
    EXPECT_EQ(problemOf("at 2s a\nat 1s b"),
              "a.scenario:2: 'at 1s' is earlier than the line before");
}

TEST(ScriptError, OfARepetition) {
    EXPECT_EQ(problemOf("a\nrepeat 2\nb\n\n"), "a.scenario:2: 'repeat' without 'end'");
    EXPECT_EQ(problemOf("a\nend"), "a.scenario:2: 'end' without 'repeat'");
    EXPECT_EQ(problemOf("repeat 2\n# a\nend"), "a.scenario:3: nothing to repeat since line 1");
    EXPECT_EQ(problemOf("repeat 2\na\nend 5"), "a.scenario:3: nothing may follow 'end'");
    for (const char* bad : {"repeat", "repeat 0", "repeat -1", "repeat 2x", "repeat 1 2",
                            "repeat 99999999999999999999"}) {
        EXPECT_EQ(problemOf(bad), "a.scenario:1: repeat needs one number, 1 or more") << bad;
    }
}

std::string times(size_t count, const std::string& text) {
    std::string all;
    for (size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST(ScriptBound, OfTheText) {
    const std::string most(script::kMaxScriptBytes, '#');
    EXPECT_THAT(parse(most, "a"), IsEmpty());
    EXPECT_EQ(problemOf(most + "#"), "a.scenario:1: the script has more than 1 MiB");
}

TEST(ScriptBound, OfWhatRepetitionsMake) {
    const std::string word(1023, 'a');
    EXPECT_EQ(parse("repeat 1024\n" + word + "\nend", "a").size(), 1024U);
    EXPECT_EQ(problemOf("repeat 1025\n" + word + "\nend"),
              "a.scenario:3: written out, the repetitions make more than 1 MiB");
    EXPECT_EQ(problemOf("b\nrepeat 1024\n" + word + "\nend"),
              "a.scenario:4: written out, the repetitions make more than 1 MiB");
    EXPECT_EQ(problemOf(times(8, "repeat 18446744073709551615\n") + "a\n" + times(8, "end\n")),
              "a.scenario:10: written out, the repetitions make more than 1 MiB");
}

TEST(ScriptBound, OfManySmallWords) {
    EXPECT_EQ(problemOf("repeat 2\n" + times(300'000, "a ") + "\nend"),
              "a.scenario:3: written out, the repetitions make more than 1 MiB");
}

TEST(ScriptBound, OfTheDepth) {
    EXPECT_EQ(parse(times(8, "repeat 1\n") + "a\n" + times(8, "end\n"), "a").size(), 1U);
    EXPECT_EQ(problemOf(times(9, "repeat 1\n")),
              "a.scenario:9: more than 8 repetitions in one another");
}

TEST(ScriptBound, OfTheTime) {
    EXPECT_EQ(parse("at 1440m a", "a").at(0).at, 24h);
    EXPECT_EQ(problemOf("at 1440m a\nafter 1ms b"),
              "a.scenario:2: the script takes more than 24 hours");
    EXPECT_EQ(problemOf("repeat 3\nafter 600m a\nend"),
              "a.scenario:3: the script takes more than 24 hours");
}

TEST(Script, ReadsAQuotedWordAsItWas) {
    for (const std::string word :
         {"", "plain", "a b", "#none", "it's", "say \"so\"", "back\\slash"}) {
        EXPECT_EQ(script::parse(script::quoted(word) + " next", "").at(0).words,
                  (std::vector<std::string>{word, "next"}));
    }
}

std::string readError(const std::string& path) {
    try {
        script::readFile(path);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "none";
}

TEST(ScriptFile, IsReadToItsEnd) {
    const TemporaryDirectory directory;
    const std::string text = std::string(10'000, 'x') + "\nend";
    std::ofstream(directory.path("script")) << text;
    EXPECT_EQ(script::readFile(directory.path("script")), text);
    EXPECT_EQ(script::readFile("/dev/null"), "");
}

TEST(ScriptFile, ThatCannotBeReadIsAnError) {
    EXPECT_EQ(readError("/no/such/file"), "cannot read /no/such/file: No such file or directory");
    EXPECT_EQ(readError("/"), "cannot read /: Is a directory");
}

TEST(ScriptDuration, IsInSecondsWithoutAUnit) {
    EXPECT_EQ(parseDuration("90"), 90s);
    EXPECT_EQ(parseDuration("0.1"), 100ms);
    EXPECT_EQ(parseDuration("0"), 0ms);
    EXPECT_EQ(parseDuration("86400"), 24h);
    EXPECT_THAT(parse("at 2 one\nafter 0.5 two", "a"),
                ElementsAre(line(2s, {"one"}, 1), line(2500ms, {"two"}, 2)));
}

TEST(ScriptDuration, IsInMillisecondsSecondsMinutesOrHours) {
    EXPECT_EQ(parseDuration("500ms"), 500ms);
    EXPECT_EQ(parseDuration("2s"), 2s);
    EXPECT_EQ(parseDuration("1.5s"), 1500ms);
    EXPECT_EQ(parseDuration("3m"), 3min);
    EXPECT_EQ(parseDuration("1.5h"), 90min);
    EXPECT_EQ(parseDuration("24h"), 24h);
    EXPECT_EQ(parseDuration("0s"), 0ms);
}

TEST(ScriptDuration, IsNothingElse) {
    for (const char* bad :
         {"",     "s",     "-1",   "-1s",  "2d",  "2 s",        "2 ",
          "1x",   "many",  "nan",  "inf",  "1e3", "86401",      "25h",
          "1e3s", "nan s", "infs", "nans", "2ss", "86400001ms", "99999999999999999999m"}) {
        EXPECT_EQ(parseDuration(bad), std::nullopt) << bad;
    }
}

}  // namespace

}  // namespace cli
