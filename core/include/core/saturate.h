#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace sw_number {

/// `value` truncated toward zero to `Integer`; values beyond its range give its nearest limit, NaN gives 0.
template <typename Integer>
Integer saturate(double value) noexcept {
  static_assert(std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>);
  using Limits = std::numeric_limits<Integer>;
  // One above the maximum is a power of two, hence exact as a double; the maximum itself may not be.
  constexpr Integer kHalfLimit = Limits::max() / 2 + 1;
  constexpr double kLimit = static_cast<double>(kHalfLimit) * 2.0;
  if (std::isnan(value)) return 0;
  if (value >= kLimit) return Limits::max();
  if (value <= static_cast<double>(Limits::min())) return Limits::min();
  return static_cast<Integer>(value);
}

/// The low 32 bits of `value` as a signed number: what a 32-bit setting or coordinate keeps of a 64-bit
/// integer.
constexpr int32_t lowBits(int64_t value) noexcept {
  return static_cast<int32_t>(static_cast<uint32_t>(value));
}

/// `value` rounded to single precision as IEEE 754 rounds: values beyond the range of float give infinity.
inline float toSinglePrecision(double value) noexcept {
  constexpr auto kMax = static_cast<double>(std::numeric_limits<float>::max());
  // Half a unit in the last place above the largest float; the tie goes to the even neighbour, which is
  // infinity.
  constexpr double kRoundsToInfinity = 0x1.ffffffp127;
  const double magnitude = std::fabs(value);
  if (magnitude > kMax) {
    const float limit = magnitude >= kRoundsToInfinity ? std::numeric_limits<float>::infinity()
                                                       : std::numeric_limits<float>::max();
    return std::signbit(value) ? -limit : limit;
  }
  return static_cast<float>(value);
}

}  // namespace sw_number
