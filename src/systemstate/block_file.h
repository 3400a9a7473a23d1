#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace systemstate {

// The block file: the form of the bonding driver's status (Linux Documentation/networking/bonding)
// and of the frame detection's result. Lines read "key: value"; an empty line ends a block.
// Pure functions over text, usable from any thread.

// The value texts of one block under their keys.
using Block = std::map<std::string, std::string, std::less<>>;

// A value that should have been an integer and is none.
struct UnreadInteger {
    std::string key;
    std::string text;

    bool operator==(const UnreadInteger&) const = default;
};

// The first 16 blocks in the order of the text, and the first 256 keys of each. A line without
// colon is skipped, a later key of a block overwrites an earlier one, an empty block is dropped.
// After the colon one double quote and then one blank are skipped, one double quote before the line
// feed is removed.
std::vector<Block> decodeBlockFile(std::string_view text);

// The text under `key`; empty when the block has no such key.
std::string blockText(const Block& block, std::string_view key);

// The integer under `key` (base 10, text after the number is accepted). A text that is not an
// integer, such as a missing key's empty text, is added to `unread` and counts as -1.
std::int32_t blockInteger(const Block& block, std::string_view key,
                          std::vector<UnreadInteger>& unread);

}  // namespace systemstate
