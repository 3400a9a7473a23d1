#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "frame/furnish.h"
#include "frame/tree.h"

// A tree in a directory of its own, taken away with the test.
class TemporaryTree : public testing::Test {
  protected:
    TemporaryTree() : directory_(makeDirectory()), tree(directory_) {}
    ~TemporaryTree() override { std::filesystem::remove_all(directory_); }

    void furnishAs(const char* product) { frame::furnish(tree, *frame::findProduct(product)); }

  private:
    static std::string makeDirectory() {
        std::string name = std::filesystem::temp_directory_path() / "tree-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        return name;
    }

    std::string directory_;

  protected:
    const frame::Tree tree;
};
