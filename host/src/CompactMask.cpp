#include "host/CompactMask.h"

#include <cmath>
#include <limits>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "io/UserError.h"
#include "mask/mask_text.h"
#include "mask/polygon.h"
#include "mask/run_lengths.h"

namespace segmask {
namespace {

using render_base::FrameSize;
using seg_mask::MaskBits;
using seg_mask::MaskPlacement;
using seg_mask::RunLengthsFault;

constexpr std::size_t kLeastPolygonNumbers = 6;

/// The elements where the value is an array of `count` whole numbers of 32 bits, else nothing.
std::optional<std::vector<int>> wholeNumbers(const SwJsonValue& value, std::size_t count) {
  const SwJsonArray* const array = value.array();
  if (!array || array->size() != count) return std::nullopt;
  std::vector<int> numbers;
  for (const SwJsonValue& element : *array) {
    const int64_t number = element.integer();
    const auto narrow = static_cast<int>(number);
    if (!element.isInt() || narrow != number) return std::nullopt;
    numbers.push_back(narrow);
  }
  return numbers;
}

void checkPixels(FrameSize size, const char* whose) {
  if (int64_t{size.width} * size.height <= CompactMask::kMostPixels) return;
  throw UserError(std::string(whose) + " has more than " + std::to_string(CompactMask::kMostPixels) +
                  " pixels");
}

FrameSize sizeOf(const SwJsonValue* value) {
  if (!value) throw UserError(R"("counts" needs "size")");
  const std::optional<std::vector<int>> numbers = wholeNumbers(*value, 2);
  if (!numbers || (*numbers)[0] < 1 || (*numbers)[1] < 1) {
    throw UserError("\"size\" is not [height, width] in whole numbers from 1 on");
  }
  const FrameSize size{(*numbers)[1], (*numbers)[0]};
  checkPixels(size, "\"size\"");
  return size;
}

MaskPlacement placementOf(const SwJsonValue& value) {
  const std::optional<std::vector<int>> numbers = wholeNumbers(value, 4);
  if (!numbers || (*numbers)[2] < 1 || (*numbers)[3] < 1) {
    throw UserError("\"at\" is not [x, y, w, h] in whole numbers, w and h from 1 on");
  }
  return {(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
}

const char* textOf(RunLengthsFault fault) {
  switch (fault) {
    case RunLengthsFault::Character:
      return "has a character that no run length has";
    case RunLengthsFault::Unfinished:
      return "ends within a number";
    case RunLengthsFault::TooLarge:
      return "has a number beyond 60 bits";
    case RunLengthsFault::Negative:
      return "has a run below 0";
    case RunLengthsFault::TooManyPixels:
      return "is for more pixels than \"size\" has";
    case RunLengthsFault::TooFewPixels:
      return "is for fewer pixels than \"size\" has";
  }
  return "";
}

[[noreturn]] void refuseCounts() {
  throw UserError("\"counts\" is neither a text nor a list of whole numbers");
}

std::vector<int64_t> runsOf(const SwJsonArray& counts) {
  std::vector<int64_t> runs;
  runs.reserve(counts.size());
  for (const SwJsonValue& count : counts) {
    if (!count.isInt()) refuseCounts();
    runs.push_back(count.integer());
  }
  return runs;
}

MaskBits decodeCounts(const SwJsonValue& counts, FrameSize size) {
  RunLengthsFault fault{};
  std::optional<MaskBits> mask;
  if (counts.isString()) {
    mask = seg_mask::decodeCompressedRunLengths(counts.text(), size.width, size.height, fault);
  } else if (counts.array()) {
    mask = seg_mask::decodeRunLengths(runsOf(*counts.array()), size.width, size.height, fault);
  } else {
    refuseCounts();
  }
  if (!mask) throw UserError(std::string("\"counts\" ") + textOf(fault));
  return std::move(*mask);
}

[[noreturn]] void refusePolygon(const char* member) {
  throw UserError("\"" + std::string(member) +
                  "\" is not a list of lists x, y, x, y, ... of three points or more");
}

double coordinateOf(const SwJsonValue& value, const char* member) {
  if (!value.isInt() && !value.isDouble()) refusePolygon(member);
  const double number = value.isInt() ? static_cast<double>(value.integer()) : value.number();
  if (std::abs(number) <= seg_mask::kFarthestPolygonPoint) return number;
  throw UserError("\"" + std::string(member) + "\" has a coordinate beyond " +
                  std::to_string(static_cast<int64_t>(seg_mask::kFarthestPolygonPoint)));
}

seg_mask::Polygon polygonOf(const SwJsonValue& value, const char* member) {
  const SwJsonArray* const numbers = value.array();
  if (!numbers || numbers->size() < kLeastPolygonNumbers || numbers->size() % 2 != 0) refusePolygon(member);
  seg_mask::Polygon polygon;
  polygon.reserve(numbers->size() / 2);
  for (std::size_t i = 0; i < numbers->size(); i += 2) {
    const double x = coordinateOf((*numbers)[i], member);
    polygon.push_back({x, coordinateOf((*numbers)[i + 1], member)});
  }
  return polygon;
}

std::vector<seg_mask::Polygon> polygonsOf(const SwJsonValue& value, const char* member) {
  const SwJsonArray* const list = value.array();
  if (!list || list->empty()) refusePolygon(member);
  std::vector<seg_mask::Polygon> polygons;
  polygons.reserve(list->size());
  for (const SwJsonValue& polygon : *list) polygons.push_back(polygonOf(polygon, member));
  return polygons;
}

}  // namespace

CompactMask::CompactMask(const SwJsonValue& mask, FrameSize frame, const char* polygonName)
    : frame_(frame), polygonName_(polygonName) {
  const SwJsonObject* const object = mask.object();
  if (!object) throw UserError("\"mask\" is not an object");
  polygon_ = object->find("polygon");
  counts_ = object->find("counts");
  const SwJsonValue* const size = object->find("size");
  const SwJsonValue* const at = object->find("at");
  if (!polygon_ && !counts_) throw UserError(R"("mask" has neither "counts" nor "polygon")");
  if (polygon_ && (counts_ || size || at)) {
    throw UserError(R"("polygon" takes no "counts", "size" or "at")");
  }
  if (counts_) size_ = sizeOf(size);
  if (at) at_ = placementOf(*at);
  if (polygon_ || at_) checkPixels(frame_, "the frame");
}

int64_t CompactMask::pixels() const {
  const FrameSize size = polygon_ || at_ ? frame_ : size_;
  return int64_t{size.width} * size.height;
}

MaskBits CompactMask::bits() const {
  if (polygon_) {
    return seg_mask::rasterizePolygons(polygonsOf(*polygon_, polygonName_), frame_.width, frame_.height);
  }
  MaskBits mask = decodeCounts(*counts_, size_);
  if (at_) mask = seg_mask::placeMask(mask, *at_, frame_.width, frame_.height);
  return mask;
}

std::string CompactMask::text() const {
  return seg_mask::encodeMaskText(bits());
}

}  // namespace segmask
