// Messages on disk: the payload as it is sent, in a file of its own.

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "bus/tarn_internal_message.h"
#include "model/files.h"
#include "model/log.h"

namespace {

void logReadingError(const std::string& path) {
    logMessage(LOG_CRIT, "Reading error loading %s from disk: %s\n", path.c_str(),
               std::strerror(errno));
}

// The rest of the file's bytes and a terminator; null after a log line.
MallocText readText(FILE* file, const std::string& path) {
    const long end = std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1;
    if (end < 0) {
        logReadingError(path);
        return nullptr;
    }
    const auto size = static_cast<size_t>(end);
    MallocText text(static_cast<char*>(std::malloc(size + 1)));
    if (!text) {
        logMessage(LOG_CRIT, "Memory error loading %s from disk: %s\n", path.c_str(),
                   std::strerror(errno));
        return nullptr;
    }
    std::rewind(file);
    errno = 0;  // a file that merely ends too soon leaves it alone
    if (std::fread(text.get(), 1, size, file) != size) {
        logReadingError(path);
        return nullptr;
    }
    text.get()[size] = '\0';
    return text;
}

}  // namespace

// Seconds and nanoseconds stand side by side without filling; users know files by these names.
void TarnInternalMessage::save(const std::string& directory) {
    const std::string path = directory + "/" + std::to_string(header_.scheduled.seconds) +
                             std::to_string(header_.scheduled.nanoseconds);
    const UniqueFile file = openFile(path, "wb");
    if (!file) {
        logMessage(LOG_ERR, "Error - couldn't open file %s for writing\n", path.c_str());
        return;
    }
    const std::string payload = encode();
    std::fwrite(payload.data(), 1, payload.size(), file.get());
    if (std::fflush(file.get()) != 0) {
        logMessage(LOG_ERR, "Error - couldn't write file %s: %s\n", path.c_str(),
                   std::strerror(errno));
    }
    filePath_ = path;
}

bool TarnInternalMessage::load(const std::string& path) {
    const UniqueFile file = openFile(path, "rb");
    if (!file) {
        logMessage(LOG_WARNING, "TarnInternalMessage could not open \"%s\". Empty set used.\n",
                   path.c_str());
        return false;
    }
    MallocText text = readText(file.get(), path);
    if (!text) {
        return false;
    }
    TarnInternalMessage loaded(std::move(text));
    if (loaded.type() == MessageType::none) {
        logMessage(LOG_INFO, "Error reading msg from disk.\n");
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
        logMessage(LOG_ERR, "Error - couldn't remove file %s\n", filePath_.c_str());
        return false;
    }
    return true;
}
