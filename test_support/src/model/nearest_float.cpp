#include "test_support/model/nearest_float.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace model {

float nearestFloat(double value) {
  // By way of the number of units in the last place, which is then rounded to an even integer. Not by strtof
  // of an exact text: the C library rounds some subnormal numbers down that lie nearer to the float above.
  const float sign = std::signbit(value) ? -1.0F : 1.0F;
  if (std::isnan(value)) return std::copysign(std::numeric_limits<float>::quiet_NaN(), sign);
  int exponent = 0;
  std::frexp(value, &exponent);
  const int unit = std::max(exponent - 24, -149);
  const double rounded =
      std::isinf(value) ? value : std::ldexp(std::nearbyint(std::ldexp(value, -unit)), unit);
  if (std::fabs(rounded) < 0x1p128) return static_cast<float>(rounded);
  return std::copysign(std::numeric_limits<float>::infinity(), sign);
}

}  // namespace model
