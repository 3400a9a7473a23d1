#include "model/saved_text.h"

#include <new>
#include <string_view>
#include <utility>

#include "model/tosk_param.h"
#include "util/json.h"
#include "util/json_text.h"

namespace model {

namespace {

// What follows the value, the last member: a line with the bracket.
constexpr std::size_t kEndBytes = std::string_view("\n").size() + SavedText::kDepth + 1;

// A long text that was replaced by a short one gives its memory back.
constexpr std::size_t kMaxSpareBytes = 4096;

// Printed in the same way at any depth.
bool isOfOneLine(std::string_view value) {
    return !value.empty() && !value.starts_with('{') && !value.starts_with('[');
}

// With the indentation of that depth. The library prints line feeds only between lines.
void appendLines(std::string& out, std::string_view text) {
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;
         text.remove_prefix(end + 1)) {
        out.append(text.substr(0, end + 1)).append(SavedText::kDepth, '\t');
    }
    out.append(text);
}

std::string render(const ToskParam& param) {
    const unsigned long failures = util::failedJSONAllocations();
    const std::string json = util::renderJSON(param.toJSON().get(), true);
    // A text that lacks something would be kept.
    if (util::failedJSONAllocations() != failures) {
        throw std::bad_alloc();
    }
    std::string text("\n");
    text.append(SavedText::kDepth, '\t');
    util::appendJSONString(text, makeMemberKey(param));
    text += ":\t";
    appendLines(text, json);
    return text;
}

auto describe(const ToskParam& param) {
    return std::tuple<const ToskOID*, const std::string&, int32_t, bool, const std::string&,
                      int32_t, const std::shared_ptr<ToskConstraint>&, int32_t, int32_t>(
        &param.oid(), param.name(), param.type(), param.readonly(), param.widget(),
        param.precision(), param.constraint(), param.maxlength(), param.totallength());
}

}  // namespace

std::string makeMemberKey(const ToskParam& param) {
    return "d_" + param.oid().toString();
}

const std::string& SavedText::update(const ToskParam& param) {
    std::string value = param.value() ? param.valueToText().text : std::string();
    const auto description = describe(param);
    if (text_.empty() || description_ != description) {
        text_.clear();
        description_ = description;
        text_ = render(param);
    } else if (value != value_ && isOfOneLine(value) && isOfOneLine(value_)) {
        text_.replace(text_.size() - kEndBytes - value_.size(), value_.size(), value);
        if (text_.capacity() - text_.size() > kMaxSpareBytes) {
            text_.shrink_to_fit();
        }
    } else if (value != value_) {
        text_ = render(param);
    }
    value_ = std::move(value);
    return text_;
}

}  // namespace model
