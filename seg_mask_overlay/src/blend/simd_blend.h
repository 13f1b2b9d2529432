#pragma once

// The blend in SIMD code, for launches whose table has a fixed-point fit (BlendTable.h).

#include <array>
#include <cstddef>

#include "blend/BlendTable.h"

namespace seg_mask_overlay {

/// Rows of bytes, and the mask bytes that select the drawn ones.
struct MaskedRows {
  unsigned char* samples;  ///< the first byte of the first row
  std::ptrdiff_t pitch;    ///< from one row to the next
  const unsigned char* mask;
  std::ptrdiff_t maskPitch;
  std::size_t bytes;  ///< of a row
  int rows;
};

/// Bytes of a row, `to` excluded.
struct Span {
  int from, to;
};

/// Rows of bytes of which the same spans are drawn in each.
struct SpannedRows {
  unsigned char* samples;  ///< the first byte of the first row
  std::ptrdiff_t pitch;    ///< from one row to the next
  int bytes;               ///< of a row; those between the spans may be written as they were
  int rows;
  const Span* spans;  ///< not empty, in order, apart from each other
  int count;
};

/// One generation of SIMD instructions. The blends draw nothing and return false where a row is shorter than
/// a vector. The even bytes of a row of chroma are U, its odd ones V; it lies under two rows of the mask, and
/// its spans begin and end at even bytes.
struct SimdTarget {
  const char* name;
  BlendTable (*makeTable)(unsigned char color, float alpha);  ///< what makeBlendTable does
  bool (*blendLuma)(const MaskedRows& area, const BlendFit& fit);
  bool (*blendChroma)(const MaskedRows& area, const BlendFit& u, const BlendFit& v);
  bool (*blendLumaSpans)(const SpannedRows& area, const BlendFit& fit);
  bool (*blendChromaSpans)(const SpannedRows& area, const BlendFit& u, const BlendFit& v);
};

/// Up to two targets, the fastest first. Making the list allocates nothing, because a stream makes it in a
/// host function, where nothing may be thrown.
class SimdTargetList {
 public:
  void add(const SimdTarget& target) { targets_.at(size_++) = target; }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  const SimdTarget* begin() const { return targets_.data(); }
  const SimdTarget* end() const { return targets_.data() + size_; }
  const SimdTarget& operator[](std::size_t i) const { return targets_[i]; }

 private:
  std::array<SimdTarget, 2> targets_{};
  std::size_t size_ = 0;
};

/// The targets that both this build and this processor have; none on x86-64 before SSSE3.
const SimdTargetList& simdTargets();

}  // namespace seg_mask_overlay
