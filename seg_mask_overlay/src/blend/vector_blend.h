#pragma once

// The blend by vector units, for whoever has found a line (BlendTable.h).

#include <array>
#include <cstddef>

#include "blend/BlendTable.h"

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

/// Up to two of them, the fastest first. It needs no memory to be had: a stream asks for the units while it
/// works, where nothing may be thrown.
class VectorUnitsList {
 public:
  void add(const VectorUnits& units) { units_.at(size_++) = units; }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  const VectorUnits* begin() const { return units_.data(); }
  const VectorUnits* end() const { return units_.data() + size_; }
  const VectorUnits& operator[](std::size_t i) const { return units_[i]; }

 private:
  std::array<VectorUnits, 2> units_{};
  std::size_t size_ = 0;
};

/// Those that both this build and this processor have; none on x86-64 before SSSE3.
const VectorUnitsList& vectorUnits();

}  // namespace seg_mask_overlay
