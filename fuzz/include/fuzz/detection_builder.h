#pragma once

#include <string>

#include "core/SwJsonObject.h"
#include "fuzz/FuzzInput.h"
#include "test_support/model/pass.h"

namespace fuzz {

/// A mask's or a frame's sides, at least 1 each.
using Size = model::Size;

/// Sides of up to 32 mostly; seldom one that is long, up to 4096 beside 1, or both up to 256.
Size buildSize(FuzzInput& input);

/// A mask text that is a mask, of such a size: its data repeats a few bytes of the input.
std::string buildMaskText(FuzzInput& input);

/// A payload, built from the input's bytes: mostly detections, in which any member may be missing, of a wrong
/// kind, or a number that fits nowhere.
SwJsonObject buildDetections(FuzzInput& input);

}  // namespace fuzz
