#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "mask/mask_rows.h"

namespace seg_mask {

/// Sets those of the bits from `first` on, counted from the lowest bit of the first byte, that are set in
/// `from`. The others stay. `to` has room for all of them.
void orBits(const PackedRow& from, std::vector<uint8_t>& to, std::size_t first);

}  // namespace seg_mask
