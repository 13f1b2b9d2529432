#pragma once

#include "test_support/scene.h"

namespace scene {

/// A small frame with everything a host may meet in it: odd sides, boxes anywhere, masks of any size and some
/// broken ones, several producers. The same seed gives the same scene everywhere.
Scene randomScene(unsigned seed);

/// The same in a frame of this size.
Scene randomScene(unsigned seed, int width, int height);

}  // namespace scene
