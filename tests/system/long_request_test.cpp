// Requests of many members: saved once, worked off in turns, and saved later when the disk will
// not.

#include <signal.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <syslog.h>

#include <array>
#include <cstring>

#include "on_bus.h"
#include "pallframe/simulation/system_call.h"

using namespace harness;
using testing::HasSubstr;
using testing::Lt;

namespace {

// Counts how often a file is put in the place of the state file.
class Replacements {
  public:
    Replacements()
        : watch_(
              pallframe::simulation::check(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify")) {
        pallframe::simulation::check(::inotify_add_watch(watch_.get(), "/vantor/etc", IN_MOVED_TO),
                                     "/vantor/etc");
    }

    // Since it was made.
    int count() {
        alignas(inotify_event) std::array<char, 16384> bytes{};
        for (ssize_t got = 0; (got = ::read(watch_.get(), bytes.data(), bytes.size())) > 0;) {
            for (ssize_t at = 0; at < got;) {
                inotify_event event{};
                std::memcpy(&event, bytes.data() + at, sizeof event);
                const char* const name = bytes.data() + at + sizeof event;
                count_ += std::string("/vantor/etc/") + name == kStateFile ? 1 : 0;
                at += static_cast<ssize_t>(sizeof event + event.len);
            }
        }
        return count_;
    }

  private:
    pallframe::simulation::Descriptor watch_;
    int count_ = 0;
};

std::string membersOf(int count) {
    std::string members = R"("systemName":"0")";
    for (int i = 1; i < count; ++i) {
        members += R"(,"systemName":")" + std::to_string(i) + "\"";
    }
    return "{" + members + "}";
}

class LongRequest : public OnBus {
  protected:
    // The next answer to a SET, passing over everything else.
    void takeAnswers(int count) {
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(bus.waitFor("RSP", "system").at({"statusCode"}), "200");
        }
    }
};

TEST_F(LongRequest, OfAThousandSavedMembersIsSavedOnce) {
    start();
    Replacements replacements;
    set(membersOf(1000));
    takeAnswers(1000);
    EXPECT_EQ(replacements.count(), 1);
    EXPECT_THAT(frame.read(kStateFile), HasSubstr("\"999\""));
}

TEST_F(LongRequest, IsSavedBeforeItsFirstAnswerLeaves) {
    start();
    set(R"({"systemName":"Studio","frameName":"A"})");
    bus.waitFor("RSP", "system");
    EXPECT_THAT(frame.read(kStateFile), AllOf(HasSubstr("\"Studio\""), HasSubstr("\"A\"")));
}

TEST_F(LongRequest, IsSavedAsFarAsAnsweredBeforeACommandRuns) {
    frame.writeProgram("/vantor/bin/briskel",
                       "#!/bin/sh\ngrep -c Studio " + std::string(kStateFile) + " >/tmp/seen\n");
    start();
    set(R"({"systemName":"Studio","generateReport":1})");
    takeAnswers(2);
    EXPECT_EQ(frame.read("/tmp/seen"), "1\n");
}

TEST_F(LongRequest, LeavesAStopSignalItsTurn) {
    constexpr int kMembers = 40000;
    start();
    set(membersOf(kMembers));
    takeAnswers(1);
    daemon->signal(SIGTERM);
    int answers = 1;
    try {
        for (;; ++answers) {
            bus.waitFor("RSP", "system");
        }
    } catch (const std::runtime_error&) {
        // The daemon has left the bus.
    }
    EXPECT_EQ(daemon->waitForEnd(), 0);
    EXPECT_THAT(answers, Lt(kMembers));
}

TEST_F(LongRequest, KeepsWhatCameBehindItForAfterIt) {
    constexpr int kMembers = 5000;
    start();
    set(membersOf(kMembers));
    bus.get("system", R"({"id":"behind","param":{"objectName":["systemName"]}})");
    std::string id;
    int answers = 0;
    while ((id = bus.waitFor("RSP", "system").id()) != "behind") {
        ++answers;
    }
    EXPECT_EQ(answers, kMembers);
    EXPECT_EQ(valueOf("systemName"), "\"" + std::to_string(kMembers - 1) + "\"");
}

class FailedSave : public OnBus {
  protected:
    void takeAnswer() { EXPECT_EQ(bus.waitFor("RSP", "system").at({"statusCode"}), "200"); }

    // No file can be opened beyond this many descriptors.
    void limitDescriptors(rlim_t count) const {
        rlimit limit{};
        pallframe::simulation::check(::prlimit(daemon->pid(), RLIMIT_NOFILE, nullptr, &limit),
                                     "prlimit");
        limit.rlim_cur = count;
        pallframe::simulation::check(::prlimit(daemon->pid(), RLIMIT_NOFILE, &limit, nullptr),
                                     "prlimit");
    }

    size_t linesWith(const std::string& text) {
        size_t count = 0;
        for (const LogLine& line : log.linesUntilNow()) {
            count += line.text.find(text) == std::string::npos ? 0U : 1U;
        }
        return count;
    }
};

TEST_F(FailedSave, IsAnsweredAndTriedAgainUntilItWorks) {
    start();
    // Once before: a sanitizer opens a pipe to look at a class that it meets for the first time.
    set(R"({"systemName":"Control"})");
    takeAnswer();
    limitDescriptors(3);
    set(R"({"systemName":"Studio"})");
    takeAnswer();
    EXPECT_EQ(log.waitFor("cannot be saved"),
              (LogLine{LOG_ERR, LOG_LOCAL2, "Pallwatch",
                       std::string(kStateFile) + " cannot be saved, trying again every second\n"}));
    limitDescriptors(100);
    log.waitFor("is saved again");
    EXPECT_THAT(frame.read(kStateFile), HasSubstr("\"Studio\""));
    EXPECT_EQ(linesWith("couldn't open file"), 1U) << "retries are silent";
}

}  // namespace
