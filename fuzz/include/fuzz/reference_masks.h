#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The rules of compact masks once more: pixel by pixel and grid point by grid point.
namespace reference {

/// A mask, row by row.
struct Pixels {
  int width;
  int height;
  std::vector<bool> inside;
};

/// The numbers of a compressed text. Nothing if it is none or one has more than 60 bits.
std::optional<std::vector<std::int64_t>> readCompressedRuns(const std::string& text);

/// Nothing if the runs are not for exactly so many pixels.
std::optional<Pixels> maskOfRuns(const std::vector<std::int64_t>& runs, int width, int height);

/// Of polygons with their points as x, y. For coordinates that are not large: each grid point is visited.
using PolygonPoints = std::vector<std::pair<double, double>>;
Pixels maskOfPolygons(const std::vector<PolygonPoints>& polygons, int width, int height);

/// The mask shown in a rectangle x, y, w, h of a frame.
struct Place {
  std::int64_t x, y, w, h;
};
Pixels placed(const Pixels& mask, const Place& at, int width, int height);

/// The mask as "SEG1".
std::string maskText(const Pixels& mask);

}  // namespace reference
