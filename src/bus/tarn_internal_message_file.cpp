// Messages on disk: the payload as it is sent, in a file of its own.

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "bus/tarn_internal_message.h"
#include "util/files.h"
#include "util/log.h"

namespace {

// Logs why a file could not be read.
void logFailure(const util::FileContents& contents, const std::string& path) {
    if (contents.outcome == util::Reading::missing ||
        contents.outcome == util::Reading::notOpened) {
        util::logMessage(LOG_WARNING,
                         "TarnInternalMessage could not open \"%s\". Empty set used.\n",
                         path.c_str());
        return;
    }
    util::logMessage(LOG_CRIT, "%s error loading %s from disk: %s\n",
                     contents.outcome == util::Reading::noMemory ? "Memory" : "Reading",
                     path.c_str(), std::strerror(contents.errorNumber));
}

bool isWhole(const util::FileContents& contents) {
    return contents.outcome == util::Reading::complete &&
           contents.bytes.size() >= contents.statedSize;
}

// The bytes and a terminator; null when memory ran out.
MallocText terminated(const std::string& bytes) {
    MallocText text(static_cast<char*>(std::malloc(bytes.size() + 1)));
    if (text) {
        std::memcpy(text.get(), bytes.c_str(), bytes.size() + 1);
    }
    return text;
}

// The file's bytes and a terminator; null after a log line.
MallocText readText(const std::string& path) {
    util::FileContents contents = util::readContents(path);
    if (isWhole(contents)) {
        if (MallocText text = terminated(contents.bytes)) {
            return text;
        }
        contents.outcome = util::Reading::noMemory;
        contents.errorNumber = ENOMEM;
    }
    logFailure(contents, path);
    return nullptr;
}

}  // namespace

// Seconds and nanoseconds follow each other without filling; users know files by these names.
void TarnInternalMessage::save(const std::string& directory) {
    const std::string path = directory + "/" + std::to_string(header_.scheduled.seconds) +
                             std::to_string(header_.scheduled.nanoseconds);
    const util::UniqueFile file = util::openFile(path, "wb");
    if (!file) {
        util::logMessage(LOG_ERR, "Error - couldn't open file %s for writing\n", path.c_str());
        return;
    }
    const std::string payload = encode();
    std::fwrite(payload.data(), 1, payload.size(), file.get());
    if (std::fflush(file.get()) != 0) {
        util::logMessage(LOG_ERR, "Error - couldn't write file %s: %s\n", path.c_str(),
                         std::strerror(errno));
    }
    filePath_ = path;
}

bool TarnInternalMessage::load(const std::string& path) {
    MallocText text = readText(path);
    if (!text) {
        return false;
    }
    TarnInternalMessage loaded(std::move(text));
    if (loaded.type() == MessageType::none) {
        util::logMessage(LOG_INFO, "Error reading msg from disk.\n");
        return false;
    }
    *this = std::move(loaded);
    filePath_ = path;
    return true;
}

bool TarnInternalMessage::remove() {
    if (filePath_.empty()) {
        return false;
    }
    if (unlink(filePath_.c_str()) != 0) {
        util::logMessage(LOG_ERR, "Error - couldn't remove file %s\n", filePath_.c_str());
        return false;
    }
    return true;
}
