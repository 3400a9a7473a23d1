#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>

class ToskConstraint;
class ToskOID;
class ToskParam;

namespace model {

// The key of a parameter in the JSON of its device.
std::string makeMemberKey(const ToskParam& param);

// The text of one parameter in the state file, kept from save to save: to make and to print its
// tree takes many times longer than to copy its text. Main thread.
class SavedText {
  public:
    // The number of objects and arrays around the parameter in the file, and so of tabs at the
    // beginning of its line.
    static constexpr std::size_t kDepth = 5;

    // The bytes that the JSON library prints for the member of the parameter at that depth, from
    // the line feed before it to its last bracket. Only what has changed since the last call is
    // made anew. Valid until the next call. Throws std::bad_alloc when there is no memory for it.
    const std::string& update(const ToskParam& param);

  private:
    // What the text is made of besides the value: identifier (never written again), name, type,
    // readonly, widget, precision, constraint (not written once it is shared), maxlength,
    // totallength.
    using Description = std::tuple<const ToskOID*, std::string, int32_t, bool, std::string, int32_t,
                                   std::shared_ptr<ToskConstraint>, int32_t, int32_t>;

    Description description_;
    std::string value_;  // as it is in the text, empty for none
    std::string text_;   // empty before the first call
};

}  // namespace model
