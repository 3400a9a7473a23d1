// A save renders the whole container first, so that a lack of memory touches no file. It then
// writes "<path>.new", sets aside files that the last load could not use, renames the current file
// to "<path>.old" and the new one to "<path>", and syncs the directory before it removes the old
// file. A step that fails is logged and ends the save. A load reads "<path>" and, when that file is
// missing or unusable, "<path>.old"; it remembers for the next save which of them it could not use.

#include "model/json_container.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <new>
#include <utility>

#include "util/files.h"
#include "util/formatted_text.h"
#include "util/item_count.h"
#include "util/log.h"

namespace {

constexpr int kCritical = LOG_USER | LOG_CRIT;
constexpr int kWarning = LOG_USER | LOG_WARNING;

// A larger file is neither read nor written.
constexpr size_t kMaxFileBytes = size_t{16} << 20;

constexpr int kOpenAttempts = 20;
constexpr std::chrono::milliseconds kOpenPause{100};

std::string oldName(const std::string& path) {
    return path + ".old";
}

[[noreturn]] void abortLoading(const std::string& path, const char* failed, int errorNumber) {
    errno = errorNumber;
    util::logMessage(LOG_CRIT, "%s error loading %s from disk: %m\n", failed, path.c_str());
    std::abort();
}

util::UniqueJSON parseFile(const util::FileContents& contents, const std::string& path) {
    if (contents.bytes.size() < contents.statedSize) {
        abortLoading(path, "Reading", 0);
    }
    if (util::hasMoreItems(contents.bytes, util::kMaxItems)) {
        return nullptr;
    }
    const unsigned long failures = util::failedJSONAllocations();
    util::UniqueJSON root = util::parseJSON(contents.bytes.data(), contents.bytes.size());
    if (util::failedJSONAllocations() != failures) {
        abortLoading(path, "Memory", ENOMEM);
    }
    return root;
}

}  // namespace

struct AbstractJSONTopLevelContainer::Names {
    std::string current;
    std::string fresh;
    std::string old;
    Unusable unusable;
};

struct AbstractJSONTopLevelContainer::Found {
    bool present = false;
    bool opened = false;
    util::UniqueJSON root;
};

AbstractJSONTopLevelContainer::AbstractJSONTopLevelContainer(const std::string& name)
    : path_(name + ".json") {}

AbstractJSONTopLevelContainer::AbstractJSONTopLevelContainer(const std::string& name,
                                                             const char* directory)
    : path_(std::string(directory) + "/" + name + ".json"), directory_(directory) {}

void AbstractJSONTopLevelContainer::save(const char* path, bool keepOld) try {
    saved_ = false;
    if (const util::UniqueJSON root = makeDocument(path)) {
        writeFile(path, root.get(), keepOld);
    }
} catch (const std::bad_alloc&) {
    logFailure("SAVE FAILED: could not alloc JSON object for \"%s\".\n", path);
}

void AbstractJSONTopLevelContainer::saveToOwnPath(bool keepOld) {
    if (!path_.empty()) {
        save(path_.c_str(), keepOld);
    }
}

bool AbstractJSONTopLevelContainer::retrySave() {
    retrying_ = true;
    saveToOwnPath(false);
    retrying_ = false;
    return saved_;
}

util::UniqueJSON AbstractJSONTopLevelContainer::makeDocument(const char* path) const {
    const unsigned long failures = util::failedJSONAllocations();
    util::UniqueJSON root = util::jsonObject();
    if (!root) {
        logFailure("SAVE FAILED: could not alloc root JSON object for \"%s\".\n", path);
        return nullptr;
    }
    util::UniqueJSON payload = makePayload();
    const bool complete = payload &&
                          util::addMember(root.get(), "version", util::jsonNumber(version_)) &&
                          util::addMember(root.get(), getName(), std::move(payload));
    // An incomplete document would replace a usable file by a useless one.
    if (!complete || util::failedJSONAllocations() != failures) {
        logFailure("SAVE FAILED: could not alloc JSON object for \"%s\".\n", path);
        return nullptr;
    }
    return root;
}

// Logs and returns an empty text when memory runs out.
std::string AbstractJSONTopLevelContainer::render(const cJSON* root,
                                                  const std::string& path) const {
    const unsigned long failures = util::failedJSONAllocations();
    std::string text;
    try {
        text = util::renderJSON(root, true);
    } catch (const std::bad_alloc&) {
        text.clear();
    }
    if (text.empty() || util::failedJSONAllocations() != failures) {
        logFailure("could not alloc memory to render \"%s\".\n", path.c_str());
        logFailure("SAVE FAILED: could not alloc JSON object for \"%s\".\n", path.c_str());
        return {};
    }
    return text;
}

