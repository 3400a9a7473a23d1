#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "fuzz_target.h"
#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/populate.h"
#include "pallframe/simulation/product.h"
#include "systemstate/machine.h"

// A frame's files in a directory of their own, in memory where there is such a place, gone at exit.
class FuzzRoot {
  public:
    FuzzRoot() {
        pallframe::simulation::populate(pallframe::simulation::FrameRoot(path_),
                                        *pallframe::simulation::findProduct("Quorane"));
    }
    ~FuzzRoot() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    FuzzRoot(const FuzzRoot&) = delete;
    FuzzRoot& operator=(const FuzzRoot&) = delete;

    const std::string& path() const { return path_; }

  private:
    static std::string make() {
        const std::filesystem::path memory = "/dev/shm";
        std::string pattern =
            (std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path()) /
            "pallwatch-fuzz-XXXXXX";
        require(mkdtemp(pattern.data()) != nullptr);
        return pattern;
    }

    const std::string path_ = make();
};

// Whose commands do nothing, at once.
class QuietMachine : public systemstate::Machine {
  public:
    using systemstate::Machine::Machine;

  private:
    int runCommand(const char* /*command*/) override { return 0; }
    std::optional<std::string> readCommand(const char* /*command*/) override { return "Quorane"; }
    void waitFor(std::chrono::milliseconds /*time*/) override {}
};
