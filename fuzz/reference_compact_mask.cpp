#include "fuzz/reference_compact_mask.h"

#include <string>

namespace reference {
namespace {

using Kind = JsonValue::Kind;

constexpr std::int64_t kMostModelledPixels = 1 << 16;
constexpr double kMostModelled = 2000;
constexpr double kMostCoordinate = 1 << 28;

std::optional<std::vector<PolygonPoints>> polygonsOf(const JsonValue& list, bool& gaveUp) {
  if (list.kind != Kind::Array || list.values.empty()) return std::nullopt;
  std::vector<PolygonPoints> polygons;
  for (const JsonValue& numbers : list.values) {
    const std::size_t count = numbers.values.size();
    if (numbers.kind != Kind::Array || count < 6 || count % 2 != 0) return std::nullopt;
    polygons.emplace_back();
    for (std::size_t i = 0; i < count; ++i) {
      const JsonValue& value = numbers.values[i];
      if (value.kind != Kind::Int && value.kind != Kind::Double) return std::nullopt;
      const double number = value.kind == Kind::Int ? static_cast<double>(value.integer) : value.number;
      if (!(number >= -kMostCoordinate && number <= kMostCoordinate)) return std::nullopt;
      gaveUp = gaveUp || number < -kMostModelled || number > kMostModelled;
      if (i % 2 == 0) polygons.back().emplace_back(number, 0.0);
      polygons.back().back().second = number;
    }
  }
  return polygons;
}

std::optional<std::vector<std::int64_t>> runsOf(const JsonValue& counts) {
  if (counts.kind == Kind::String) return readCompressedRuns(counts.text);
  if (counts.kind != Kind::Array) return std::nullopt;
  std::vector<std::int64_t> runs;
  for (const JsonValue& count : counts.values) {
    if (count.kind != Kind::Int) return std::nullopt;
    runs.push_back(count.integer);
  }
  return runs;
}

}  // namespace

std::optional<std::vector<std::int64_t>> wholeNumbers(const JsonValue* value, std::size_t count) {
  if (value == nullptr || value->kind != Kind::Array || value->values.size() != count) return std::nullopt;
  std::vector<std::int64_t> numbers;
  for (const JsonValue& element : value->values) {
    if (element.kind != Kind::Int || element.integer != static_cast<std::int32_t>(element.integer)) {
      return std::nullopt;
    }
    numbers.push_back(element.integer);
  }
  return numbers;
}

std::optional<Pixels> compactMask(const JsonValue& mask, int width, int height, bool& gaveUp) {
  if (const JsonValue* const polygon = mask.member("polygon")) {
    gaveUp = std::int64_t{width} * height > kMostModelledPixels;
    const auto polygons = polygonsOf(*polygon, gaveUp);
    if (!polygons || gaveUp) return std::nullopt;
    return maskOfPolygons(*polygons, width, height);
  }
  const auto size = wholeNumbers(mask.member("size"), 2);
  const JsonValue* const counts = mask.member("counts");
  if (!size || counts == nullptr) return std::nullopt;
  gaveUp = (*size)[0] * (*size)[1] > kMostModelledPixels;
  const auto runs = runsOf(*counts);
  if (!runs || gaveUp) return std::nullopt;
  const auto pixels = maskOfRuns(*runs, static_cast<int>((*size)[1]), static_cast<int>((*size)[0]));
  const auto at = wholeNumbers(mask.member("at"), 4);
  if (!pixels || !at) return pixels;
  return placed(*pixels, {(*at)[0], (*at)[1], (*at)[2], (*at)[3]}, width, height);
}

}  // namespace reference
