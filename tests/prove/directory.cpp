#include "directory.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "pallframe/simulation/system_call.h"

namespace prove {

namespace fs = std::filesystem;

namespace {

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Entry entryOf(const fs::path& path) {
    struct stat status {};
    pallframe::simulation::check(::lstat(path.c_str(), &status), path);
    Entry entry{status.st_mode, {}};
    if (S_ISREG(status.st_mode)) {
        entry.text = bytesOf(path);
    } else if (S_ISLNK(status.st_mode)) {
        entry.text = fs::read_symlink(path);
    }
    return entry;
}

void put(const fs::path& path, const Entry& entry) {
    if (S_ISLNK(entry.mode)) {
        fs::create_symlink(entry.text, path);
    } else if (S_ISDIR(entry.mode)) {
        fs::create_directory(path);
    } else if (S_ISFIFO(entry.mode)) {
        pallframe::simulation::check(::mkfifo(path.c_str(), entry.mode & 07777), path);
    } else {
        std::ofstream(path, std::ios::binary) << entry.text;
        pallframe::simulation::check(::chmod(path.c_str(), entry.mode & 07777), path);
    }
}

}  // namespace

Entry plainFile(const std::string& bytes) {
    return {S_IFREG | 0644, bytes};
}

Directory takeDirectory(const std::string& path) {
    Directory directory;
    for (const auto& entry : fs::directory_iterator(path)) {
        directory[entry.path().filename()] = entryOf(entry.path());
    }
    return directory;
}

void putDirectory(const std::string& path, const Directory& directory) {
    for (const auto& entry : fs::directory_iterator(path)) {
        fs::remove_all(entry.path());
    }
    for (const auto& [name, entry] : directory) {
        put(fs::path(path) / name, entry);
    }
}

std::string describe(const Directory& directory) {
    std::string text;
    for (const auto& [name, entry] : directory) {
        text += (text.empty() ? "" : ", ") + name;
        text += S_ISREG(entry.mode) ? " (" + std::to_string(entry.text.size()) + " bytes)"
                                    : std::string(" (no file)");
    }
    return text;
}

}  // namespace prove
