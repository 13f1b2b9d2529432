#pragma once

#include <string>

namespace bench {

/// The "SEG1" text of a mask of random bits, the same ones at every call: the worst case for whoever counts
/// on runs. Sides in pixels.
std::string randomMaskText(int width, int height);

}  // namespace bench
