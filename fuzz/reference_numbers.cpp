#include "fuzz/reference_numbers.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace reference {
namespace {

struct Magnitude {
  bool negative = false;
  bool tooLarge = false;
  std::uint64_t value = 0;
  std::size_t consumed = 0;  // 0 if there is no digit
};

unsigned digitValue(char byte) {
  if (isDigit(byte)) return static_cast<unsigned>(byte - '0');
  if (byte >= 'a' && byte <= 'z') return static_cast<unsigned>(byte - 'a') + 10;
  if (byte >= 'A' && byte <= 'Z') return static_cast<unsigned>(byte - 'A') + 10;
  return 99;
}

char byteAt(const std::string& text, std::size_t at) {
  return at < text.size() ? text[at] : '\0';
}

Magnitude readMagnitude(const std::string& text, unsigned base) {
  Magnitude result;
  std::size_t at = 0;
  while (isSpace(byteAt(text, at))) ++at;
  if (byteAt(text, at) == '-' || byteAt(text, at) == '+') result.negative = text[at++] == '-';
  if (base == 0) {
    base = byteAt(text, at) == '0' ? 8 : 10;
    const bool hexPrefix = base == 8 && (byteAt(text, at + 1) == 'x' || byteAt(text, at + 1) == 'X');
    if (hexPrefix && digitValue(byteAt(text, at + 2)) < 16) {
      base = 16;
      at += 2;
    }
  }
  for (; digitValue(byteAt(text, at)) < base; ++at) {
    const unsigned digit = digitValue(text[at]);
    result.consumed = at + 1;
    if (result.tooLarge || result.value > (std::numeric_limits<std::uint64_t>::max() - digit) / base) {
      result.tooLarge = true;
    } else {
      result.value = result.value * base + digit;
    }
  }
  return result;
}

std::optional<std::int64_t> asSigned(const Magnitude& magnitude) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  if (magnitude.consumed == 0 || magnitude.tooLarge) return std::nullopt;
  if (!magnitude.negative) {
    if (magnitude.value > kMax) return std::nullopt;
    return static_cast<std::int64_t>(magnitude.value);
  }
  if (magnitude.value > kMax + 1) return std::nullopt;
  if (magnitude.value == kMax + 1) return std::numeric_limits<std::int64_t>::min();
  return -static_cast<std::int64_t>(magnitude.value);
}

std::string cleaned(const std::string& text) {
  std::string result;
  for (const char byte : trimmed(text)) {
    if (byte != '_') result += byte;
  }
  return result;
}

// The text after an optional sign and "0b", if it begins so.
std::optional<std::string> binaryDigits(const std::string& text) {
  const std::size_t start = text[0] == '+' || text[0] == '-' ? 1 : 0;
  if (byteAt(text, start) != '0') return std::nullopt;
  if (byteAt(text, start + 1) != 'b' && byteAt(text, start + 1) != 'B') return std::nullopt;
  return text.substr(start + 2);
}

bool isBinary(const std::string& digits) {
  return !digits.empty() && digits.find_first_not_of("01") == std::string::npos;
}

std::optional<std::int64_t> binaryValue(const std::string& text, const std::string& digits) {
  Magnitude magnitude = readMagnitude(digits, 2);
  magnitude.negative = text[0] == '-';
  return asSigned(magnitude);
}

}  // namespace

bool isSpace(char byte) {
  return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\v' || byte == '\f' || byte == '\r';
}

bool isDigit(char byte) {
  return byte >= '0' && byte <= '9';
}

std::string trimmed(const std::string& text) {
  const auto isBlank = [](char byte) { return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r'; };
  std::size_t first = 0;
  std::size_t end = text.size();
  while (first < end && isBlank(text[first])) ++first;
  while (end > first && isBlank(text[end - 1])) --end;
  return text.substr(first, end - first);
}

std::vector<std::string> partsOf(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::string part;
  for (const char byte : text) {
    if (byte == separator) {
      parts.push_back(part);
      part.clear();
    } else {
      part += byte;
    }
  }
  if (!part.empty()) parts.push_back(part);
  return parts;
}

std::optional<std::int64_t> signedPrefix(const std::string& text, unsigned base, std::size_t& consumed) {
  const Magnitude magnitude = readMagnitude(text, base);
  const std::optional<std::int64_t> value = asSigned(magnitude);
  consumed = value ? magnitude.consumed : 0;
  return value;
}

std::optional<std::uint64_t> unsignedPrefix(const std::string& text, unsigned base) {
  const Magnitude magnitude = readMagnitude(text, base);
  if (magnitude.consumed == 0 || magnitude.tooLarge) return std::nullopt;
  // As the C library: the negative of an unsigned number is that number below the range.
  if (magnitude.negative && magnitude.value != 0) {
    return std::numeric_limits<std::uint64_t>::max() - magnitude.value + 1;
  }
  return magnitude.value;
}

std::optional<double> doublePrefix(const std::string& text, std::size_t& consumed) {
  errno = 0;
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  consumed = static_cast<std::size_t>(end - text.c_str());
  if (consumed == 0 || errno != 0) return std::nullopt;
  return value;
}

std::optional<int> toInt(const std::string& text) {
  const std::string number = cleaned(text);
  if (number.empty() || number == "+" || number == "-") return std::nullopt;
  std::optional<std::int64_t> value;
  if (const std::optional<std::string> digits = binaryDigits(number)) {
    if (!isBinary(*digits)) return std::nullopt;
    value = binaryValue(number, *digits);
  } else {
    std::size_t consumed = 0;
    value = signedPrefix(number, 0, consumed);
  }
  if (!value || *value < -2147483648LL || *value > 2147483647LL) return std::nullopt;
  return static_cast<int>(*value);
}

std::optional<double> numericDouble(const std::string& text) {
  const std::string number = cleaned(text);
  if (number.empty()) return std::nullopt;
  std::size_t consumed = 0;
  if (number.find_first_of(".eE") != std::string::npos) return doublePrefix(number, consumed);

  if (const std::optional<std::string> digits = binaryDigits(number)) {
    if (!isBinary(*digits)) return doublePrefix(number, consumed);
    const std::optional<std::int64_t> value = binaryValue(number, *digits);
    if (!value) return std::nullopt;
    return static_cast<double>(*value);
  }
  if (const std::optional<std::int64_t> value = signedPrefix(number, 0, consumed)) {
    return static_cast<double>(*value);
  }
  return doublePrefix(number, consumed);
}

std::string generalText(double value, int precision) {
  const int length = std::snprintf(nullptr, 0, "%.*g", precision, value);
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::snprintf(text.data(), text.size(), "%.*g", precision, value);
  text.pop_back();
  return text;
}

bool identical(double a, double b) {
  return std::memcmp(&a, &b, sizeof(a)) == 0;
}

bool identical(float a, float b) {
  if (std::isnan(a) && std::isnan(b)) return std::signbit(a) == std::signbit(b);
  return std::memcmp(&a, &b, sizeof(a)) == 0;
}

}  // namespace reference
