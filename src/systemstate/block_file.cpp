#include "systemstate/block_file.h"

#include <utility>

#include "util/numbers.h"
#include "util/text.h"

namespace systemstate {

namespace {

std::string_view valueAfterColon(std::string_view value) {
    if (value.starts_with('"')) {
        value.remove_prefix(1);
    }
    if (value.starts_with(' ')) {
        value.remove_prefix(1);
    }
    if (value.ends_with('"')) {
        value.remove_suffix(1);
    }
    return value;
}

// More than any reader looks at, of a file that anybody may have written.
constexpr std::size_t kMaxBlocks = 16;
constexpr std::size_t kMaxKeysPerBlock = 256;

void addLine(Block& block, std::string_view line) {
    const std::size_t colon = line.find(':');
    if (colon != std::string_view::npos && block.size() < kMaxKeysPerBlock) {
        block.insert_or_assign(std::string(line.substr(0, colon)),
                               std::string(valueAfterColon(line.substr(colon + 1))));
    }
}

}  // namespace

std::vector<Block> decodeBlockFile(std::string_view text) {
    std::vector<Block> blocks;
    Block block;
    const auto endBlock = [&] {
        if (!block.empty()) {
            blocks.push_back(std::exchange(block, {}));
        }
    };
    while (!text.empty() && blocks.size() < kMaxBlocks) {
        const std::string_view line = util::takeLine(text);
        if (line.empty()) {
            endBlock();
        } else {
            addLine(block, line);
        }
    }
    endBlock();
    return blocks;
}

std::string blockText(const Block& block, std::string_view key) {
    const auto found = block.find(key);
    return found == block.end() ? std::string() : found->second;
}

std::int32_t blockInteger(const Block& block, std::string_view key,
                          std::vector<UnreadInteger>& unread) {
    std::string text = blockText(block, key);
    std::int32_t number = 0;
    if (util::parseLong(text, number, 10)) {
        return number;
    }
    unread.push_back({std::string(key), std::move(text)});
    return -1;
}

}  // namespace systemstate
