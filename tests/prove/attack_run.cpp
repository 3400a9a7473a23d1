#include "attack_run.h"

#include <vector>

#include "attack_verdict.h"
#include "cli/standard_output.h"
#include "harness/process.h"
#include "side_by_side.h"
#include "support/temporary_directory.h"

namespace prove {

namespace {

// The first is for the machine's sake: a daemon that reads without end would take all it has.
constexpr rlim_t kMuchMemory = rlim_t{4} << 30;
constexpr rlim_t kShortMemory = rlim_t{128} << 20;

constexpr size_t kAtOnce = 3;
constexpr const char* kHead =
    "| attack | frame, MB | peak, MB | 5 s later, MB | blocked, s | lost | lives with 128 MB |\n"
    "|---|---|---|---|---|---|---|\n";

std::vector<Attack> allAttacks() {
    const auto first = messageAttacks();
    const auto second = cardAttacks();
    std::vector<Attack> all(first.begin(), first.end());
    all.insert(all.end(), second.begin(), second.end());
    return all;
}

// Two of each: the number of a job is twice that of its attack, and one more under the limit. On a
// disk, because saving takes its time there.
std::vector<FrameJob> jobsOf(const std::string& program, const std::string& only,
                             const TemporaryDirectory& place) {
    const std::vector<Attack> all = allAttacks();
    std::vector<FrameJob> jobs;
    for (size_t i = 0; i < all.size(); ++i) {
        for (const rlim_t limit : {kMuchMemory, kShortMemory}) {
            const std::string number = std::to_string(2 * i + (limit == kShortMemory ? 1 : 0));
            if (std::string(all[i].name).find(only) != std::string::npos) {
                jobs.push_back({all[i].product,
                                {harness::programDirectory() / "prove", kAttacker,
                                 std::to_string(i), program, std::to_string(limit)},
                                number,
                                place.path("frame" + number)});
            }
        }
    }
    return jobs;
}

// What the attackers printed, by the number of the job.
class Rows {
  public:
    explicit Rows(size_t jobs) : cells_(jobs) {}

    void take(size_t job, const std::string& printed) {
        const size_t lineEnd = std::min(printed.find('\n'), printed.size());
        cells_[job] = printed.substr(0, lineEnd);
        failures_ += printed.substr(std::min(lineEnd + 1, printed.size()));
        if (cells_[job].empty() || cells_[job].starts_with("prove: ")) {
            failures_ += "FAILED: an attack: " + cells_[job] + "\n";
        }
    }

    bool passed() const { return failures_.empty(); }

    std::string text() const {
        std::string table = kHead;
        for (size_t i = 0; i + 1 < cells_.size(); i += 2) {
            if (!cells_[i].empty()) {
                table += "| " + cells_[i] + " | " + cells_[i + 1] + " |\n";
            }
        }
        return table + failures_;
    }

  private:
    std::vector<std::string> cells_;
    std::string failures_;
};

}  // namespace

int runAttacks(const std::string& program, const std::string& only) {
    const TemporaryDirectory place;
    keepOffTheList(place.path());
    Rows rows(2 * allAttacks().size());
    runSideBySide(jobsOf(program, only, place), kAtOnce,
                  [&rows](const FrameJob& job, const std::string& printed) {
                      rows.take(std::stoul(job.name), printed);
                  });
    cli::printNow(rows.text());
    return rows.passed() ? 0 : 1;
}

int runAttacker(char** words) {
    const Attack attack = allAttacks().at(std::stoul(words[0]));
    const rlim_t limit = std::stoul(words[2]);
    const Damage damage = carryOut(attack, harness::programDirectory() / words[1], limit);
    if (limit == kMuchMemory) {
        cli::printNow(rowOf(attack, damage) + "\n" + breachesOf(attack, damage));
    } else if (damage.lives) {
        cli::printNow("yes\n");
    } else {
        const std::string lost = listOf(damage.lost);
        cli::printNow("no: " + lost + "\nFAILED: " + attack.name + ": under 128 MB lost " + lost +
                      "\n");
    }
    return 0;
}

}  // namespace prove
