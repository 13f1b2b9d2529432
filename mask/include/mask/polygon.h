#pragma once

#include <vector>

#include "mask/mask_bits.h"

namespace seg_mask {

/// In frame pixels: the frame's top-left corner is (0, 0), the centre of its first pixel (0.5, 0.5).
struct PolygonPoint {
  double x;
  double y;
};

/// Its last point is joined with its first.
using Polygon = std::vector<PolygonPoint>;

/// The largest absolute value of a coordinate.
inline constexpr double kFarthestPolygonPoint = 1 << 28;

/// The mask of `width` x `height` pixels, both at least 1, that is inside where any of the polygons is.
/// Coordinates are at most kFarthestPolygonPoint away from 0; what lies outside the frame is cut off. A
/// polygon that crosses itself is outside where it covers a pixel twice. Throws std::bad_alloc when memory
/// runs out.
///
/// The pixels are those that the COCO data set's tools choose:
///
/// - Points are rounded to fifths of a pixel, and each side runs over this finer grid as a line of grid
///   points, one for each step along its longer dimension.
/// - Where such a line goes from the third fifth of a pixel column to the fourth, it is an edge of that
///   column, at the upper of the two grid points. The pixels from its row on, rounded up to whole rows from
///   the third fifth, change between outside and inside.
MaskBits rasterizePolygons(const std::vector<Polygon>& polygons, int width, int height);

}  // namespace seg_mask
