#include "pallframe/doctor/interpreters.h"

#include <gmock/gmock.h>

using pallframe::doctor::findInterpreters;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(Interpreters, IsTheProgramOfTheFirstLine) {
    EXPECT_THAT(findInterpreters("#!/bin/sh\necho\n"), ElementsAre("/bin/sh"));
    EXPECT_THAT(findInterpreters("#! \t/bin/sh -e\n"), ElementsAre("/bin/sh"));
    EXPECT_THAT(findInterpreters("#!/bin/sh"), ElementsAre("/bin/sh"));
}

TEST(Interpreters, BehindEnvAreTwo) {
    EXPECT_THAT(findInterpreters("#!/usr/bin/env python3 \n"),
                ElementsAre("/usr/bin/env", "python3"));
    EXPECT_THAT(findInterpreters("#! /bin/env\n"), ElementsAre("/bin/env"));
}

TEST(Interpreters, AllBehindEnvIsOneName) {
    EXPECT_THAT(findInterpreters("#!/usr/bin/env python3 -u\n"),
                ElementsAre("/usr/bin/env", "python3 -u"))
        << "what the kernel hands on";
}

TEST(Interpreters, EnvSplitsItsWordWithTheOptionS) {
    EXPECT_THAT(findInterpreters("#!/usr/bin/env -S python3 -u\n"),
                ElementsAre("/usr/bin/env", "python3"));
    EXPECT_THAT(findInterpreters("#!/usr/bin/env -S -i LANG=C python3\n"),
                ElementsAre("/usr/bin/env", "python3"));
    EXPECT_THAT(findInterpreters("#!/usr/bin/env -S\n"), ElementsAre("/usr/bin/env"));
}

TEST(Interpreters, TheLineEndOfAnotherSystemIsPartOfTheName) {
    EXPECT_THAT(findInterpreters("#!/bin/sh\r\necho\r\n"), ElementsAre("/bin/sh\r"));
}

TEST(Interpreters, ATextThatIsNotAScriptHasNone) {
    for (const char* text : {"", "echo\n", "#\n",
                             "\x7f"
                             "ELF",
                             " #!/bin/sh\n", "#!\n/bin/sh\n", "#! "}) {
        EXPECT_THAT(findInterpreters(text), IsEmpty()) << text;
    }
}

}  // namespace