int AbstractJSONTopLevelContainer::writeFile(const std::string& path, const cJSON* root,
                                             bool keepOld) {
    saved_ = false;
    const std::string text = render(root, path);
    if (text.empty()) {
        return -1;
    }
    if (directory_ != nullptr && !util::fileExists(directory_)) {
        mkdir(directory_, 0755);
    }
    const Names names = namesFor(path);
    const int found = statFile(path);
    // After a failed save the owner and mode to keep may be those of the old file.
    const std::string& like = found != -1 ? names.current : names.old;
    const util::WriteFailure failure = writeNew(names, text, like, path);
    const int begun = failure == util::WriteFailure::none ? 0 : -1;
    const int outcome = failure == util::WriteFailure::open ? found : begun;
    if (outcome != 0) {
        logWriteFailure(names);
        return outcome;
    }
    return failure == util::WriteFailure::open ? leaveOldOnly(names)
                                               : rotate(names, found != -1, keepOld);
}

AbstractJSONTopLevelContainer::Names AbstractJSONTopLevelContainer::namesFor(
    const std::string& path) const {
    const std::string current = util::resolveLinks(path);
    return {current, current + ".new", oldName(current), path == path_ ? unusable_ : Unusable{}};
}

int AbstractJSONTopLevelContainer::statFile(const std::string& path) const {
    struct stat status {};
    const int result = stat(path.c_str(), &status);
    if (result != 0 && result != -1) {
        logFailure("could not stat  \"%s\" (%d).\n", path.c_str(), errno);
    }
    return result;
}

util::WriteFailure AbstractJSONTopLevelContainer::writeNew(const Names& names,
                                                           const std::string& text,
                                                           const std::string& like,
                                                           const std::string& path) const {
    if (text.size() > kMaxFileBytes) {
        errno = EFBIG;
        return util::WriteFailure::write;
    }
    const util::WriteFailure failure = util::writeNewFile(names.fresh, text, like);
    if (failure == util::WriteFailure::open && !retrying_) {
        const int errorNumber = errno;
        util::logMessage(LOG_ERR, "Error - couldn't open file %s for writing\n", path.c_str());
        errno = errorNumber;
    }
    return failure;
}

// The new file could not be opened: the current one becomes ".old", and a file with the new name
// stays.
int AbstractJSONTopLevelContainer::leaveOldOnly(const Names& names) const {
    const bool loaded = !names.unusable.current && !names.unusable.old;
    if (const int result = loaded ? moveFile(names.current, names.old, "prev") : 0) {
        return result;
    }
    errno = ENOENT;
    logRenameFailure(names.fresh, names.current, "current");
    return -1;
}

int AbstractJSONTopLevelContainer::rotate(const Names& names, bool existed, bool keepOld) {
    if (!setUnusableAside(names)) {
        return -1;
    }
    if (const int result = moveIntoPlace(names, existed && !names.unusable.current)) {
        return result;
    }
    if (!util::syncParentDirectory(names.current)) {
        logWriteFailure(names);
        return -1;
    }
    saved_ = true;
    return keepOld ? 0 : removeOld(names);
}

int AbstractJSONTopLevelContainer::moveIntoPlace(const Names& names, bool existed) const {
    if (const int result = existed ? util::replaceByRenaming(names.current, names.old) : 0) {
        logRenameFailure(names.current, names.old, "prev");
        return result;
    }
    return moveFile(names.fresh, names.current, "current");
}

// The new names are on the disk before another file takes the old ones.
bool AbstractJSONTopLevelContainer::setUnusableAside(const Names& names) {
    const auto [current, old] = names.unusable;
    if (!current && !old) {
        return true;
    }
    const std::string oldKept = (current ? names.old : names.current) + ".bad";
    if ((old && !setAside(names.old, oldKept)) ||
        (current && !setAside(names.current, names.current + ".bad"))) {
        return false;
    }
    if (!util::syncParentDirectory(names.current)) {
        logWriteFailure(names);
        return false;
    }
    unusable_ = {};
    return true;
}

// A missing file is not an error.
bool AbstractJSONTopLevelContainer::setAside(const std::string& from, const std::string& to) const {
    if (util::moveAside(from, to) || errno == ENOENT) {
        return true;
    }
    logRenameFailure(from, to, "prev");
    return false;
}

// When the current file was set aside, there is no old file.
int AbstractJSONTopLevelContainer::removeOld(const Names& names) const {
    const int result = unlink(names.old.c_str());
    if (result != 0 && errno == ENOENT && names.unusable.current) {
        return 0;
    }
    if (result != 0) {
        logFailure("could not remove \"%s\" (%d).\n", names.old.c_str(), errno);
    }
    return result;
}

