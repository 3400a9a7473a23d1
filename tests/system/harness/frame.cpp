#include "frame.h"

#include <sstream>

#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/populate.h"
#include "pallframe/simulation/stub_programs.h"
#include "process_table.h"

namespace harness {

Frame::Frame(std::string_view product) {
    pallframe::simulation::readProduct(tree_);
    const pallframe::simulation::Product* chosen = pallframe::simulation::findProduct(product);
    if (chosen == nullptr) {
        throw pallframe::simulation::FrameError("no product " + std::string(product));
    }
    waitUntilAlone();  // what an earlier life left running would write into this one
    pallframe::simulation::populate(tree_, *chosen);
    pallframe::simulation::setPause(tree_, "S40network", 0);
}

void Frame::write(std::string_view path, std::string_view text) const {
    tree_.replace(path, text);
}

void Frame::writeProgram(std::string_view path, std::string_view text) const {
    tree_.replace(path, text, 0755);
}

std::vector<std::string> Frame::commands() const {
    std::istringstream text(read(pallframe::simulation::paths::kCommands));
    std::vector<std::string> all;
    for (std::string line; std::getline(text, line);) {
        all.push_back(line);
    }
    return all;
}

std::vector<std::string> Frame::waitForCommands(size_t count, const Deadline& deadline) const {
    waitUntil([&] { return commands().size() >= count; }, std::to_string(count) + " commands",
              deadline);
    return commands();
}

}  // namespace harness
