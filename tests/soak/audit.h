#pragma once

#include <string>
#include <vector>

#include "pallframe/simulation/frame_root.h"
#include "soaking/ledger.h"
#include "soaking/settings_book.h"

namespace soak {

// Holds the frame's files against the books; gives a line for each difference. What the books do
// not know, and a network.conf that is put aside, is passed over.
std::vector<std::string> audit(const pallframe::simulation::FrameRoot& tree, const Ledger& ledger,
                               const SettingsBook& book);

}  // namespace soak