int AbstractJSONTopLevelContainer::moveFile(const std::string& from, const std::string& to,
                                            const char* role) const {
    const int result = std::rename(from.c_str(), to.c_str());
    if (result != 0) {
        logRenameFailure(from, to, role);
    }
    return result;
}

void AbstractJSONTopLevelContainer::logRenameFailure(const std::string& from, const std::string& to,
                                                     const char* role) const {
    logFailure("could not overwrite %s: rename \"%s -> %s\" failed (%d).\n", role, from.c_str(),
               to.c_str(), errno);
}

// The new file is the one that is reported, whichever step of its writing failed.
void AbstractJSONTopLevelContainer::logWriteFailure(const Names& names) const {
    logFailure("could not write \"%s\" (%d).\n", names.fresh.c_str(), errno);
}

// A save that is retried has reported its failure before.
void AbstractJSONTopLevelContainer::logFailure(const char* format, ...) const {
    if (retrying_) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    const util::FormattedText text(format, arguments);
    va_end(arguments);
    const std::string_view shown = text.text().value_or("");
    util::logMessage(kCritical, "%s container %.*s", getName(), static_cast<int>(shown.size()),
                     shown.data());
}

int AbstractJSONTopLevelContainer::load() {
    unusable_ = {};
    if (!loadFromDisk_) {
        util::logMessage(kWarning, "%s - Skipping load from disk. Empty set used.\n", getName());
        return applyDocument(nullptr, path_);
    }
    const Found current = find(path_);
    if (!current.opened) {
        util::logMessage(kCritical, "%s container could not open \"%s\". previous copy used.\n",
                         getName(), path_.c_str());
    } else if (applyDocument(current.root.get(), path_) == 0) {
        return 0;
    }
    unusable_.current = current.present;
    return loadOld(current.opened);
}

int AbstractJSONTopLevelContainer::loadOld(bool currentOpened) {
    const std::string path = oldName(util::resolveLinks(path_));
    const Found old = find(path);
    if (!old.opened) {
        unusable_.old = old.present;
        return currentOpened ? -1 : loadNothing();
    }
    const int result = applyDocument(old.root.get(), currentOpened ? path : path_);
    unusable_.old = result != 0;
    return result;
}

int AbstractJSONTopLevelContainer::loadNothing() {
    util::logMessage(kCritical, "%s container could not open \"%s\". Empty set used.\n", getName(),
                     path_.c_str());
    return applyDocument(nullptr, path_);
}

AbstractJSONTopLevelContainer::Found AbstractJSONTopLevelContainer::find(const std::string& path) {
    util::FileContents contents = util::readContents(path, kMaxFileBytes);
    for (int attempt = 0; contents.outcome == util::Reading::notOpened && attempt < kOpenAttempts;
         ++attempt) {
        waitFor(kOpenPause);
        contents = util::readContents(path, kMaxFileBytes);
    }
    switch (contents.outcome) {
        case util::Reading::missing:
            return {};
        case util::Reading::notOpened:
            return {true, false, nullptr};
        case util::Reading::failed:
            abortLoading(path_, "Reading", contents.errorNumber);
        case util::Reading::noMemory:
            abortLoading(path_, "Memory", ENOMEM);
        case util::Reading::complete:
            return {true, true, parseFile(contents, path_)};
        default:
            return {true, true, nullptr};
    }
}

// Returns 0 when the container holds the payload of that document.
int AbstractJSONTopLevelContainer::applyDocument(const cJSON* root, const std::string& path) {
    if (root == nullptr) {
        util::logMessage(LOG_ERR, "Not a valid JSON file: %s\n", path.c_str());
        return -1;
    }
    if (const cJSON* version = util::jsonMember(root, "version")) {
        version_ = version->valuedouble;
    }
    if (const cJSON* payload = util::jsonMember(root, getName())) {
        return applyPayload(payload);
    }
    util::logMessage(LOG_ERR, "Error decoding JSON object, path:%s, objectName:%s\n", path.c_str(),
                     getName());
    return -1;
}

// A part that did not fit into memory would be missing in the next file.
int AbstractJSONTopLevelContainer::applyPayload(const cJSON* payload) try {
    const unsigned long failures = util::failedJSONAllocations();
    const int result = fromJSON(payload);
    if (util::failedJSONAllocations() != failures) {
        abortLoading(path_, "Memory", ENOMEM);
    }
    return result;
} catch (const std::bad_alloc&) {
    abortLoading(path_, "Memory", ENOMEM);
}

void AbstractJSONTopLevelContainer::waitFor(std::chrono::milliseconds time) {
    util::sleepFor(time);
}
