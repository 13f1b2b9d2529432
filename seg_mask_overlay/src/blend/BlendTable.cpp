#include "blend/BlendTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "blend/nv12_blend.h"

namespace seg_mask_overlay {
namespace {

/// Packs eight bytes that are 0 or 1 into the bits of one byte, the first byte lowest.
uint8_t packed(const uint8_t* flags) {
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first byte is the lowest of the word");
  uint64_t word;
  std::memcpy(&word, flags, sizeof(word));
  word |= word >> 7;   // joins the bits of two neighbours in the lower one's byte
  word |= word >> 14;  // of four
  word |= word >> 28;  // of all eight in the lowest
  return static_cast<uint8_t>(word);
}

}  // namespace

BlendTable makeBlendTable(unsigned char color, float alpha) {
  BlendTable table;
  for (std::size_t old = 0; old < table.size(); ++old) {
    table[old] = blendByte(static_cast<unsigned char>(old), color, alpha);
  }
  return table;
}

std::optional<BlendFit> fitTable(const BlendTable& table, float alpha) {
  if (!(alpha >= 0.0F && alpha <= 1.0F)) return std::nullopt;
  const auto slope = static_cast<uint16_t>(std::min(65535L, std::lround((1.0F - alpha) * 65536.0F)));

  // Two loops in 16-bit arithmetic, which any compiler vectorises. `start` gives the highest line that is
  // nowhere above the table.
  std::array<uint16_t, 256> rises;
  uint16_t start = 65535;
  for (uint32_t old = 0; old < 256; ++old) {
    const auto scaled = static_cast<uint16_t>(old << 8);
    rises[old] = static_cast<uint16_t>((uint32_t{scaled} * slope) >> 16);
    start = std::min(start, static_cast<uint16_t>(256 * table[old] + 255 - rises[old]));
  }
  std::array<uint8_t, 256> missing;
  for (uint32_t old = 0; old < 256; ++old) {
    const auto sum = static_cast<uint16_t>(rises[old] + start);
    missing[old] = static_cast<uint8_t>(table[old] - static_cast<uint8_t>(sum >> 8));
  }
  const uint8_t most = *std::max_element(missing.begin(), missing.end());
  if (most > 1) return std::nullopt;

  BlendFit fit{slope, start, {}, most != 0};
  for (std::size_t i = 0; i < fit.corrections.size(); ++i) fit.corrections[i] = packed(&missing[8 * i]);
  return fit;
}

}  // namespace seg_mask_overlay
