#include "pallbus/replay/json_diff.h"

namespace pallbus::replay {

namespace {

constexpr size_t kMaxShownBytes = 200;

class JSONDiff {
  public:
    JSONDiff(const IgnoredNames& ignored, std::vector<JSONDifference>& found)
        : ignored_(ignored), found_(found) {}

    void compare(const std::string& path, const cJSON* expected, const cJSON* got) {
        if (cJSON_IsObject(expected) && cJSON_IsObject(got)) {
            compareObjects(path, expected, got);
        } else if (cJSON_IsArray(expected) && cJSON_IsArray(got)) {
            compareArrays(path, expected, got);
        } else if (!cJSON_Compare(expected, got, /*case_sensitive=*/1)) {
            found_.push_back({path, formatJSON(expected), formatJSON(got)});
        }
    }

  private:
    static std::string below(const std::string& path, const std::string& name) {
        return path.empty() ? name : path + "." + name;
    }

    // Calls back for each member that is not ignored; of several with the same name only for the
    // first, which is the one that a lookup finds.
    template <typename Callback>
    void forEachMember(const cJSON* object, Callback callback) const {
        const cJSON* member = nullptr;
        cJSON_ArrayForEach(member, object) {
            const bool first = util::jsonMember(object, member->string) == member;
            if (first && !isIgnored(member->string, ignored_)) {
                callback(member);
            }
        }
    }

    void compareObjects(const std::string& path, const cJSON* expected, const cJSON* got) {
        forEachMember(expected, [&](const cJSON* member) {
            compare(below(path, member->string), member, util::jsonMember(got, member->string));
        });
        forEachMember(got, [&](const cJSON* member) {
            if (!util::jsonMember(expected, member->string)) {
                compare(below(path, member->string), nullptr, member);
            }
        });
    }

    void compareArrays(const std::string& path, const cJSON* expected, const cJSON* got) {
        const cJSON* left = cJSON_GetArrayItem(expected, 0);
        const cJSON* right = cJSON_GetArrayItem(got, 0);
        for (size_t i = 0; left || right; ++i) {
            compare(below(path, std::to_string(i)), left, right);
            left = left ? left->next : nullptr;
            right = right ? right->next : nullptr;
        }
    }

    const IgnoredNames& ignored_;
    std::vector<JSONDifference>& found_;
};

}  // namespace

std::vector<JSONDifference> differences(const cJSON* expected, const cJSON* got,
                                        const IgnoredNames& ignored) {
    std::vector<JSONDifference> found;
    if (expected || got) {
        JSONDiff(ignored, found).compare("", expected, got);
    }
    return found;
}

std::string formatJSON(const cJSON* item) {
    std::string text = item ? util::renderJSON(item, false) : "nothing";
    if (text.size() > kMaxShownBytes) {
        text.replace(kMaxShownBytes, std::string::npos, "...");
    }
    return text;
}

bool isIgnored(std::string_view key, const IgnoredNames& ignored) {
    const size_t dot = key.rfind('.');
    return ignored.contains(dot == std::string_view::npos ? key : key.substr(dot + 1));
}

}  // namespace pallbus::replay
