#include "pallframe/doctor/report.h"

#include <gmock/gmock.h>

#include "frame_to_inspect.h"
#include "util/json.h"

using namespace pallframe::doctor;

namespace {

const Diagnosis kSome{
    "KELI",
    {{"/etc/fine"},
     {"/etc/marker", State::ok, "present", {{"sshEnabled", "0"}}, "the service is off"},
     {"/etc/gone",
      State::missing,
      "No such file or directory",
      {{"version", "\"read error\""}, {"frameName", ""}},
      ""},
     {"/sbin/tool", State::notExecutable, "not an executable file", {}, "nothing is done"},
     {"/root/secret", State::notAccessible, "Permission denied"},
     {"/dev/log", State::notRunning, "needs a running frame"}}};

TEST(Report, HasTheProblemsFirstAndWhatFollowsBelowEach) {
    EXPECT_EQ(formatText(kSome),
              "product         KELI\n"
              "missing         /etc/gone (No such file or directory)\n"
              "    version \"read error\", frameName\n"
              "not executable  /sbin/tool (not an executable file)\n"
              "    nothing is done\n"
              "ok              /etc/fine\n"
              "ok              /etc/marker (present)\n"
              "    sshEnabled 0: the service is off\n"
              "skipped         /root/secret (Permission denied)\n"
              "skipped         /dev/log (needs a running frame)\n"
              "2 of 6 checks failed; 1 skipped (needs root); 1 skipped (needs a running frame).\n");
}

TEST(Report, WrapsLinesAtBlanksToFitATerminal) {
    const std::string text = formatText(kSome, 40);
    EXPECT_EQ(text.substr(0, text.find("not exec")),
              "product         KELI\n"
              "missing         /etc/gone (No such file\n"
              "                or directory)\n"
              "    version \"read error\", frameName\n");
    EXPECT_TRUE(
        text.ends_with("2 of 6 checks failed; 1 skipped (needs\n"
                       "root); 1 skipped (needs a running\n"
                       "frame).\n"))
        << text;
}

TEST(Report, SaysThatNothingIsWrong) {
    EXPECT_EQ(formatText({"KELI", {{"/etc/fine"}}}),
              "product         KELI\nok              /etc/fine\n1 checks passed.\n");
}

TEST(Report, IsAvailableAsJSON) {
    EXPECT_EQ(formatJSON({"KELI", {kSome.findings[2]}}),
              R"({"product":"KELI","well":false,"checks":[{"path":"/etc/gone","state":"missing",)"
              R"("reason":"No such file or directory",)"
              R"("published":{"version":"read error","frameName":null},"effect":""}]})"
              "\n");
}

TEST(Report, NoTextBreaksTheLinesOrTheJSON) {
    const Diagnosis nasty{"a\n\x1b[2J\xff\"", {}};
    EXPECT_EQ(formatText(nasty).find('\x1b'), std::string::npos);
    const std::string json = formatJSON(nasty);
    const util::UniqueJSON parsed = util::parseJSON(json.data(), json.size());
    ASSERT_NE(parsed, nullptr);
    EXPECT_STREQ(util::jsonText(util::jsonMember(parsed.get(), "product")),
                 "a\n\x1b[2J\xef\xbf\xbd\"");
}

}  // namespace
