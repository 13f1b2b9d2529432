#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace seg_mask {

/// What decodeBase64 gives, character by character: the scalar reference,one table look-up each.
inline std::vector<uint8_t> scalarDecodeBase64(std::string_view text, std::size_t limit) {
  static constexpr uint8_t kInvalid = 0xFF;
  static const std::array<uint8_t, 256> values = [] {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<uint8_t, 256> table{};
    table.fill(kInvalid);
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
      table[static_cast<unsigned char>(alphabet[i])] = static_cast<uint8_t>(i);
    }
    return table;
  }();

  std::vector<uint8_t> bytes;
  bytes.reserve(limit);
  uint32_t pending = 0;
  int pendingBits = 0;
  for (const char c : text) {
    if (c == '=' || bytes.size() == limit) break;
    const uint8_t value = values[static_cast<unsigned char>(c)];
    if (value == kInvalid) continue;
    pending = (pending << 6) | value;
    pendingBits += 6;
    if (pendingBits < 8) continue;
    pendingBits -= 8;
    bytes.push_back(static_cast<uint8_t>(pending >> pendingBits));
    pending &= (1U << pendingBits) - 1;
  }
  return bytes;
}

}  // namespace seg_mask
