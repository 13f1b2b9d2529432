#include "src/c_locale.h"

#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is not in <clocale>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>

#include "src/ascii.h"

namespace c_locale {
namespace {

static_assert(sizeof(long long) == sizeof(int64_t));

/// The C library keeps this locale as a constant: asking for it neither allocates nor fails.
locale_t cLocale() noexcept {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

/// No double has more significant digits; a stream writes no more either, however many it is asked for.
constexpr int kMaxDigits = 767;

/// Room for those digits, a sign, a point and an exponent, or for leading zeros instead of it; and for the
/// 309 digits of the largest double with six behind the point.
constexpr std::size_t kMaxText = kMaxDigits + 16;

/// Runs one strto* call as `convert(start, &end)`.
template <typename Number, typename Convert>
bool convertText(const std::string& text, Number& out, std::size_t& consumed, Convert convert) noexcept {
  const int savedErrno = errno;
  errno = 0;
  char* end = nullptr;
  const auto value = convert(text.c_str(), &end);
  const bool inRange = errno != ERANGE;
  errno = savedErrno;
  consumed = static_cast<std::size_t>(end - text.c_str());
  if (consumed == 0 || !inRange) return false;
  out = static_cast<Number>(value);
  return true;
}

std::string written(double value, std::chars_format format, int precision) {
  std::array<char, kMaxText> text;
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value, format, precision);
  return std::string(text.data(), result.ptr);
}

}  // namespace

bool toDouble(const std::string& text, double& out, std::size_t& consumed) noexcept {
  return convertText(text, out, consumed,
                     [](const char* start, char** end) { return strtod_l(start, end, cLocale()); });
}

bool toSigned(const std::string& text, int base, int64_t& out, std::size_t& consumed) noexcept {
  return convertText(text, out, consumed, [base](const char* start, char** end) {
    return strtoll_l(start, end, base, cLocale());
  });
}

bool toUnsigned(const std::string& text, int base, uint64_t& out, std::size_t& consumed) noexcept {
  return convertText(text, out, consumed, [base](const char* start, char** end) {
    return strtoull_l(start, end, base, cLocale());
  });
}

int automaticBase(const std::string& text) noexcept {
  const char* at = text.c_str();
  while (ascii::isSpace(*at)) ++at;
  if (*at == '+' || *at == '-') ++at;
  if (*at != '0') return 10;
  return at[1] == 'x' || at[1] == 'X' ? 16 : 8;
}

std::string toText(double value, int precision) {
  return written(value, std::chars_format::general, std::min(precision, kMaxDigits));
}

std::string toFixedText(double value) {
  return written(value, std::chars_format::fixed, 6);
}

}  // namespace c_locale
