#include "trouble/words.h"

#include <gmock/gmock.h>

#include "program/timed_script.h"

namespace pallbus {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> wordsOf(const std::string& text) {
    return script::parse(text, "line").at(0).words;
}

Rule rule(const std::string& text) {
    return std::get<Rule>(parseOrder(wordsOf(text)));
}

std::string problemOf(const std::string& text) {
    try {
        parseOrder(wordsOf(text));
    } catch (const BadTrouble& problem) {
        return problem.what();
    }
    return "none";
}

TEST(TroubleWords, CalmIsTheEndOfAllTrouble) {
    EXPECT_EQ(parseOrder(wordsOf("calm")), Order(Calm{}));
}

TEST(TroubleWords, AKindAloneBefallsEverybodyAlways) {
    const Rule drop = rule("drop");
    EXPECT_EQ(drop.kind, Kind::drop);
    EXPECT_EQ(drop.often, Often::each);
    EXPECT_EQ(drop.direction, Direction::both);
    EXPECT_EQ(drop.client, std::nullopt);
    EXPECT_EQ(drop.object, std::nullopt);
    EXPECT_EQ(drop.time, std::nullopt);
}

TEST(TroubleWords, EachNameIsAKind) {
    const std::pair<const char*, Kind> names[] = {
        {"drop", Kind::drop},       {"delay 1s", Kind::delay},
        {"corrupt", Kind::corrupt}, {"split", Kind::split},
        {"join 2", Kind::join},     {"close mid-frame", Kind::cut},
        {"close", Kind::close},     {"refuse", Kind::refuse},
        {"silent", Kind::silent},   {"stop reading", Kind::stopReading},
    };
    for (const auto& [text, kind] : names) {
        EXPECT_EQ(rule(text).kind, kind) << text;
    }
}

TEST(TroubleWords, SayHowOften) {
    EXPECT_EQ(rule("drop 12.5%").often, Often::percent);
    EXPECT_EQ(rule("drop 12.5%").percent, 12.5);
    EXPECT_EQ(rule("drop every 3").often, Often::every);
    EXPECT_EQ(rule("drop every 3").number, 3u);
    EXPECT_EQ(rule("drop next 2").often, Often::next);
    EXPECT_EQ(rule("drop next 2").number, 2u);
}

TEST(TroubleWords, SayToWhomAndWhichWay) {
    EXPECT_EQ(rule("drop daemon").client, 8);
    EXPECT_EQ(rule("drop daemon").direction, Direction::both);
    EXPECT_EQ(rule("drop from client 20").client, 20);
    EXPECT_EQ(rule("drop from client 20").direction, Direction::from);
    EXPECT_EQ(rule("drop to anyone").client, std::nullopt);
    EXPECT_EQ(rule("drop to anyone").direction, Direction::to);
    EXPECT_EQ(rule("drop client -2147483648").client, -2147483648);
}

TEST(TroubleWords, SayWhichObjectAndHowLong) {
    const Rule drop = rule("drop for 1.5s object frameB.system");
    EXPECT_EQ(drop.object, "frameB.system");
    EXPECT_EQ(drop.time, 1500ms);
}

TEST(TroubleWords, ATimeBehindWhatLastsIsHowLong) {
    for (const char* kind : {"silent", "refuse", "stop reading"}) {
        EXPECT_EQ(rule(std::string(kind) + " 5s").time, 5s);
        EXPECT_EQ(rule(std::string(kind) + " for 5s").time, 5s);
        EXPECT_EQ(rule(kind).time, std::nullopt);
    }
}

TEST(TroubleWords, ADelayIsFixedOrARange) {
    EXPECT_EQ(rule("delay 20ms").delayLeast, 20ms);
    EXPECT_EQ(rule("delay 20ms").delayMost, 20ms);
    EXPECT_EQ(rule("delay 5ms-1s").delayLeast, 5ms);
    EXPECT_EQ(rule("delay 5ms-1s").delayMost, 1s);
}

TEST(TroubleWords, NumbersSayHowManyBytesOrMessages) {
    EXPECT_EQ(rule("corrupt").count, 1u);
    EXPECT_EQ(rule("corrupt 3").count, 3u);
    EXPECT_EQ(rule("join 5").count, 5u);
}

TEST(TroubleWords, WhatIsDoneToWhatTheBusSendsIsOnlyDoneThere) {
    for (const char* kind : {"split", "join 2", "close mid-frame"}) {
        EXPECT_EQ(rule(kind).direction, Direction::to);
        EXPECT_EQ(rule(std::string(kind) + " daemon"), rule(std::string(kind) + " to daemon"));
        EXPECT_THAT(problemOf(std::string(kind) + " from daemon"), HasSubstr("takes no 'from'"));
    }
}

TEST(TroubleWords, AConnectionIsCutOnceUnlessToldOtherwise) {
    EXPECT_EQ(rule("close mid-frame"), rule("close mid-frame next 1"));
    EXPECT_EQ(rule("close mid-frame every 9").often, Often::every);
}

TEST(TroubleWords, AProblemIsSaidInOneLine) {
    const std::pair<const char*, const char*> bad[] = {
        {"dorp",
         "'dorp' is no trouble: drop, delay, corrupt, split, join, close mid-frame, close, "
         "refuse, silent, stop reading, calm; before it at TIME or after TIME"},
        {"stop", "something is missing: stop reading [TIME]"},
        {"calm now", "nothing may stand behind 'calm'"},
        {"delay", "something is missing: delay TIME[-TIME]"},
        {"join", "something is missing: join MESSAGES"},
        {"join 1", "'1' is no number from 2 to 1000000"},
        {"delay soon", "'soon' is no time: write 500ms, 2s or 3m, up to 24 hours"},
        {"delay 2s-1s", "'2s-1s' ends before it begins"},
        {"delay 1s 2s", "'delay' takes no '2s'"},
        {"drop 101%", "'101%' is no share: 0% to 100%"},
        {"drop nan%", "'nan%' is no share: 0% to 100%"},
        {"drop 5% next 1", "'next' comes after another of its kind"},
        {"drop every", "nothing stands behind 'every'"},
        {"drop every 0", "'0' is no number from 1 to 1000000"},
        {"drop next -1", "'-1' is no number from 1 to 1000000"},
        {"drop from", "nothing stands behind 'from'"},
        {"drop from me", "'me' is nobody: daemon, client NUMBER, anyone"},
        {"drop client x", "'x' is no connection id"},
        {"drop client 2147483648", "'2147483648' is no connection id"},
        {"drop daemon to client 5", "'client' comes after another of its kind"},
        {"drop sometimes", "'drop' takes no 'sometimes'"},
        {"refuse daemon", "'refuse' takes no 'daemon'"},
        {"refuse 5%", "'refuse' takes no '5%'"},
        {"refuse 1s for 2s", "'for' comes after another of its kind"},
        {"close for 5s", "'close' takes no 'for'"},
        {"silent 1s 2s", "'silent' takes no '2s'"},
        {"drop object 'a\tb'", "the name of an object has no control characters"},
    };
    for (const auto& [text, problem] : bad) {
        EXPECT_EQ(problemOf(text), problem) << text;
    }
    EXPECT_THROW(parseOrder({}), BadTrouble);
}

std::vector<std::string> behind(const std::string& text) {
    return wordsBehind(text.empty() ? std::vector<std::string>() : wordsOf(text));
}

TEST(TroubleWords, ThatMayComeNextAreKnown) {
    EXPECT_THAT(behind(""), ElementsAre("drop", "delay", "corrupt", "split", "join", "close",
                                        "refuse", "silent", "stop", "calm"));
    EXPECT_THAT(behind("stop"), ElementsAre("reading"));
    EXPECT_THAT(behind("close"), ElementsAre("mid-frame", "daemon", "client", "anyone"));
    EXPECT_THAT(behind("drop every 3"),
                ElementsAre("from", "to", "daemon", "client", "anyone", "object", "for"));
    EXPECT_THAT(behind("split to"), ElementsAre("daemon", "client", "anyone"));
    EXPECT_THAT(behind("refuse"), ElementsAre("for"));
}

TEST(TroubleWords, ThatSomebodyMakesUpAreNotGuessed) {
    for (const char* text : {"drop every", "drop object", "drop client", "silent for", "refuse 5s",
                             "calm", "dorp", "drop from nobody"}) {
        EXPECT_THAT(behind(text), IsEmpty()) << text;
    }
}

TEST(TroubleWords, ARuleIsWrittenAsItCanBeReadAgain) {
    for (const char* text :
         {"drop", "drop 0.1% from daemon object \"system\" for 1500ms",
          "drop every 3 to anyone object \"\"", "delay 5ms-2s client 20 object \"a \\\"#\\\\'\"",
          "corrupt 3 next 2 to client -5", "split daemon", "join 5 for 2s",
          "close mid-frame next 1 daemon", "close client 9", "refuse for 3s",
          "silent daemon for 12s", "stop reading for 250ms"}) {
        EXPECT_EQ(textOf(rule(text)), text);
    }
}

}  // namespace
}  // namespace pallbus
