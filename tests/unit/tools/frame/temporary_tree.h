#pragma once

#include <gtest/gtest.h>

#include "frame/furnish.h"
#include "frame/tree.h"
#include "support/temporary_directory.h"

// A tree in a directory of its own, taken away with the test.
class TemporaryTree : public testing::Test {
  protected:
    void furnishAs(const char* product) { frame::furnish(tree, *frame::findProduct(product)); }

  private:
    TemporaryDirectory directory_;

  protected:
    const frame::Tree tree{directory_.path()};
};
