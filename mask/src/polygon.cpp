#include "mask/polygon.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "mask/mask_rows.h"
#include "src/ColumnEdges.h"
#include "src/or_bits.h"

namespace seg_mask {
namespace {

constexpr int64_t kFine = 5;    // grid points to a pixel
constexpr int64_t kCentre = 2;  // of a pixel's grid points, the one before its edge

/// A point of the finer grid.
struct FinePoint {
  int64_t x;
  int64_t y;
};

/// Toward zero, as the rule has it below 0 too.
int64_t rounded(double value) {
  return static_cast<int64_t>(value + 0.5);  // NOLINT(bugprone-incorrect-roundings)
}

FinePoint fineOf(const PolygonPoint& point) {
  return {rounded(kFine * point.x), rounded(kFine * point.y)};
}

int64_t floorDivided(int64_t value, int64_t by) {
  return value >= 0 ? value / by : -((-value + by - 1) / by);
}

/// The first pixel whose centre is not before the grid point.
int64_t pixelFrom(int64_t fine) {
  return floorDivided(fine - kCentre + kFine - 1, kFine);
}

/// The last pixel column whose edge is not behind the grid point.
int64_t lastColumnBefore(int64_t fine) {
  return floorDivided(fine - kCentre - 1, kFine);
}

/// Pixels from `first` up to but not `end`.
struct Range {
  int64_t first;
  int64_t end;

  bool empty() const { return first >= end; }
  int size() const { return static_cast<int>(end - first); }
};

/// The part of the frame that a polygon can have pixels in.
struct Bounds {
  Range columns;
  Range rows;
};

Bounds boundsOf(const std::vector<FinePoint>& points, int width, int height) {
  FinePoint low = points.front();
  FinePoint high = points.front();
  for (const FinePoint& point : points) {
    low = {std::min(low.x, point.x), std::min(low.y, point.y)};
    high = {std::max(high.x, point.x), std::max(high.y, point.y)};
  }
  const auto rowOf = [height](int64_t y) { return std::clamp<int64_t>(pixelFrom(y), 0, height); };
  return {{std::max<int64_t>(0, pixelFrom(low.x)), std::min<int64_t>(width, lastColumnBefore(high.x) + 1)},
          {rowOf(low.y), rowOf(high.y)}};
}

/// Calls visit(column, y) with each column of `columns` whose edge the side from `a` to `b` makes, and the
/// edge's grid point. The side's points are not visited one by one, because it may be long.
template <class Visit>
void forEachEdge(FinePoint a, FinePoint b, const Range& columns, const Visit& visit) {
  const int64_t dx = std::abs(b.x - a.x);
  const int64_t dy = std::abs(b.y - a.y);
  const bool isFlat = dx >= dy;
  if (isFlat ? a.x > b.x : a.y > b.y) std::swap(a, b);
  const int64_t first = std::max(columns.first, pixelFrom(std::min(a.x, b.x)));
  const int64_t end = std::min(columns.end, lastColumnBefore(std::max(a.x, b.x)) + 1);
  if (first >= end) return;

  if (isFlat) {
    const double slope = static_cast<double>(b.y - a.y) / static_cast<double>(dx);
    const auto yAt = [&](int64_t x) {
      return rounded(static_cast<double>(a.y) + slope * static_cast<double>(x - a.x));
    };
    for (int64_t column = first; column < end; ++column) {
      const int64_t x = column * kFine + kCentre;
      visit(column, std::min(yAt(x), yAt(x + 1)));
    }
    return;
  }
  const double slope = static_cast<double>(b.x - a.x) / static_cast<double>(dy);
  const bool isRising = b.x > a.x;
  for (int64_t column = first; column < end; ++column) {
    const int64_t x = column * kFine + kCentre;
    const auto isAcross = [&](int64_t step) {
      const int64_t at = rounded(static_cast<double>(a.x) + slope * static_cast<double>(step));
      return isRising ? at > x : at <= x;
    };
    // The first step behind the edge, by halving: `at` never goes back from one step to the next.
    Range steps{1, dy};
    while (!steps.empty()) {
      const int64_t middle = (steps.first + steps.end) / 2;
      if (isAcross(middle)) {
        steps.end = middle;
      } else {
        steps.first = middle + 1;
      }
    }
    visit(column, a.y + steps.first - 1);
  }
}

void addPolygon(MaskBits& frame, const Polygon& polygon) {
  std::vector<FinePoint> points;
  points.reserve(polygon.size());
  for (const PolygonPoint& point : polygon) points.push_back(fineOf(point));
  if (points.empty()) return;
  const Bounds bounds = boundsOf(points, frame.width, frame.height);
  if (bounds.columns.empty() || bounds.rows.empty()) return;

  ColumnEdges edges(bounds.columns.size(), bounds.rows.size());
  const auto addEdge = [&](int64_t column, int64_t y) {
    const int64_t row = std::clamp(pixelFrom(y), bounds.rows.first, bounds.rows.end);
    edges.toggle(static_cast<int>(column - bounds.columns.first), static_cast<int>(row - bounds.rows.first));
  };
  for (std::size_t i = 0; i < points.size(); ++i) {
    forEachEdge(points[i], points[(i + 1) % points.size()], bounds.columns, addEdge);
  }
  const MaskBits part = std::move(edges).fill();
  for (int row = 0; row < part.height; ++row) {
    const int64_t first = (bounds.rows.first + row) * frame.width + bounds.columns.first;
    orBits(packedRow(part, row), frame.bits, static_cast<std::size_t>(first));
  }
}

}  // namespace

MaskBits rasterizePolygons(const std::vector<Polygon>& polygons, int width, int height) {
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  MaskBits frame{width, height, std::vector<uint8_t>((pixels + 7) / 8)};
  for (const Polygon& polygon : polygons) addPolygon(frame, polygon);
  return frame;
}

}  // namespace seg_mask
