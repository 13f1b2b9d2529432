#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mask/mask_bits.h"

namespace seg_mask {

/// Run lengths count pixels column by column, each column from the top: so many outside, so many inside, and
/// so on. A run may go on in the next column. Together they are width * height. This is how the COCO data set
/// writes masks, and its compressed text is read and written here too.
///
/// The text: each number in groups of five bits, the lowest first, a group as one character from "0" (0) to
/// "o" (63). Bit 5 of a character says that another group follows; bit 4 of the last group is the number's
/// sign. From the fourth run on the number is the difference to the run two before.
///
/// For example the runs 3 2 1 2 are 0x03, 0x02, 0x01 and 2 - 2 = 0x00: "3210".

/// Why run lengths are no mask.
enum class RunLengthsFault {
  Character,      ///< one that the text cannot have
  Unfinished,     ///< the text ends within a number
  TooLarge,       ///< a number of the text beyond 60 bits
  Negative,       ///< a run below 0
  TooManyPixels,  ///< runs that are longer than the mask
  TooFewPixels    ///< runs that end before it
};

/// The mask of `width` x `height` pixels, both at least 1, that `runs` describe. Nothing when they are not
/// valid; `fault` has the reason then. Throws std::bad_alloc when memory runs out.
std::optional<MaskBits> decodeRunLengths(const std::vector<int64_t>& runs, int width, int height,
                                         RunLengthsFault& fault);

/// The same from the compressed text.
std::optional<MaskBits> decodeCompressedRunLengths(std::string_view text, int width, int height,
                                                   RunLengthsFault& fault);

/// The mask's run lengths as the compressed text. Throws std::bad_alloc when memory runs out.
std::string encodeCompressedRunLengths(const MaskView& mask);

}  // namespace seg_mask
