#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// The C library's number conversions in the "C" locale, whatever setlocale and std::locale::global say.
/// errno is left as it was. Reading starts at the beginning of the text, skips white space, and stops at the
/// first byte that does not belong to the number, of which `consumed` tells the position.
namespace c_locale {

/// As strtod: false if there is no number or it is out of range, inexact subnormal numbers included.
bool toDouble(const std::string& text, double& out, std::size_t& consumed) noexcept;

/// As strtoll and strtoull: false if there is no number or it is out of range. `base` is 2 to 36.
bool toSigned(const std::string& text, int base, int64_t& out, std::size_t& consumed) noexcept;
bool toUnsigned(const std::string& text, int base, uint64_t& out, std::size_t& consumed) noexcept;

/// The base in which the C library reads the text when it is left to choose: 16 after "0x", 8 after "0",
/// else 10. Decided here because newer C libraries also take "0b" for base 2.
int automaticBase(const std::string& text) noexcept;

/// As an output stream with this precision and no format flag writes it.
std::string toText(double value, int precision);

/// The precision of a stream that nobody has set up.
constexpr int kDefaultDigits = 6;

/// As printf's "%f".
std::string toFixedText(double value);

}  // namespace c_locale
