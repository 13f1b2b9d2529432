// setConfig against a plain model of the three settings. The input is one configuration after another, each
// ended by a byte 0xFF; all go to one instance, so that what a text leaves alone has to stay as the texts
// before have set it.

#include <cmath>
#include <cstdint>
#include <exception>
#include <limits>
#include <optional>

#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"
#include "test_support/SegMaskOverlayPluginPeer.h"
#include "test_support/StderrCapture.h"

namespace {

using Kind = reference::JsonValue::Kind;

constexpr char kEndOfText = '\xFF';

struct Settings {
  float alpha = 0.45F;
  float minScore = 0.0F;
  std::int32_t cap = 256;
};

std::optional<double> numberOf(const reference::JsonValue& value) {
  switch (value.kind) {
    case Kind::Int:
      return static_cast<double>(value.integer);
    case Kind::Double:
      return value.number;
    case Kind::Bool:
      return value.boolean ? 1.0 : 0.0;
    case Kind::String:
      try {
        return std::stod(value.text);
      } catch (const std::exception&) {
        return std::nullopt;
      }
    default:
      return std::nullopt;
  }
}

void applyShare(const reference::JsonValue& root, const std::string& key, float& setting) {
  const reference::JsonValue* const value = root.member(key);
  if (value == nullptr) return;
  const std::optional<double> number = numberOf(*value);
  if (!number) return;
  setting = 1.0F;
  if (*number < 1.0) setting = *number > 0.0 ? static_cast<float>(*number) : 0.0F;
}

std::int32_t limited(double count) {
  if (count > 4096.0) return 4096;
  return count < 1.0 ? 1 : static_cast<std::int32_t>(count);
}

// What the low 32 bits say, as a signed number.
std::int32_t lowHalf(std::int64_t value) {
  std::int64_t low = value % (INT64_C(1) << 32);
  if (low > std::numeric_limits<std::int32_t>::max()) low -= INT64_C(1) << 32;
  if (low < std::numeric_limits<std::int32_t>::min()) low += INT64_C(1) << 32;
  return static_cast<std::int32_t>(low);
}

// A number without fraction that fits no 64 bits becomes the nearest that does.
std::int64_t wholeNumber(double value) {
  if (value >= 9223372036854775808.0) return std::numeric_limits<std::int64_t>::max();
  if (value <= -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

std::int32_t capOf(const reference::JsonValue& value) {
  if (value.kind == Kind::Int) return limited(lowHalf(value.integer));
  if (value.kind != Kind::Double) return 1;
  if (std::floor(value.number) != value.number) return limited(std::trunc(value.number));
  return limited(lowHalf(wholeNumber(value.number)));
}

// False if the model gives up.
bool apply(const std::string& text, Settings& settings) {
  const reference::ParsedJson parsed = reference::parseJson(text, 0, "");
  if (parsed.tooDeep) return false;
  if (!parsed.error.empty() || parsed.value.kind != Kind::Object) return true;
  for (std::size_t at = parsed.index; at < text.size(); ++at) {
    if (!reference::isSpace(text[at])) return true;
  }
  applyShare(parsed.value, "alpha", settings.alpha);
  applyShare(parsed.value, "min_score", settings.minScore);
  if (const reference::JsonValue* cap = parsed.value.member("max_overlay_dets")) settings.cap = capOf(*cap);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  SegMaskOverlayPlugin plugin;
  SegMaskOverlayPluginPeer fields{plugin};
  Settings expected;
  const StderrCapture captured;
  while (!input.atEnd()) {
    const std::string text = input.upTo(kEndOfText);
    plugin.setConfig(text);
    if (!apply(text, expected)) break;
    fuzz::check(reference::identical(fields.alpha(), expected.alpha), "alpha");
    fuzz::check(reference::identical(fields.minScore(), expected.minScore), "min_score");
    fuzz::checkEqual(std::to_string(fields.maxOverlayDets()), std::to_string(expected.cap),
                     "max_overlay_dets");
  }
  fuzz::checkEqual(captured.text(), "", "standard error");
  return 0;
}
