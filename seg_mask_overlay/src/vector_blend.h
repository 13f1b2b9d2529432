#pragma once

// The blend by vector units, for whoever has found a line (BlendTable.h).

#include <cstddef>
#include <vector>

#include "BlendTable.h"

namespace seg_mask_overlay {

/// Rows of bytes and the mask bytes over them, which say what of them is drawn.
struct MaskedRows {
  unsigned char* samples;  ///< the first byte of the first row
  std::ptrdiff_t pitch;    ///< from one row to the next
  const unsigned char* mask;
  std::ptrdiff_t maskPitch;
  std::size_t bytes;  ///< of a row
  int rows;
};

/// One generation of vector units. The blends draw nothing and return false where a row is shorter than a
/// vector. A row of chroma lies under two rows of the mask, and its even bytes are U, its odd ones V.
struct VectorUnits {
  const char* name;
  BlendTable (*makeTable)(unsigned char color, float alpha);  ///< what makeBlendTable does
  bool (*blendLuma)(const MaskedRows& area, const BlendLine& line);
  bool (*blendChroma)(const MaskedRows& area, const BlendLine& u, const BlendLine& v);
};

/// Those that both this build and this processor have, the fastest first; none on x86-64 before SSSE3.
const std::vector<VectorUnits>& vectorUnits();

}  // namespace seg_mask_overlay
