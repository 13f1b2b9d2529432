#include "c_locale.h"

#include <locale.h>

#include <cerrno>
#include <cstdlib>
#include <iomanip>
#include <locale>
#include <sstream>

#include "ascii.h"

namespace c_locale {
namespace {

static_assert(sizeof(long long) == sizeof(std::int64_t));

// The C library keeps this locale as a constant: asking for it neither allocates nor fails.
locale_t cLocale() noexcept {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

// Runs one strto* call as `convert(start, &end)`.
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

std::string written(double value, int precision, std::ios::fmtflags format) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream.flags(format);
  stream << std::setprecision(precision) << value;
  return stream.str();
}

}  // namespace

bool toDouble(const std::string& text, double& out, std::size_t& consumed) noexcept {
  return convertText(text, out, consumed,
                     [](const char* start, char** end) { return strtod_l(start, end, cLocale()); });
}

bool toSigned(const std::string& text, int base, std::int64_t& out, std::size_t& consumed) noexcept {
  return convertText(text, out, consumed, [base](const char* start, char** end) {
    return strtoll_l(start, end, base, cLocale());
  });
}

bool toUnsigned(const std::string& text, int base, std::uint64_t& out, std::size_t& consumed) noexcept {
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
  return written(value, precision, std::ios::dec);
}

std::string toFixedText(double value) {
  return written(value, 6, std::ios::dec | std::ios::fixed);
}

}  // namespace c_locale
