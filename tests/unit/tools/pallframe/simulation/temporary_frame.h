#pragma once

#include <gtest/gtest.h>

#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/populate.h"
#include "support/temporary_directory.h"

// A tree in a directory of its own, taken away with the test.
class TemporaryFrame : public testing::Test {
  protected:
    void populateAs(const char* product) {
        pallframe::simulation::populate(tree, *pallframe::simulation::findProduct(product));
    }

  private:
    TemporaryDirectory directory_;

  protected:
    const pallframe::simulation::FrameRoot tree{directory_.path()};
};
