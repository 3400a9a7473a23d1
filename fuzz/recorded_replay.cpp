// A recording becomes a plan, or nobody speaks in it; and a device that says again what it said
// then does nothing otherwise, whatever ids it gives.

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_target.h"
#include "recording/recording.h"
#include "replay/comparison.h"
#include "replay/plan.h"

namespace {

using recording::Entry;
using replay::Against;
using replay::Comparison;
using replay::Step;

std::vector<Entry> entriesOf(std::string& text) {
    std::vector<Entry> entries;
    try {
        recording::Reader reader(UniqueFile(fmemopen(text.data(), text.size(), "r")), "input");
        while (std::optional<Entry> entry = reader.next()) {
            entries.push_back(std::move(*entry));
        }
    } catch (const std::runtime_error&) {
        // What came before the problem is played.
    }
    return entries;
}

std::vector<Step> planOf(const std::vector<Entry>& entries, const Against& against) try {
    return replay::makePlan(entries, against);
} catch (const replay::NobodySpeaks&) {
    return {};
}

void playBack(const std::vector<Step>& steps) {
    Comparison comparison(steps, {"volts"});
    for (size_t index = 0; index < steps.size(); ++index) {
        if (steps[index].kind == Step::Kind::expect) {
            comparison.take(steps[index].at, steps[index].payload);
            require(!comparison.isAwaited(index));
        } else if (steps[index].kind == Step::Kind::send) {
            comparison.forToday(steps[index].payload);
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
    for (const Against& against : {Against("system"), Against(8)}) {
        const std::vector<Step> steps = planOf(entries, against);
        require(steps.empty() || steps.front().kind == Step::Kind::connect);
        playBack(steps);
    }
    return 0;
}
