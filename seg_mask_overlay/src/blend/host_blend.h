#pragma once

// The CPU device's blend: the same results as scalar_blend.h, computed for many bytes at a time. Samples of
// the rectangle that are not drawn may be written too, with their old value. So two threads must not draw
// overlapping rectangles, even if the masks do not overlap.

#include <optional>

#include "blend/BlendTable.h"
#include "blend/launch_geometry.h"
#include "blend/simd_blend.h"

namespace seg_mask_overlay {

/// The fastest SIMD target of this machine; null if it has none.
const SimdTarget* fastestSimdTarget();

/// What scalarBlendLuma does. Without a SIMD target every sample is looked up in a table.
void blendLuma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, LumaRect rect,
               unsigned char color, float alpha, const SimdTarget* target = fastestSimdTarget());

/// What scalarBlendChroma does, for a rectangle whose 2x2 blocks of luma lie within the frame, as those of
/// every chromaRect do.
void blendChroma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, ChromaRect rect,
                 unsigned char colorU, unsigned char colorV, float alpha,
                 const SimdTarget* target = fastestSimdTarget());

/// How one channel of a colour is blended with one weight.
struct ChannelBlend {
  BlendTable table;
  std::optional<BlendFit> fit;  ///< of the table, if there is one
};

/// Made by `target`, or in plain code if that is null. Any alpha will do; outside of 0 to 1 there is no fit.
ChannelBlend makeChannelBlend(unsigned char color, float alpha, const SimdTarget* target);

/// Blend the samples that mask bytes select, or spans (simd_blend.h), by `target` where that and a fit are
/// there and the rows are long enough, otherwise by the tables.
void blendLumaRows(const MaskedRows& area, const ChannelBlend& y, const SimdTarget* target);
void blendChromaRows(const MaskedRows& area, const ChannelBlend& u, const ChannelBlend& v,
                     const SimdTarget* target);
void blendLumaSpans(const SpannedRows& area, const ChannelBlend& y, const SimdTarget* target);
void blendChromaSpans(const SpannedRows& area, const ChannelBlend& u, const ChannelBlend& v,
                      const SimdTarget* target);

}  // namespace seg_mask_overlay
