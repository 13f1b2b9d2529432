#include "fuzz/reference_masks.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace reference {
namespace {

Pixels emptyMask(int width, int height) {
  return {width, height,
          std::vector<bool>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))};
}

std::size_t pixelAt(const Pixels& mask, std::int64_t column, std::int64_t row) {
  return static_cast<std::size_t>(row * mask.width + column);
}

using GridPoint = std::pair<long, long>;

long toGrid(double value) {
  return static_cast<long>(value + 0.5);
}

// All grid points of a side, from its lower end along its longer dimension.
std::vector<GridPoint> gridPointsOf(GridPoint a, GridPoint b) {
  const long dx = std::labs(b.first - a.first);
  const long dy = std::labs(b.second - a.second);
  const bool isFlat = dx >= dy;
  if (isFlat ? a.first > b.first : a.second > b.second) std::swap(a, b);
  std::vector<GridPoint> points;
  for (long step = 0; step <= std::max(dx, dy); ++step) {
    if (dx == 0 && dy == 0) {
      points.push_back(a);
    } else if (isFlat) {
      const double slope = static_cast<double>(b.second - a.second) / static_cast<double>(dx);
      points.emplace_back(a.first + step,
                          toGrid(static_cast<double>(a.second) + slope * static_cast<double>(step)));
    } else {
      const double slope = static_cast<double>(b.first - a.first) / static_cast<double>(dy);
      points.emplace_back(toGrid(static_cast<double>(a.first) + slope * static_cast<double>(step)),
                          a.second + step);
    }
  }
  return points;
}

Pixels maskOfPolygon(const PolygonPoints& polygon, int width, int height) {
  // By column-wise pixel number: whether the mask changes there. One more, for what ends with the last
  // column.
  std::vector<bool> changes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) + 1);
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const auto& [x, y] = polygon[i];
    const auto& [nextX, nextY] = polygon[(i + 1) % polygon.size()];
    const std::vector<GridPoint> points =
        gridPointsOf({toGrid(5 * x), toGrid(5 * y)}, {toGrid(5 * nextX), toGrid(5 * nextY)});
    for (std::size_t k = 1; k < points.size(); ++k) {
      const long left = std::min(points[k - 1].first, points[k].first);
      if (points[k - 1].first == points[k].first || left < 0 || left % 5 != 2 || left / 5 >= width) continue;
      const auto upper = static_cast<double>(std::min(points[k - 1].second, points[k].second));
      const double row = std::ceil(std::clamp((upper + 0.5) / 5 - 0.5, 0.0, static_cast<double>(height)));
      changes[static_cast<std::size_t>(left / 5 * height) + static_cast<std::size_t>(row)].flip();
    }
  }
  Pixels mask = emptyMask(width, height);
  bool inside = false;
  for (int column = 0; column < width; ++column) {
    for (int row = 0; row < height; ++row) {
      inside = inside != changes[static_cast<std::size_t>(column) * static_cast<std::size_t>(height) +
                                 static_cast<std::size_t>(row)];
      mask.inside[pixelAt(mask, column, row)] = inside;
    }
  }
  return mask;
}

}  // namespace

std::optional<std::vector<std::int64_t>> readCompressedRuns(const std::string& text) {
  std::vector<std::int64_t> runs;
  std::int64_t number = 0;
  std::int64_t weight = 1;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int group = static_cast<unsigned char>(text[i]) - 48;
    if (group < 0 || group > 63 || weight == std::int64_t{1} << 60) return std::nullopt;
    number += group % 32 * weight;
    weight *= 32;
    if (group >= 32) continue;
    if (group >= 16) number -= weight;
    if (runs.size() > 2) number += runs[runs.size() - 2];
    // One that cannot be a run ends the reading: what is added to it would only grow.
    if (std::llabs(number) >= std::int64_t{1} << 32) return std::nullopt;
    runs.push_back(number);
    number = 0;
    weight = 1;
  }
  if (weight != 1) return std::nullopt;
  return runs;
}

std::optional<Pixels> maskOfRuns(const std::vector<std::int64_t>& runs, int width, int height) {
  Pixels mask = emptyMask(width, height);
  std::int64_t at = 0;
  bool inside = false;
  for (const std::int64_t run : runs) {
    if (run < 0 || run > static_cast<std::int64_t>(mask.inside.size()) - at) return std::nullopt;
    for (const std::int64_t end = at + run; at < end; ++at) {
      mask.inside[pixelAt(mask, at / height, at % height)] = inside;
    }
    inside = !inside;
  }
  if (at != static_cast<std::int64_t>(mask.inside.size())) return std::nullopt;
  return mask;
}

Pixels maskOfPolygons(const std::vector<PolygonPoints>& polygons, int width, int height) {
  Pixels joined = emptyMask(width, height);
  for (const PolygonPoints& polygon : polygons) {
    const Pixels mask = maskOfPolygon(polygon, width, height);
    for (std::size_t i = 0; i < mask.inside.size(); ++i)
      joined.inside[i] = joined.inside[i] || mask.inside[i];
  }
  return joined;
}

Pixels placed(const Pixels& mask, const Place& at, int width, int height) {
  Pixels frame = emptyMask(width, height);
  for (std::int64_t y = 0; y < height; ++y) {
    for (std::int64_t x = 0; x < width; ++x) {
      if (x < at.x || x >= at.x + at.w || y < at.y || y >= at.y + at.h) continue;
      frame.inside[pixelAt(frame, x, y)] =
          mask.inside[pixelAt(mask, (x - at.x) * mask.width / at.w, (y - at.y) * mask.height / at.h)];
    }
  }
  return frame;
}

std::string maskText(const Pixels& mask) {
  constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::vector<unsigned> bytes((mask.inside.size() + 7) / 8);
  for (std::size_t i = 0; i < mask.inside.size(); ++i) bytes[i / 8] |= (mask.inside[i] ? 1U : 0U) << (i % 8);
  const std::size_t missing = (3 - bytes.size() % 3) % 3;
  bytes.resize(bytes.size() + missing);
  std::string text = "SEG1|" + std::to_string(mask.width) + "|" + std::to_string(mask.height) + "|";
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const unsigned bits = bytes[i] << 16 | bytes[i + 1] << 8 | bytes[i + 2];
    for (const unsigned shift : {18U, 12U, 6U, 0U}) text += kAlphabet[(bits >> shift) & 63U];
  }
  text.replace(text.size() - missing, missing, missing, '=');
  return text;
}

}  // namespace reference
