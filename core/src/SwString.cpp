#include "core/SwString.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string_view>

#include "core/diagnostics.h"
#include "core/saturate.h"
#include "src/ascii.h"
#include "src/c_locale.h"

namespace {

enum class BinaryLiteral { Absent, Malformed, TooLarge, Valid };

/// Reads a whole text of the form [sign] "0b" digits. Malformed is one that begins so and then has no digits
/// or other bytes among them.
BinaryLiteral readBinaryLiteral(const std::string& text, int64_t& out) {
  const bool negative = text[0] == '-';
  const std::size_t prefix = negative || text[0] == '+' ? 1 : 0;
  if (text.compare(prefix, 2, "0b") != 0 && text.compare(prefix, 2, "0B") != 0) return BinaryLiteral::Absent;

  const std::string digits = text.substr(prefix + 2);
  if (digits.empty() || digits.find_first_not_of("01") != std::string::npos) return BinaryLiteral::Malformed;

  std::size_t consumed = 0;
  const bool inRange = c_locale::toSigned((negative ? "-" : "") + digits, 2, out, consumed);
  return inRange ? BinaryLiteral::Valid : BinaryLiteral::TooLarge;
}

/// What the number conversions read: the text trimmed, and then without underscores. That is the text itself,
/// or `cleaned` if there is something to drop, so that no copy of most texts, which may be secret, is made.
const std::string& withoutBlanksAndUnderscores(const SwString& text, std::string& cleaned) {
  constexpr std::string_view kDropped = "_ \t\n\r";
  if (text.str().find_first_of(kDropped) == std::string::npos) return text.str();
  cleaned = text.trimmed().str();
  cleaned.erase(std::remove(cleaned.begin(), cleaned.end(), '_'), cleaned.end());
  return cleaned;
}

/// What toInt reads, as a 64-bit number; false if there is none.
bool readInteger(const std::string& text, int64_t& out) {
  if (text.empty() || text == "+" || text == "-") return false;
  const BinaryLiteral binary = readBinaryLiteral(text, out);
  if (binary != BinaryLiteral::Absent) return binary == BinaryLiteral::Valid;
  std::size_t consumed = 0;
  return c_locale::toSigned(text, c_locale::automaticBase(text), out, consumed);
}

}  // namespace

char SwString::at(std::size_t position) const {
  if (position < text_.size()) return text_[position];
  throw std::out_of_range("SwString::at: position " + std::to_string(position) + " is not below the size " +
                          std::to_string(text_.size()));
}

std::ostream& operator<<(std::ostream& out, const SwString& text) {
  return out << text.text_;
}

SwString& SwString::append(const SwString& other) {
  text_.append(other.text_);
  return *this;
}

SwString& SwString::append(const char* bytes, std::size_t length) {
  text_.append(bytes, length);
  return *this;
}

SwString& SwString::append(std::size_t count, char byte) {
  text_.append(count, byte);
  return *this;
}

SwString SwString::operator+(const SwString& other) const {
  return text_ + other.text_;
}

SwString SwString::trimmed() const {
  constexpr const char* kBlanks = " \t\n\r";
  const std::size_t first = text_.find_first_not_of(kBlanks);
  if (first == std::string::npos) return SwString();
  const std::size_t last = text_.find_last_not_of(kBlanks);
  return text_.substr(first, last - first + 1);
}

SwString SwString::mid(int position, int length) const {
  if (position < 0) return SwString();
  const auto start = static_cast<std::size_t>(position);
  if (start >= text_.size()) return SwString();
  // substr itself stops at the end of the string.
  return text_.substr(start, length < 0 ? std::string::npos : static_cast<std::size_t>(length));
}

SwString SwString::arg(const SwString& value) const {
  for (std::size_t at = text_.find('%'); at != std::string::npos; at = text_.find('%', at + 1)) {
    if (at + 1 < text_.size() && ascii::isDigit(text_[at + 1])) {
      return std::string(text_).replace(at, 2, value.text_);
    }
  }
  return *this;
}

std::vector<SwString> SwString::split(char separator) const {
  std::vector<SwString> parts;
  std::size_t start = 0;
  for (std::size_t end = text_.find(separator); end != std::string::npos;
       end = text_.find(separator, start)) {
    parts.emplace_back(text_.substr(start, end - start));
    start = end + 1;
  }
  if (start < text_.size()) parts.emplace_back(text_.substr(start));
  return parts;
}

int SwString::toInt(bool* ok) const {
  std::string cleaned;
  int64_t value = 0;
  const bool valid = readInteger(withoutBlanksAndUnderscores(*this, cleaned), value) &&
                     value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
  if (ok) *ok = valid;
  if (!valid) {
    sw_diagnostics::writeLine("Invalid int conversion in SwString: " + text_);
    return 0;
  }
  return static_cast<int>(value);
}

bool SwString::parseNumericDouble(double& out) const {
  std::string cleaned;
  const std::string& text = withoutBlanksAndUnderscores(*this, cleaned);
  if (text.empty()) return false;
  std::size_t consumed = 0;
  if (text.find_first_of(".eE") != std::string::npos) return c_locale::toDouble(text, out, consumed);

  int64_t integer = 0;
  const BinaryLiteral binary = readBinaryLiteral(text, integer);
  if (binary == BinaryLiteral::TooLarge) return false;
  if (binary == BinaryLiteral::Valid ||
      (binary == BinaryLiteral::Absent &&
       c_locale::toSigned(text, c_locale::automaticBase(text), integer, consumed))) {
    out = static_cast<double>(integer);
    return true;
  }
  return c_locale::toDouble(text, out, consumed);
}

float SwString::toFloat() const {
  double value = 0.0;
  if (!parseNumericDouble(value)) {
    sw_diagnostics::writeLine("Invalid float conversion in SwString: " + text_);
    return 0.0F;
  }
  return sw_number::toSinglePrecision(value);
}

double SwString::toDouble() const {
  double value = 0.0;
  if (!parseNumericDouble(value)) {
    sw_diagnostics::writeLine("Invalid double conversion in SwString: " + text_);
    return 0.0;
  }
  return value;
}
