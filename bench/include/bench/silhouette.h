#pragma once

#include <string>

namespace bench {

/// The "SEG1" text of a mask with an ellipse of wavy outline, the way a segmenter draws a person. Sides in
/// pixels. `phase`, in radians, turns the waves, so that no two masks of a payload need be alike.
std::string silhouetteText(int width, int height, double phase = 0.0);

}  // namespace bench
