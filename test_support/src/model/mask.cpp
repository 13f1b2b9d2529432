#include "test_support/model/mask.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace model {
namespace {

std::vector<std::string> cutAtBars(const std::string& text) {
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == '|') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

// The decimal number at the start of a field: blanks, one sign, digits; whatever follows is ignored. Nothing
// when there is no digit or the number needs more than 32 bits.
std::optional<int> leadingNumber(const std::string& field) {
  std::size_t at = field.find_first_not_of(" \t\n\v\f\r");
  if (at == std::string::npos) return std::nullopt;
  const bool negative = field[at] == '-';
  if (field[at] == '-' || field[at] == '+') ++at;
  if (at >= field.size() || field[at] < '0' || field[at] > '9') return std::nullopt;
  int64_t number = 0;
  for (; at < field.size() && field[at] >= '0' && field[at] <= '9'; ++at) {
    number = number * 10 + (field[at] - '0');
    if (number > INT64_C(2147483648)) return std::nullopt;
  }
  if (negative) number = -number;
  if (number > INT32_MAX) return std::nullopt;
  return static_cast<int>(number);
}

// The value of a base64 digit, -1 for any other character.
int digitValue(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

// Lays all bits out in a row and cuts them into bytes; an incomplete last byte is dropped.
std::vector<uint8_t> decodeBase64(const std::string& text) {
  std::vector<bool> bits;
  for (const char c : text) {
    if (c == '=') break;
    const int value = digitValue(c);
    if (value < 0) continue;
    for (int place = 32; place >= 1; place /= 2) bits.push_back(value / place % 2 == 1);
  }
  std::vector<uint8_t> bytes;
  for (std::size_t at = 0; at + 8 <= bits.size(); at += 8) {
    int byte = 0;
    for (std::size_t k = 0; k < 8; ++k) byte = byte * 2 + (bits[at + k] ? 1 : 0);
    bytes.push_back(static_cast<uint8_t>(byte));
  }
  return bytes;
}

}  // namespace

std::optional<Mask> readMask(const std::string& text) {
  if (text.substr(0, 5) != "SEG1|") return std::nullopt;
  const std::vector<std::string> fields = cutAtBars(text);
  if (fields.size() < 4) return std::nullopt;
  const std::optional<int> width = leadingNumber(fields[1]);
  const std::optional<int> height = leadingNumber(fields[2]);
  if (!width || !height || *width <= 0 || *height <= 0) return std::nullopt;
  const std::vector<uint8_t> bytes = decodeBase64(fields[3]);
  const int64_t pixels = static_cast<int64_t>(*width) * *height;
  if (static_cast<int64_t>(bytes.size()) < (pixels + 7) / 8) return std::nullopt;

  Mask mask;
  mask.width = *width;
  mask.height = *height;
  static const int kPlaces[8] = {1, 2, 4, 8, 16, 32, 64, 128};
  for (int64_t i = 0; i < pixels; ++i) {
    mask.inside.push_back(bytes[static_cast<std::size_t>(i / 8)] / kPlaces[i % 8] % 2 == 1);
  }
  return mask;
}

int sourceIndex(int at, int to, int from) {
  // The reciprocal of the ratio, not the ratio turned round: the two differ in the last bit, and that bit
  // decides where a boundary between two samples falls on a whole number.
  const double ratio = static_cast<double>(to) / from;
  const double step = 1.0 / ratio;
  return std::min(static_cast<int>(std::floor(at * step)), from - 1);
}

bool covers(const Mask& mask, int width, int height, int x, int y) {
  const int column = sourceIndex(x, width, mask.width);
  const int row = sourceIndex(y, height, mask.height);
  return mask.inside[static_cast<std::size_t>(row) * static_cast<std::size_t>(mask.width) +
                     static_cast<std::size_t>(column)];
}

}  // namespace model
