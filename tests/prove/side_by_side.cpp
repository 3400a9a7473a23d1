#include "side_by_side.h"

#include <stdlib.h>

#include <list>

#include "harness/process.h"

namespace prove {

namespace {

using namespace std::chrono_literals;

// One job under way.
struct Running {
    const FrameJob* job;
    harness::Process process;

    explicit Running(const FrameJob& what) : job(&what), process(wordsOf(what)) {}

    static std::vector<std::string> wordsOf(const FrameJob& job) {
        std::vector<std::string> words{harness::programDirectory() / "pallframe",
                                       "run",
                                       "--no-syslog",
                                       "--product",
                                       job.product,
                                       "--"};
        words.insert(words.end(), job.words.begin(), job.words.end());
        return words;
    }

    bool hasEnded() {
        try {
            process.waitForEnd(harness::Deadline(20ms));
            return true;
        } catch (const harness::TimedOut&) {
            return false;
        }
    }

    std::string printed() {
        const std::string output = process.output().waitForEnd();
        return process.waitForEnd() == 0 ? output : output + process.error().waitForEnd();
    }
};

}  // namespace

void keepOffTheList(const std::string& directory) {
    ::setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
}

void runSideBySide(const std::vector<FrameJob>& jobs, size_t atOnce,
                   const std::function<void(const FrameJob&, const std::string&)>& take) {
    std::list<Running> running;
    size_t next = 0;
    while (next < jobs.size() || !running.empty()) {
        while (next < jobs.size() && running.size() < atOnce) {
            running.emplace_back(jobs[next++]);
        }
        for (auto one = running.begin(); one != running.end();) {
            if (one->hasEnded()) {
                take(*one->job, one->printed());
                one = running.erase(one);
            } else {
                ++one;
            }
        }
    }
}

}  // namespace prove
