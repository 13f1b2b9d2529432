#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace seg_mask {

/// A binary mask, one bit a pixel: row by row without padding, the least significant bit of a byte first.
/// Both dimensions are at least 1, and `bits` holds the (width * height + 7) / 8 bytes that they need.
struct MaskBits {
  int width;
  int height;
  std::vector<uint8_t> bits;

  bool inside(std::size_t pixel) const { return ((bits[pixel / 8] >> (pixel % 8)) & 1U) != 0; }
};

/// The mask of `height` rows of `width` bytes, `stride` bytes from one row to the next: any non-zero byte is
/// inside. Both dimensions are at least 1. Throws std::bad_alloc when memory runs out.
MaskBits packMask(const unsigned char* pixels, int width, int height, std::ptrdiff_t stride);

/// The mask as "SEG1|width|height|base64", padded, so that any decoder takes it. What decodeMaskText reads
/// back is the same mask. `mask.bits` may hold more bytes than the mask needs; they are left out. Throws
/// std::bad_alloc when memory runs out.
std::string encodeMaskText(const MaskBits& mask);

/// Decodes "SEG1|width|height|base64": the bits above, in base64. Further fields after another "|" are
/// ignored.
///
/// Width and height are decimal 32-bit numbers; leading white space and a sign are accepted, and whatever
/// follows the digits in the field is ignored. The base64 may hold any other characters in between (they are
/// skipped) and ends at the first "=" or with its field; padding is not needed, extra data is ignored.
/// Nothing when the text is anything else: too few fields, a dimension that is no number or not positive, too
/// little data. Leaves errno as it was.
///
/// For example SEG1|4|2|Dw== is the byte 0x0F: four pixels inside, then four outside.
std::optional<MaskBits> decodeMaskText(const std::string& text);

}  // namespace seg_mask
