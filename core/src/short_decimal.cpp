#include "src/short_decimal.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace short_decimal {
namespace {

/// The least and, as an upper bound, the first too great of the integers that have six digits.
constexpr double kLeast = 1e5;
constexpr uint32_t kTooGreat = 1000000;

/// Six digits of a number of at least 0.0001 begin at most four places behind the point.
constexpr int kMostPlaces = 9;
constexpr uint32_t kPowersOfTen[kMostPlaces + 1] = {1,      10,      100,      1000,      10000,
                                                    100000, 1000000, 10000000, 100000000, 1000000000};

/// Multiplying by a power of ten rounds once, by far less than this.
constexpr double kDoubt = 1e-9;

}  // namespace

char* write(double value, char* out) noexcept {
  const double magnitude = std::fabs(value);
  if (!(magnitude < kTooGreat)) return nullptr;
  int places = 0;
  double scaled = magnitude;
  while (scaled < kLeast) {
    if (++places > kMostPlaces) return nullptr;
    scaled = magnitude * kPowersOfTen[places];
  }
  auto digits = static_cast<uint32_t>(scaled);
  const double rest = scaled - digits;
  if (std::fabs(rest - 0.5) < kDoubt) return nullptr;
  if (rest > 0.5) ++digits;
  if (digits >= kTooGreat) return nullptr;

  while (places > 0 && digits % 10 == 0) {
    digits /= 10;
    --places;
  }
  if (value < 0) *out++ = '-';
  out = std::to_chars(out, out + kMostBytes, digits / kPowersOfTen[places]).ptr;
  if (places == 0) return out;
  *out++ = '.';
  uint32_t fraction = digits % kPowersOfTen[places];
  for (int place = places - 1; place >= 0; --place) {
    out[place] = static_cast<char>('0' + fraction % 10);
    fraction /= 10;
  }
  return out + places;
}

}  // namespace short_decimal
