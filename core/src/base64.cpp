#include "base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace base64 {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kInvalid = 0xFF;

constexpr std::array<std::uint8_t, 256> makeValues() {
  std::array<std::uint8_t, 256> values{};
  for (std::size_t byte = 0; byte < values.size(); ++byte) values[byte] = kInvalid;
  for (std::uint8_t value = 0; value < 64; ++value) {
    values[static_cast<unsigned char>(kAlphabet[value])] = value;
  }
  return values;
}

constexpr std::array<std::uint8_t, 256> kValues = makeValues();

}  // namespace

std::string encode(const std::vector<unsigned char>& bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = bytes.size() - at < 3 ? bytes.size() - at : 3;
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) group = group << 8 | (i < count ? bytes[at + i] : 0U);
    // n bytes take n + 1 characters.
    for (std::size_t i = 0; i < 4; ++i) text += i <= count ? kAlphabet[group >> (18 - 6 * i) & 0x3F] : '=';
  }
  return text;
}

std::vector<unsigned char> decode(const std::string& text) {
  std::vector<unsigned char> bytes;
  bytes.reserve(text.size() / 4 * 3 + 3);
  std::uint32_t bits = 0;
  int bitCount = 0;
  for (const char character : text) {
    const std::uint8_t value = kValues[static_cast<unsigned char>(character)];
    if (value == kInvalid) break;
    bits = bits << 6 | value;
    bitCount += 6;
    if (bitCount >= 8) {
      bitCount -= 8;
      bytes.push_back(static_cast<unsigned char>(bits >> bitCount));
      bits &= (1U << bitCount) - 1;
    }
  }
  return bytes;
}

}  // namespace base64
