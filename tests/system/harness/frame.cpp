#include "frame.h"

#include <sstream>

#include "frame/furnish.h"
#include "frame/paths.h"
#include "frame/programs.h"
#include "process_table.h"

namespace harness {

Frame::Frame(std::string_view product) {
    frame::productOf(tree_);
    const frame::Product* chosen = frame::findProduct(product);
    if (chosen == nullptr) {
        throw frame::BadRequest("no product " + std::string(product));
    }
    waitUntilAlone();  // what an earlier life left running would write into this one
    frame::furnish(tree_, *chosen);
    frame::setPause(tree_, "S40network", 0);
}

void Frame::write(std::string_view path, std::string_view text) const {
    tree_.replace(path, text);
}

void Frame::writeProgram(std::string_view path, std::string_view text) const {
    tree_.replace(path, text, 0755);
}

std::vector<std::string> Frame::commands() const {
    std::istringstream text(read(frame::paths::kCommands));
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
