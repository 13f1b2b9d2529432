#include "src/cipher_base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace cipher_base64 {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kInvalid = 0xFF;

constexpr std::array<uint8_t, 256> makeValues() {
  std::array<uint8_t, 256> values{};
  for (auto& value : values) value = kInvalid;
  for (uint8_t value = 0; value < 64; ++value) {
    values[static_cast<unsigned char>(kAlphabet[value])] = value;
  }
  return values;
}

constexpr std::array<uint8_t, 256> kValues = makeValues();

}  // namespace

std::string encode(const std::vector<unsigned char>& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '=');
  char* to = text.data();
  const auto write = [&to](uint32_t group, int characters) {
    for (int i = 0; i < characters; ++i) *to++ = kAlphabet[group >> (18 - 6 * i) & 0x3F];
  };
  const std::size_t rest = bytes.size() % 3;
  const unsigned char* from = bytes.data();
  for (const unsigned char* const end = from + (bytes.size() - rest); from != end; from += 3) {
    write(uint32_t{from[0]} << 16 | uint32_t{from[1]} << 8 | from[2], 4);
  }
  if (rest == 1) write(uint32_t{from[0]} << 16, 2);
  if (rest == 2) write(uint32_t{from[0]} << 16 | uint32_t{from[1]} << 8, 3);
  return text;
}

std::vector<unsigned char> decode(std::string_view text) {
  std::vector<unsigned char> bytes;
  bytes.reserve(text.size() / 4 * 3 + 3);
  uint32_t bits = 0;
  int bitCount = 0;
  for (const char character : text) {
    const uint8_t value = kValues[static_cast<unsigned char>(character)];
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

}  // namespace cipher_base64
