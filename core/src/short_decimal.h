#pragma once

/// Decimal texts of six significant digits, as printf's "%g" writes them in the "C" locale, for the numbers
/// of which JSON is full: some digits before the point and some behind it.
namespace short_decimal {

/// No text that write() makes is longer.
constexpr int kMostBytes = 12;

/// Writes the text of `value` to `out` and gives its end. Null, with `out` as it was, for a number that takes
/// more care: below 0.0001, from a million on, rounded up to a power of ten, too close to the middle between
/// two texts, or NaN.
char* write(double value, char* out) noexcept;

}  // namespace short_decimal
