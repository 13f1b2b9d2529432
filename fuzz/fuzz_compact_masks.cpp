// Run lengths, polygons and placed masks against models that go pixel by pixel. The input is a program of
// steps, each a frame's sides, what to make, and its numbers.

#include <utility>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_masks.h"
#include "mask/mask_placement.h"
#include "mask/mask_text.h"
#include "mask/polygon.h"
#include "mask/run_lengths.h"

namespace {

using seg_mask::MaskBits;
using seg_mask::RunLengthsFault;

// Ends a text within a program. No run lengths have it.
constexpr char kEndOfText = '\xFF';
constexpr std::size_t kMostRuns = 64;
// The model visits each grid point of a side.
constexpr double kMostModelled = 2000;

struct Sides {
  int width;
  int height;
};

Sides takeSides(FuzzInput& input) {
  const int width = 1 + static_cast<int>(input.below(160));
  return {width, 1 + static_cast<int>(input.below(48))};
}

void checkMask(const std::optional<MaskBits>& actual, const std::optional<reference::Pixels>& expected,
               const char* what) {
  fuzz::check(actual.has_value() == expected.has_value(), what);
  if (actual) fuzz::checkEqual(seg_mask::encodeMaskText(*actual), reference::maskText(*expected), what);
}

std::optional<MaskBits> checkText(const std::string& text, Sides sides) {
  RunLengthsFault fault{};
  const auto mask = seg_mask::decodeCompressedRunLengths(text, sides.width, sides.height, fault);
  const auto runs = reference::readCompressedRuns(text);
  checkMask(mask, runs ? reference::maskOfRuns(*runs, sides.width, sides.height) : std::nullopt,
            "compressed run lengths");
  return mask;
}

// Runs that are mostly good: of each number what still fits, the last one fills the mask.
std::vector<int64_t> takeRuns(FuzzInput& input, Sides sides) {
  std::vector<int64_t> runs;
  int64_t left = int64_t{sides.width} * sides.height;
  for (std::size_t count = input.byte() % kMostRuns; count > 0; --count) {
    const int64_t run = input.number<std::int16_t>();
    runs.push_back(run > left ? left : run);
    left -= runs.back();
  }
  if (input.below(16) != 15) runs.push_back(left);
  return runs;
}

void checkRuns(FuzzInput& input, Sides sides) {
  const std::vector<int64_t> runs = takeRuns(input, sides);
  RunLengthsFault fault{};
  const auto mask = seg_mask::decodeRunLengths(runs, sides.width, sides.height, fault);
  const auto expected = reference::maskOfRuns(runs, sides.width, sides.height);
  checkMask(mask, expected, "run lengths");
  if (!mask) return;
  const auto again = checkText(seg_mask::encodeCompressedRunLengths(*mask), sides);
  fuzz::check(again && again->bits == mask->bits, "run lengths, there and back");

  const Sides frame = takeSides(input);
  const seg_mask::MaskPlacement at{input.number<std::int8_t>(), input.number<std::int8_t>(), 1 + input.byte(),
                                   1 + input.byte()};
  checkMask(seg_mask::placeMask(*mask, at, frame.width, frame.height),
            reference::placed(*expected, {at.x, at.y, at.w, at.h}, frame.width, frame.height),
            "a placed mask");
}

double takeCoordinate(FuzzInput& input) {
  switch (input.below(4)) {
    case 0:
      return input.byte();
    case 1:
      return input.number<std::int16_t>() / 100.0;
    case 2:
      return input.number<std::int16_t>() / 20.0;
    default: {
      const auto number = static_cast<double>(input.number<float>());
      const bool isNear =
          number >= -seg_mask::kFarthestPolygonPoint && number <= seg_mask::kFarthestPolygonPoint;
      return isNear ? number : 0.0;
    }
  }
}

void checkPolygons(FuzzInput& input, Sides sides) {
  std::vector<seg_mask::Polygon> polygons(1 + input.below(3));
  std::vector<reference::PolygonPoints> points(polygons.size());
  bool isModelled = true;
  for (std::size_t i = 0; i < polygons.size(); ++i) {
    for (unsigned count = input.below(9); count > 0; --count) {
      const double x = takeCoordinate(input);
      const double y = takeCoordinate(input);
      polygons[i].push_back({x, y});
      points[i].emplace_back(x, y);
      for (const double number : {x, y})
        isModelled = isModelled && -kMostModelled < number && number < kMostModelled;
    }
  }
  const MaskBits mask = seg_mask::rasterizePolygons(polygons, sides.width, sides.height);
  if (isModelled) checkMask(mask, reference::maskOfPolygons(points, sides.width, sides.height), "polygons");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  for (int steps = 0; steps < 8 && !input.atEnd(); ++steps) {
    const Sides sides = takeSides(input);
    switch (input.below(3)) {
      case 0:
        checkText(input.upTo(kEndOfText), sides);
        break;
      case 1:
        checkRuns(input, sides);
        break;
      default:
        checkPolygons(input, sides);
    }
  }
  return 0;
}
