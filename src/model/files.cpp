#include "model/files.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>

#include "model/log.h"

namespace {

constexpr int kKeyAttempts = 10;
constexpr std::chrono::milliseconds kKeyPause{500};

UniqueFile openedFile(const std::string& path, const char* mode) {
    UniqueFile file = openFile(path, mode);
    if (!file) {
        throw std::runtime_error("error while opening file: " + path);
    }
    return file;
}

// All that can be read. Whether that is everything, ferror tells.
std::string contentsOf(FILE* file) {
    std::string contents;
    std::array<char, 4096> chunk;
    size_t count = 0;
    while ((count = std::fread(chunk.data(), 1, chunk.size(), file)) > 0) {
        contents.append(chunk.data(), count);
    }
    return contents;
}

void requireReadable(FILE* file, const std::string& path) {
    if (std::ferror(file) != 0) {
        throw std::runtime_error("error while reading file: " + path);
    }
}

}  // namespace

UniqueFile openFile(const std::string& path, const char* mode) {
    return UniqueFile(std::fopen(path.c_str(), (std::string(mode) + "e").c_str()));
}

bool fileExists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

void makeDirectory(const std::string& path) {
    if (fileExists(path)) {
        return;
    }
    if (mkdir(path.c_str(), 0700) != 0) {
        throw std::system_error(errno, std::generic_category(), "mkdir" + path);
    }
}

std::string readFile(const std::string& path, bool keepNewlines) {
    const UniqueFile file = openedFile(path, "r");
    std::string text = contentsOf(file.get());
    requireReadable(file.get(), path);
    if (!keepNewlines) {
        std::erase(text, '\n');
    } else if (!text.empty() && text.back() != '\n') {
        text += '\n';
    }
    return text;
}

std::string readWholeFile(const std::string& path) {
    const UniqueFile file = openFile(path, "r");
    if (!file) {
        return {};
    }
    std::string text = contentsOf(file.get());
    return std::ferror(file.get()) == 0 ? text : std::string();
}

std::string readFirstLine(const std::string& path) {
    const std::string text = readWholeFile(path);
    return text.substr(0, text.find('\n'));
}

void saveTextFile(const std::string& path, const std::string& text) {
    using std::chrono::steady_clock;
    const steady_clock::time_point start = steady_clock::now();
    const UniqueFile file = openedFile(path, "w");
    const bool complete = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    if (!complete || std::fflush(file.get()) != 0) {
        throw std::runtime_error("error while writing file: " + path);
    }
    const std::chrono::duration<long long, std::milli> elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start);
    logMessage(LOG_INFO, "%s (%s - %zu bytes) took %lld ms\n", __func__, path.c_str(), text.size(),
               elapsed.count());
}

std::optional<std::string> findKeyValue(const std::string& text, const std::string& key) {
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const size_t equals = line.find('=');
        if (equals != std::string_view::npos && line.substr(0, equals) == key) {
            return std::string(line.substr(equals + 1));
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return std::nullopt;
}

void sleepFor(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
}

std::string readKeyValue(const std::string& path, const std::string& key, const Pause& pause) {
    for (int attempt = 0; attempt < kKeyAttempts; ++attempt) {
        const UniqueFile file = openedFile(path, "r");
        // What was read before an error counts: the key may already be there.
        if (std::optional<std::string> value = findKeyValue(contentsOf(file.get()), key)) {
            return *value;
        }
        requireReadable(file.get(), path);
        pause(kKeyPause);
    }
    return {};
}
