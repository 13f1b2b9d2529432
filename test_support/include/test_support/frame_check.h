#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "test_support/scene.h"

namespace plugin_test {

/// Whether two packed frames of the scene's size are the same. The failure names the first differing byte by
/// plane and place and prints the whole scene.
::testing::AssertionResult sameFrame(const scene::Scene& scene, const std::vector<uint8_t>& expected,
                                     const std::vector<uint8_t>& actual);

}  // namespace plugin_test
