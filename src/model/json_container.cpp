#include "model/json_container.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <utility>

#include "model/files.h"
#include "model/log.h"

namespace {

constexpr int kCritical = LOG_USER | LOG_CRIT;
constexpr int kWarning = LOG_USER | LOG_WARNING;

std::string newNameOf(const std::string& path) {
    return path + ".new";
}

std::string oldNameOf(const std::string& path) {
    return path + ".old";
}

// False, with the errno of the first call that failed, unless every byte is on the disk.
bool writeSynced(UniqueFile file, const std::string& text) {
    const bool synced = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() &&
                        std::fflush(file.get()) == 0 && fsync(fileno(file.get())) == 0;
    const int errorNumber = errno;
    const bool closed = std::fclose(file.release()) == 0;
    if (!synced) {
        errno = errorNumber;
    }
    return synced && closed;
}

// Makes the names in the directory of `path` last through a power cut.
bool syncDirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const UniqueFile file = openFile(directory, "r");
    return file && fsync(fileno(file.get())) == 0;
}

// The bytes from here to the end, or -1 when there is no telling.
long sizeOf(FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) {
        return -1;
    }
    const long size = std::ftell(file);
    std::rewind(file);
    return size;
}

[[noreturn]] void abortAfterReadError(const std::string& path) {
    logMessage(LOG_CRIT, "Reading error loading %s from disk: %m\n", path.c_str());
    std::abort();
}

[[noreturn]] void abortAfterMemoryError(const std::string& path) {
    logMessage(LOG_CRIT, "Memory error loading %s from disk: %m\n", path.c_str());
    std::abort();
}

UniqueJSON parsedFile(FILE* file, const std::string& path) {
    const long size = sizeOf(file);
    if (size < 0) {
        abortAfterReadError(path);
    }
    const size_t length = static_cast<size_t>(size);
    // One more, for a parser that looks for the end of a text.
    const std::unique_ptr<char[]> bytes(new (std::nothrow) char[length + 1]());
    if (!bytes) {
        abortAfterMemoryError(path);
    }
    errno = 0;
    if (std::fread(bytes.get(), 1, length, file) < length) {
        abortAfterReadError(path);
    }
    return parseJSON(bytes.get(), length);
}

}  // namespace

AbstractJSONTopLevelContainer::AbstractJSONTopLevelContainer(const std::string& name)
    : path_(name + ".json") {}

AbstractJSONTopLevelContainer::AbstractJSONTopLevelContainer(const std::string& name,
                                                             const char* directory)
    : path_(std::string(directory) + "/" + name + ".json"), directory_(directory) {}

void AbstractJSONTopLevelContainer::save(const char* path, bool keepOld) {
    saved_ = false;
    if (const UniqueJSON root = document(path)) {
        writeFile(path, root.get(), keepOld);
    }
}

void AbstractJSONTopLevelContainer::saveToOwnPath(bool keepOld) {
    if (!path_.empty()) {
        save(path_.c_str(), keepOld);
    }
}

bool AbstractJSONTopLevelContainer::retrySave() {
    const LogSilence silence;
    saveToOwnPath(false);
    return saved_;
}

UniqueJSON AbstractJSONTopLevelContainer::document(const char* path) const {
    UniqueJSON root = jsonObject();
    if (!root) {
        logMessage(kCritical,
                   "%s container SAVE FAILED: could not alloc root JSON object for \"%s\".\n",
                   getName(), path);
        return nullptr;
    }
    const char* name = getName();
    UniqueJSON payload = toJSON();
    // A document without one of its members would replace a good file by a useless one.
    if (!payload || !addMember(root.get(), "version", jsonNumber(version_)) ||
        !addMember(root.get(), name, std::move(payload))) {
        logMessage(kCritical, "%s container SAVE FAILED: could not alloc JSON object for \"%s\".\n",
                   name, path);
        return nullptr;
    }
    return root;
}

