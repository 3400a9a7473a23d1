#include "service/options.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace pallwatch {

namespace {

constexpr const char* kUsage =
    "Pallwatch.\n"
    "example usage: pallwatch [options]\n"
    "options:\n"
    "  -v --logging                 Extended network logging\n"
    "  -d --daemon                  Run in daemon mode\n"
    "  -p --prefix <prefix_string>  Also listen for this prefix - for tunnelling state requests\n"
    "  -b --brio                    Brio mode - do not perform Tessara hardware scans\n"
    "  -h --help                    Show this help\n";

class OptionsTest : public testing::Test {
  protected:
    ParsedOptions parse(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "pallwatch");
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        char* text = nullptr;
        size_t size = 0;
        std::FILE* errors = open_memstream(&text, &size);
        const auto detach = [this](int nochdir, int noclose) {
            detached_.emplace_back(nochdir, noclose);
            errno = EAGAIN;
            return detachResult_;
        };
        testing::internal::CaptureStderr();  // the parser's own lines
        ParsedOptions parsed =
            parseOptions(static_cast<int>(arguments.size()), argv.data(), errors, detach);
        testing::internal::GetCapturedStderr();
        std::fclose(errors);
        errors_.assign(text, size);
        std::free(text);
        return parsed;
    }

    std::vector<std::pair<int, int>> detached_;
    int detachResult_ = 0;
    std::string errors_;
};

TEST_F(OptionsTest, NoArgumentsGiveTheDefaults) {
    const ParsedOptions parsed = parse({});
    EXPECT_FALSE(parsed.exitStatus.has_value());
    EXPECT_EQ(parsed.options.prefix, "");
    EXPECT_FALSE(parsed.options.extendedLogging);
    EXPECT_FALSE(parsed.options.brio);
    EXPECT_EQ(errors_, "");
    EXPECT_TRUE(detached_.empty());
}

TEST_F(OptionsTest, HelpPrintsEightLinesAndExitsWithZero) {
    EXPECT_EQ(parse({"-h"}).exitStatus, 0);
    EXPECT_EQ(errors_, kUsage);
}

TEST_F(OptionsTest, HelpEndsParsingAfterEarlierOptionsAndBeforeLaterOnes) {
    const ParsedOptions parsed = parse({"-v", "--help", "-x", "-d"});
    EXPECT_EQ(parsed.exitStatus, 0);
    EXPECT_TRUE(parsed.options.extendedLogging);
    EXPECT_EQ(errors_, kUsage);
    EXPECT_TRUE(detached_.empty());
}

TEST_F(OptionsTest, UnknownOptionIsNamedByItsLetterAndEndsWithOne) {
    EXPECT_EQ(parse({"-x"}).exitStatus, 1);
    EXPECT_EQ(errors_, "pallwatch: option `-x' is invalid: ignored. Try --help.\n");
}

TEST_F(OptionsTest, UnknownLongOptionHasNoLetterAndEndsWithOne) {
    EXPECT_EQ(parse({"--nonsense"}).exitStatus, 1);
    EXPECT_EQ(errors_, "pallwatch: option `-?' is invalid: ignored. Try --help.\n");
}

TEST_F(OptionsTest, PrefixWithoutArgumentIsReportedAsInvalid) {
    EXPECT_EQ(parse({"-p"}).exitStatus, 1);
    EXPECT_EQ(errors_, "pallwatch: option `-p' is invalid: ignored. Try --help.\n");
}

TEST_F(OptionsTest, LongPrefixWithoutArgumentIsNamedByItsLetter) {
    EXPECT_EQ(parse({"--prefix"}).exitStatus, 1);
    EXPECT_EQ(errors_, "pallwatch: option `-p' is invalid: ignored. Try --help.\n");
}

TEST_F(OptionsTest, ArgumentGivenToAnOptionThatTakesNoneIsInvalid) {
    EXPECT_EQ(parse({"--brio=yes"}).exitStatus, 1);
    EXPECT_EQ(errors_, "pallwatch: option `-b' is invalid: ignored. Try --help.\n");
}

TEST_F(OptionsTest, LaterPrefixReplacesAnEarlierOne) {
    const ParsedOptions parsed = parse({"-p", "frameA", "--prefix", "frameB"});
    EXPECT_FALSE(parsed.exitStatus.has_value());
    EXPECT_EQ(parsed.options.prefix, "frameB");
}

TEST_F(OptionsTest, LoggingAndBrioAreRecordedInBothForms) {
    for (const std::vector<std::string>& form :
         std::vector<std::vector<std::string>>{{"-v", "-b"}, {"--logging", "--brio"}, {"-vb"}}) {
        const ParsedOptions parsed = parse(form);
        EXPECT_FALSE(parsed.exitStatus.has_value());
        EXPECT_TRUE(parsed.options.extendedLogging);
        EXPECT_TRUE(parsed.options.brio);
    }
}

TEST_F(OptionsTest, DaemonDetachesAtOnceKeepingTheDirectoryAndClosingTheStreams) {
    const ParsedOptions parsed = parse({"-d", "-x"});
    ASSERT_EQ(detached_.size(), 1U);
    EXPECT_EQ(detached_[0], std::make_pair(1, 0));
    EXPECT_EQ(parsed.exitStatus, 1);  // -x was still parsed, after detaching
}

TEST_F(OptionsTest, WhetherItDetachedIsRecorded) {
    EXPECT_FALSE(parse({}).options.detached);
    EXPECT_TRUE(parse({"-d"}).options.detached);
    detachResult_ = -1;
    EXPECT_FALSE(parse({"-d"}).options.detached);
}

TEST_F(OptionsTest, FailedDetachReportsTheSystemsReasonAndEndsWithOne) {
    detachResult_ = -1;
    EXPECT_EQ(parse({"--daemon", "-x"}).exitStatus, 1);
    EXPECT_EQ(errors_,
              std::string("Error creating daemon. Exiting.\n: ") + std::strerror(EAGAIN) + "\n");
}

}  // namespace

}  // namespace pallwatch
