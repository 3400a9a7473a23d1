// A recording becomes a plan, or its participant is not found; and a device that repeats what it
// said then shows no difference, whatever ids it generates.

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_target.h"
#include "pallbus/replay/comparison.h"
#include "pallbus/replay/replay_plan.h"
#include "recording/recording.h"

namespace {

using pallbus::replay::Comparison;
using pallbus::replay::Participant;
using pallbus::replay::Step;
using recording::Entry;

std::vector<Entry> entriesOf(std::string& text) {
    std::vector<Entry> entries;
    try {
        recording::Reader reader(util::UniqueFile(fmemopen(text.data(), text.size(), "r")),
                                 "input");
        while (std::optional<Entry> entry = reader.next()) {
            entries.push_back(std::move(*entry));
        }
    } catch (const std::runtime_error&) {
        // What came before the problem is played.
    }
    return entries;
}

std::vector<Step> planOf(const std::vector<Entry>& entries, const Participant& participant) try {
    return pallbus::replay::planReplay(entries, participant);
} catch (const pallbus::replay::ParticipantNotFound&) {
    return {};
}

void playBack(const std::vector<Step>& steps) {
    Comparison comparison(steps, {"volts"});
    for (size_t index = 0; index < steps.size(); ++index) {
        if (steps[index].kind == Step::Kind::expect) {
            comparison.addMessage(steps[index].at, steps[index].payload);
            require(!comparison.isExpected(index));
        } else if (steps[index].kind == Step::Kind::send) {
            comparison.rewriteIDs(steps[index].payload);
        }
    }
    require(comparison.report().deviations.empty());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QuietLog quiet;
    std::string text = textOf(data, size);
    if (text.empty()) {
        return 0;
    }
    const std::vector<Entry> entries = entriesOf(text);
    for (const Participant& participant : {Participant("system"), Participant(8)}) {
        const std::vector<Step> steps = planOf(entries, participant);
        require(steps.empty() || steps.front().kind == Step::Kind::connect);
        playBack(steps);
    }
    return 0;
}