int AbstractJSONTopLevelContainer::writeFile(const std::string& path, const cJSON* root,
                                             bool keepOld) {
    saved_ = false;
    if (directory_ != nullptr && !fileExists(directory_)) {
        mkdir(directory_, 0755);
    }
    const int found = existence(path);
    const int outcome = writeNew(path, root, found);
    if (outcome != 0) {
        logMessage(kCritical, "%s container could not write \"%s\" (%d).\n", getName(),
                   newNameOf(path).c_str(), errno);
        return outcome;
    }
    return rotate(path, found != -1, keepOld);
}

int AbstractJSONTopLevelContainer::existence(const std::string& path) const {
    struct stat status {};
    const int result = stat(path.c_str(), &status);
    if (result != 0 && result != -1) {
        logMessage(kCritical, "%s container could not stat  \"%s\" (%d).\n", getName(),
                   path.c_str(), errno);
    }
    return result;
}

// A file that could not even be begun leaves the outcome at what the existence test gave. With a
// file in place the rotation therefore goes on: the file is kept as ".old", and the missing ".new"
// is what the rotation then stumbles over.
int AbstractJSONTopLevelContainer::writeNew(const std::string& path, const cJSON* root,
                                            int existence) const {
    const std::string text = renderJSON(root, true);
    if (text.empty()) {
        logMessage(kCritical, "%s container could not alloc memory to render \"%s\".\n", getName(),
                   path.c_str());
        return existence;
    }
    UniqueFile file = openFile(newNameOf(path), "wb");
    if (!file) {
        logMessage(LOG_ERR, "Error - couldn't open file %s for writing\n", path.c_str());
        return existence;
    }
    return writeSynced(std::move(file), text) ? 0 : -1;
}

int AbstractJSONTopLevelContainer::rotate(const std::string& path, bool existed, bool keepOld) {
    const std::string oldPath = oldNameOf(path);
    int result = existed ? moveFile(path, oldPath, "prev") : 0;
    if (result == 0) {
        result = moveFile(newNameOf(path), path, "current");
    }
    if (result != 0) {
        return result;
    }
    if (!syncDirectoryOf(path)) {
        logMessage(kCritical, "%s container could not write \"%s\" (%d).\n", getName(),
                   path.c_str(), errno);
        return -1;
    }
    saved_ = true;
    result = keepOld ? 0 : unlink(oldPath.c_str());
    if (result != 0) {
        logMessage(kCritical, "%s container could not remove \"%s\" (%d).\n", getName(),
                   oldPath.c_str(), errno);
    }
    return result;
}

int AbstractJSONTopLevelContainer::moveFile(const std::string& from, const std::string& to,
                                            const char* role) const {
    const int result = std::rename(from.c_str(), to.c_str());
    if (result != 0) {
        logMessage(kCritical,
                   "%s container could not overwrite %s: rename \"%s -> %s\" failed (%d).\n",
                   getName(), role, from.c_str(), to.c_str(), errno);
    }
    return result;
}

UniqueJSON AbstractJSONTopLevelContainer::readJSONFile(const std::string& path) const {
    if (!loadFromDisk_) {
        logMessage(kWarning, "%s - Skipping load from disk. Empty set used.\n", getName());
        return nullptr;
    }
    if (const UniqueFile file = openFile(path, "rb")) {
        return parsedFile(file.get(), path);
    }
    const UniqueFile old = openFile(oldNameOf(path), "rb");
    logMessage(kCritical, "%s container could not open \"%s\". previous copy used.\n", getName(),
               path.c_str());
    if (!old) {
        logMessage(kCritical, "%s container could not open \"%s\". Empty set used.\n", getName(),
                   path.c_str());
        return nullptr;
    }
    return parsedFile(old.get(), path);
}

int AbstractJSONTopLevelContainer::load() {
    const UniqueJSON root = readJSONFile(path_);
    if (!root) {
        logMessage(LOG_ERR, "Not a valid JSON file: %s\n", path_.c_str());
        return -1;
    }
    if (const cJSON* version = jsonMember(root.get(), "version")) {
        version_ = version->valuedouble;
    }
    if (const cJSON* payload = jsonMember(root.get(), getName())) {
        return fromJSON(payload);
    }
    logMessage(LOG_ERR, "Error decoding JSON object, path:%s, objectName:%s\n", path_.c_str(),
               getName());
    return -1;
}
