#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>

// A directory of one's own, gone with all its contents at the end of the test.
class TemporaryDirectory {
  public:
    TemporaryDirectory() : TemporaryDirectory(std::filesystem::temp_directory_path()) {}
    explicit TemporaryDirectory(const std::filesystem::path& parent) {
        std::string pattern = parent / "pallwatch-test-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary directory " + pattern);
        }
        path_ = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string path() const { return path_; }
    std::string path(const std::string& name) const { return path_ + "/" + name; }

    // Writes a file of that name and gives its path.
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }

    // The bytes of the file of that name; empty when there is none.
    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    bool holds(const std::string& name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(path(name)));
    }

    // All files in it, by their names.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            const std::string name = entry.path().filename();
            all[name] = read(name);
        }
        return all;
    }

  private:
    std::string path_;
};
