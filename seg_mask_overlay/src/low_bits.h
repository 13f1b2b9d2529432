#pragma once

#include <cstdint>

namespace seg_mask_overlay {

/// What a 32-bit setting or coordinate keeps of a 64-bit integer: its low bits, as a signed number.
constexpr int32_t lowBits(int64_t value) {
  return static_cast<int32_t>(static_cast<uint32_t>(value));
}

}  // namespace seg_mask_overlay
