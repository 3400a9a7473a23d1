#include "pallbus/faults/fault_parser.h"

#include <gmock/gmock.h>

#include "cli/timed_script.h"

namespace pallbus::faults {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> splitWords(const std::string& text) {
    return cli::script::parse(text, "line").at(0).words;
}

FaultRule rule(const std::string& text) {
    return parseFault(splitWords(text));
}

std::string findProblem(const std::string& text) {
    try {
        parseFault(splitWords(text));
    } catch (const FaultSyntaxError& problem) {
        return problem.what();
    }
    return "none";
}

TEST(FaultParser, ClearEndsAllFaults) {
    EXPECT_EQ(rule("clear").kind, FaultKind::clear);
}

TEST(FaultParser, AKindAloneAppliesToEverything) {
    const FaultRule drop = rule("drop");
    EXPECT_EQ(drop.kind, FaultKind::drop);
    EXPECT_EQ(drop.frequency, Frequency::always);
    EXPECT_EQ(drop.direction, Direction::both);
    EXPECT_EQ(drop.client, std::nullopt);
    EXPECT_EQ(drop.object, std::nullopt);
    EXPECT_EQ(drop.duration, std::nullopt);
}

TEST(FaultParser, EachNameIsAKind) {
    const std::pair<const char*, FaultKind> names[] = {
        {"drop", FaultKind::drop},           {"delay 1s", FaultKind::delay},
        {"corrupt", FaultKind::corrupt},     {"fragment", FaultKind::fragment},
        {"coalesce 2", FaultKind::coalesce}, {"truncate", FaultKind::truncate},
        {"close", FaultKind::close},         {"refuse", FaultKind::refuse},
        {"blackhole", FaultKind::blackhole}, {"stall", FaultKind::stall},
    };
    for (const auto& [text, kind] : names) {
        EXPECT_EQ(rule(text).kind, kind) << text;
    }
}

TEST(FaultParser, SayHowOften) {
    EXPECT_EQ(rule("drop 12.5%").frequency, Frequency::percent);
    EXPECT_EQ(rule("drop 12.5%").percent, 12.5);
    EXPECT_EQ(rule("drop every 3").frequency, Frequency::every);
    EXPECT_EQ(rule("drop every 3").number, 3u);
    EXPECT_EQ(rule("drop next 2").frequency, Frequency::next);
    EXPECT_EQ(rule("drop next 2").number, 2u);
}

TEST(FaultParser, SayToWhomAndWhichWay) {
    EXPECT_EQ(rule("drop daemon").client, 8);
    EXPECT_EQ(rule("drop daemon").direction, Direction::both);
    EXPECT_EQ(rule("drop from client 20").client, 20);
    EXPECT_EQ(rule("drop from client 20").direction, Direction::from);
    EXPECT_EQ(rule("drop to any").client, std::nullopt);
    EXPECT_EQ(rule("drop to any").direction, Direction::to);
    EXPECT_EQ(rule("drop client -2147483648").client, -2147483648);
}

TEST(FaultParser, SayWhichObjectAndHowLong) {
    const FaultRule drop = rule("drop for 1.5s object frameB.system");
    EXPECT_EQ(drop.object, "frameB.system");
    EXPECT_EQ(drop.duration, 1500ms);
}

TEST(FaultParser, ATimeBehindWhatLastsIsHowLong) {
    for (const char* kind : {"blackhole", "refuse", "stall"}) {
        EXPECT_EQ(rule(std::string(kind) + " 5s").duration, 5s);
        EXPECT_EQ(rule(std::string(kind) + " for 5s").duration, 5s);
        EXPECT_EQ(rule(kind).duration, std::nullopt);
    }
}

TEST(FaultParser, ADelayIsFixedOrARange) {
    EXPECT_EQ(rule("delay 20ms").delayMin, 20ms);
    EXPECT_EQ(rule("delay 20ms").delayMax, 20ms);
    EXPECT_EQ(rule("delay 5ms-1s").delayMin, 5ms);
    EXPECT_EQ(rule("delay 5ms-1s").delayMax, 1s);
}

TEST(FaultParser, NumbersSayHowManyBytesOrMessages) {
    EXPECT_EQ(rule("corrupt").count, 1u);
    EXPECT_EQ(rule("corrupt 3").count, 3u);
    EXPECT_EQ(rule("coalesce 5").count, 5u);
}

TEST(FaultParser, WhatIsDoneToWhatTheBusSendsIsOnlyDoneThere) {
    for (const char* kind : {"fragment", "coalesce 2", "truncate"}) {
        EXPECT_EQ(rule(kind).direction, Direction::to);
        EXPECT_EQ(rule(std::string(kind) + " daemon"), rule(std::string(kind) + " to daemon"));
        EXPECT_THAT(findProblem(std::string(kind) + " from daemon"),
                    HasSubstr("does not take 'from'"));
    }
}

TEST(FaultParser, TruncateAppliesOnceUnlessTheLineSaysOtherwise) {
    EXPECT_EQ(rule("truncate"), rule("truncate next 1"));
    EXPECT_EQ(rule("truncate every 9").frequency, Frequency::every);
}

TEST(FaultParser, AProblemIsSaidInOneLine) {
    const std::pair<const char*, const char*> bad[] = {
        {"dorp", "unknown fault 'dorp'; did you mean 'drop'?"},
        {"DELAY", "unknown fault 'DELAY'; did you mean 'delay'?"},
        {"shout",
         "unknown fault 'shout'; choose from drop, delay, corrupt, fragment, coalesce, truncate, "
         "close, refuse, blackhole, stall, clear; at TIME or after TIME may precede it"},
        {"clear now", "'clear' takes no words"},
        {"delay", "incomplete fault; expected: delay TIME[-TIME]"},
        {"coalesce", "incomplete fault; expected: coalesce MESSAGES"},
        {"coalesce 1", "coalesce: invalid number '1'; use an integer from 2 to 1000000"},
        {"delay soon", "delay: invalid duration 'soon'; use 500ms, 2s, 3m or 1h, up to 24 hours"},
        {"drop evry 3", "'drop' does not take 'evry'; did you mean 'every'?"},
        {"drop for x", "for: invalid duration 'x'; use 500ms, 2s, 3m or 1h, up to 24 hours"},
        {"delay 2s-1s", "invalid range '2s-1s'; the shorter time comes first"},
        {"delay 1s 2s", "'delay' does not take '2s'"},
        {"drop 101%", "invalid percentage '101%'; use 0% to 100%"},
        {"drop nan%", "invalid percentage 'nan%'; use 0% to 100%"},
        {"drop 5% next 1", "'next' conflicts with an earlier word"},
        {"drop every", "'every' needs a count"},
        {"drop every 0", "every: invalid number '0'; use an integer from 1 to 1000000"},
        {"drop next -1", "next: invalid number '-1'; use an integer from 1 to 1000000"},
        {"drop from", "'from' needs a client"},
        {"drop from me", "unknown client 'me'; use daemon, client ID or any"},
        {"drop client x", "invalid connection ID 'x'"},
        {"drop client 2147483648", "invalid connection ID '2147483648'"},
        {"drop daemon to client 5", "'client' conflicts with an earlier word"},
        {"drop sometimes", "'drop' does not take 'sometimes'"},
        {"refuse daemon", "'refuse' does not take 'daemon'"},
        {"refuse 5%", "'refuse' does not take '5%'"},
        {"refuse 1s for 2s", "'for' conflicts with an earlier word"},
        {"close for 5s", "'close' does not take 'for'"},
        {"blackhole 1s 2s", "'blackhole' does not take '2s'"},
        {"drop object 'a\tb'", "the object name contains a control character"},
    };
    for (const auto& [text, problem] : bad) {
        EXPECT_EQ(findProblem(text), problem) << text;
    }
    EXPECT_THROW(parseFault({}), FaultSyntaxError);
}

std::vector<std::string> behind(const std::string& text) {
    return nextKeywords(text.empty() ? std::vector<std::string>() : splitWords(text));
}

TEST(FaultParser, ThatMayComeNextAreKnown) {
    EXPECT_THAT(behind(""),
                ElementsAre("drop", "delay", "corrupt", "fragment", "coalesce", "truncate", "close",
                            "refuse", "blackhole", "stall", "clear"));
    EXPECT_THAT(behind("close"), ElementsAre("daemon", "client", "any"));
    EXPECT_THAT(behind("drop every 3"),
                ElementsAre("from", "to", "daemon", "client", "any", "object", "for"));
    EXPECT_THAT(behind("fragment to"), ElementsAre("daemon", "client", "any"));
    EXPECT_THAT(behind("refuse"), ElementsAre("for"));
}

TEST(FaultParser, ThatSomebodyMakesUpAreNotGuessed) {
    for (const char* text : {"drop every", "drop object", "drop client", "blackhole for",
                             "refuse 5s", "clear", "dorp", "drop from nobody"}) {
        EXPECT_THAT(behind(text), IsEmpty()) << text;
    }
}

TEST(FaultParser, ARuleKeepsItsWordsAsTheyCanBeReadAgain) {
    for (const char* text :
         {"drop", "drop 0.1% from daemon object \"system\" for 1500ms",
          "drop every 3 to any object \"\"", "delay 5ms-2s client 20 object \"a \\\"#\\\\'\"",
          "corrupt 3 next 2 to client -5", "fragment daemon", "coalesce 5 for 2s",
          "truncate next 1 daemon", "close client 9", "refuse for 3s", "blackhole daemon for 12s",
          "stall for 250ms"}) {
        EXPECT_EQ(rule(text).text.words, text);
    }
}

}  // namespace
}  // namespace pallbus::faults
