// Whatever stands in the state file, the device comes up complete, and what it then saves makes the
// same device again.

#include <string>

#include "fuzz_target.h"
#include "systemstate/catalogue.h"
#include "systemstate/system_state.h"
#include "whole_device.h"

namespace {

constexpr const char* kContainer = "/vantor/etc/state";
constexpr const char* kFile = "/vantor/etc/state.json";

void requireComplete(const SystemState& state) {
    for (const systemstate::CatalogueRow& row : systemstate::catalogue()) {
        require(state.findParam(row.key) != nullptr);
    }
}

// Starts on the file as it is, saves, and gives what is in the file then.
std::string saveAfterStart(systemstate::Machine& machine) {
    SystemState state(machine.path(kContainer), machine);
    state.load();
    state.buildIdentityGroup("");
    state.buildCatalogue();
    requireComplete(state);
    require(util::renderJSON(state.toJSON().get(), false).size() > 2);
    state.poll();
    state.saveToOwnPath(false);
    return machine.readFile(kFile).value_or("");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QuietLog quiet;
    static const FuzzRoot root;
    QuietMachine machine(root.path());
    pallframe::simulation::FrameRoot(root.path()).replace(kFile, textOf(data, size));
    saveAfterStart(machine);
    // A number that JSON cannot write (1e999) is another one from the first save on.
    const std::string saved = saveAfterStart(machine);
    require(!saved.empty());
    require(saveAfterStart(machine) == saved);
    return 0;
}
