// Everything that is wrong with a script is told at once, and nothing that only follows from it.

#include "cli/script_errors.h"

#include <gmock/gmock.h>

#include "cli/timed_script.h"

namespace cli {

using script::Errors;

namespace {

std::string textOf(const Errors& errors) {
    try {
        errors.throwAll();
    } catch (const script::Error& error) {
        return error.what();
    }
    return "none";
}

std::string problemsOf(const std::string& text) {
    Errors errors("a");
    script::parse(text, errors);
    return textOf(errors);
}

TEST(ScriptProblems, AreToldInTheOrderOfTheirLines) {
    Errors errors("a");
    EXPECT_EQ(textOf(errors), "none");
    errors.add(12, "late");
    errors.add(3, "early");
    errors.add(12, "late");
    EXPECT_EQ(textOf(errors), "a:3: early\na:12: late");
    EXPECT_FALSE(errors.hasAfter(12));
    EXPECT_TRUE(errors.hasAfter(11));
    EXPECT_THROW(errors.throwFirst(), script::Error);
}

TEST(ScriptProblems, AreNoMoreThanAPersonReads) {
    Errors errors("a");
    for (int line = 1; line <= 20; ++line) {
        errors.add(line, "x");
    }
    EXPECT_THAT(textOf(errors), testing::EndsWith("\na:20: x"));
    errors.add(21, "x");
    errors.add(22, "x");
    EXPECT_THAT(textOf(errors), testing::EndsWith("\na:20: x\na: and 2 more"));
}

TEST(ScriptProblems, AreGatheredFromAllLines) {
    EXPECT_EQ(problemsOf("at soon a\nsay 'so\nat 2s b\nat 1s c\nend\nat 3s"),
              "a:1: invalid duration 'soon'; use 500ms, 2s, 3m or 1h, up to 24 hours\n"
              "a:2: the quote ' has no end\n"
              "a:4: 'at 1s' is earlier than the line before\n"
              "a:5: 'end' without 'repeat'\n"
              "a:6: 'at' needs a time and a command");
}

TEST(ScriptProblems, ARepetitionWithAMistakeIsOneAllTheSame) {
    EXPECT_EQ(problemsOf("repeat many\na\nend\nb"), "a:1: repeat needs one number, 1 or more");
    EXPECT_EQ(problemsOf("at soon repeat 2\na\nend"),
              "a:1: invalid duration 'soon'; use 500ms, 2s, 3m or 1h, up to 24 hours");
    EXPECT_EQ(problemsOf("repeat 2\na\nend 5\nb"), "a:3: nothing may follow 'end'");
    EXPECT_EQ(problemsOf("repeat 2\nsay 'so\nend"), "a:2: the quote ' has no end");
    EXPECT_EQ(problemsOf("repeat 2\nrepeat 3\na\nb 'c"),
              "a:1: 'repeat' without 'end'\na:2: 'repeat' without 'end'\n"
              "a:4: the quote ' has no end");
}

TEST(ScriptProblems, WhatTakesTooLongIsToldOnce) {
    EXPECT_EQ(problemsOf("repeat 3\nafter 600m a\nend\nafter 1s b\nafter 2s c"),
              "a:3: the script takes more than 24 hours");
}

TEST(ScriptProblems, LeaveTheLinesThatCanBeRead) {
    Errors errors("a");
    const auto lines = script::parse("one\nsay 'so\nat soon two\nrepeat 2\nthree", errors);
    std::vector<int> numbers;
    for (const script::Line& line : lines) {
        numbers.push_back(line.number);
    }
    EXPECT_THAT(numbers, testing::ElementsAre(1, 3, 5, 5)) << "repeated";
}

}  // namespace

}  // namespace cli
