#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "mask/MaskArena.h"
#include "mask/mask_bits.h"

namespace seg_mask {

/// Why a text is no valid mask.
struct MaskTextFault {
  enum class Field { Prefix, Width, Height, Data };
  enum class Problem {
    Missing,      ///< the text has no such field, or does not begin with a known prefix
    NotANumber,   ///< of width and height: no digits
    OutOfRange,   ///< of width and height: beyond 32 bits
    NotPositive,  ///< of width and height: 0 or less
    TooShort      ///< of the data: see the byte counts below
  };

  Field field = Field::Prefix;
  Problem problem = Problem::Missing;
  uint64_t neededBytes = 0;   ///< for TooShort: the bytes that the dimensions need
  uint64_t presentBytes = 0;  ///< for TooShort: the bytes that the text holds
  int width = 0;              ///< for TooShort: the dimensions
  int height = 0;
};

/// Decodes a mask text by the format that its prefix names. The one format there is:
///
/// "SEG1|width|height|base64", the packed bits of MaskView in base64. Further fields after another "|" are
/// ignored. Width and height are decimal 32-bit numbers; leading white space and a sign are accepted, and
/// whatever follows the digits in the field is ignored. The base64 may hold any other characters in between
/// (they are skipped) and ends at the first "=" or with its field; padding is not needed, extra data is
/// ignored.
///
/// Nothing when the text is invalid; `fault`, where it is not null, then has the reason. Leaves errno as it
/// was. Throws std::bad_alloc when memory runs out.
///
/// For example SEG1|4|2|Dw== is the byte 0x0F: four pixels inside, then four outside.
std::optional<MaskBits> decodeMaskText(const std::string& text, MaskTextFault* fault = nullptr);

/// The same into memory of the arena, of which maskTextRoom(text) is enough. Valid as long as that is.
/// Without a `fault` it throws nothing; with one, std::bad_alloc when memory runs out while the data of a
/// refused text is counted.
std::optional<MaskView> decodeMaskText(const std::string& text, MaskArena& arena,
                                       MaskTextFault* fault = nullptr);

/// The most bytes of an arena that decoding `text` takes; 0 for a text that names no format or has no valid
/// dimensions.
std::size_t maskTextRoom(const std::string& text);

/// The mask as "SEG1|width|height|base64", padded, so that any decoder takes it. decodeMaskText reads the
/// same mask back. Throws std::bad_alloc when memory runs out.
std::string encodeMaskText(const MaskView& mask);

}  // namespace seg_mask
