#pragma once

#include <cstddef>
#include <string_view>

namespace util {

// The most items of a JSON text that is parsed: the tree takes up to a hundred times the room of
// the text. Neither a message nor a file of a frame comes near.
inline constexpr std::size_t kMaxItems = 50'000;

// Whether the array or object that the JSON text begins with has more than `most` items, those of
// arrays and objects inside it counted: its brackets and commas outside of texts. Linear, takes no
// memory. Invalid JSON is counted as far as a parser would read it.
bool hasMoreItems(std::string_view json, std::size_t most);

}  // namespace util
