// Numbers from text, and numbers into narrower types. The input is the text; its bytes are also taken as
// doubles.

#include <cmath>
#include <limits>
#include <type_traits>

#include "core/SwString.h"
#include "core/number_text.h"
#include "core/saturate.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_numbers.h"
#include "test_support/StderrCapture.h"
#include "test_support/model/nearest_float.h"

namespace {

void checkToInt(const SwString& text) {
  const StderrCapture captured;
  const std::optional<int> expected = reference::toInt(text);
  bool ok = !expected.has_value();
  fuzz::check(text.toInt(&ok) == expected.value_or(0), "toInt's value");
  fuzz::check(ok == expected.has_value(), "toInt's verdict");
  const std::string line = expected ? "" : "Invalid int conversion in SwString: " + text.str() + "\n";
  fuzz::checkEqual(captured.text(), line, "toInt's line");
  fuzz::check(text.toInt(nullptr) == expected.value_or(0), "toInt without a verdict");
}

void checkFloatingPoint(const SwString& text) {
  const std::optional<double> expected = reference::numericDouble(text);
  {
    const StderrCapture captured;
    double value = -77.0;
    fuzz::check(text.parseNumericDouble(value) == expected.has_value(), "parseNumericDouble's verdict");
    fuzz::check(reference::identical(value, expected.value_or(-77.0)), "parseNumericDouble's value");
    fuzz::checkEqual(captured.text(), "", "parseNumericDouble's silence");
  }
  {
    const StderrCapture captured;
    const float single = expected ? model::nearestFloat(*expected) : 0.0F;
    fuzz::check(reference::identical(text.toFloat(), single), "toFloat's value");
    const std::string line = expected ? "" : "Invalid float conversion in SwString: " + text.str() + "\n";
    fuzz::checkEqual(captured.text(), line, "toFloat's line");
  }
  const StderrCapture captured;
  fuzz::check(reference::identical(text.toDouble(), expected.value_or(0.0)), "toDouble's value");
  const std::string line = expected ? "" : "Invalid double conversion in SwString: " + text.str() + "\n";
  fuzz::checkEqual(captured.text(), line, "toDouble's line");
}

void checkNumberPrefix(const std::string& text) {
  std::size_t consumed = 0;
  const std::optional<double> expected = reference::doublePrefix(text, consumed);
  double value = -77.0;
  fuzz::check(sw_number::toDouble(text, value) == expected.has_value(), "sw_number::toDouble's verdict");
  fuzz::check(reference::identical(value, expected.value_or(-77.0)), "sw_number::toDouble's value");
}

// By comparison with the limits in a type that holds both exactly.
template <typename Integer>
void checkSaturate(double value) {
  static_assert(std::numeric_limits<long double>::digits >= 64);
  const Integer result = sw_number::saturate<Integer>(value);
  if (std::isnan(value)) {
    fuzz::check(result == 0, "saturate of a NaN");
    return;
  }
  const long double whole = std::trunc(static_cast<long double>(value));
  const auto lowest = static_cast<long double>(std::numeric_limits<Integer>::min());
  const auto highest = static_cast<long double>(std::numeric_limits<Integer>::max());
  const long double expected = whole < lowest ? lowest : whole > highest ? highest : whole;
  fuzz::check(static_cast<long double>(result) == expected, "saturate's value");
}

void checkNarrowing(double value) {
  checkSaturate<std::int64_t>(value);
  checkSaturate<std::uint64_t>(value);
  checkSaturate<std::int32_t>(value);
  checkSaturate<std::uint32_t>(value);
  checkSaturate<std::uint8_t>(value);
  checkSaturate<std::int8_t>(value);
  fuzz::check(reference::identical(sw_number::toSinglePrecision(value), model::nearestFloat(value)),
              "toSinglePrecision's value");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = FuzzInput(data, size).rest();
  checkToInt(text);
  checkFloatingPoint(text);
  checkNumberPrefix(text);

  if (const std::optional<double> value = reference::numericDouble(text)) {
    checkNarrowing(*value);
    checkNarrowing(std::nextafter(*value, std::numeric_limits<double>::infinity()));
    checkNarrowing(std::nextafter(*value, -std::numeric_limits<double>::infinity()));
  }
  FuzzInput doubles(data, size);
  while (!doubles.atEnd()) checkNarrowing(doubles.number<double>());
  return 0;
}
