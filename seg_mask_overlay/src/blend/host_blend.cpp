#include "blend/host_blend.h"

#include <cstddef>
#include <cstdint>

#include "blend/nv12_blend.h"

namespace seg_mask_overlay {
namespace {

constexpr BlendTable makeUndrawn() {
  BlendTable table{};
  for (std::size_t old = 0; old < table.size(); ++old) table[old] = static_cast<uint8_t>(old);
  return table;
}

/// A sample that is not drawn keeps its byte. With two tables no branch depends on the mask.
constexpr BlendTable kUndrawn = makeUndrawn();

void lookUp(unsigned char& sample, const BlendTable& drawn, bool isDrawn) {
  sample = (isDrawn ? drawn : kUndrawn)[sample];
}

// The next four functions blend boxes narrower than a vector, and weights that no configuration can hold.
// They are slow: one byte at a time.

void lookUpLuma(const MaskedRows& area, const BlendTable& table) {
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    const unsigned char* mask = area.mask + row * area.maskPitch;
    for (std::size_t x = 0; x < area.bytes; ++x) lookUp(samples[x], table, mask[x] != 0);
  }
}

void lookUpChroma(const MaskedRows& area, const BlendTable& tableU, const BlendTable& tableV) {
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    const unsigned char* top = area.mask + 2 * (row * area.maskPitch);
    const unsigned char* bottom = top + area.maskPitch;
    for (std::size_t x = 0; x < area.bytes; x += 2) {
      const bool isDrawn = (top[x] | top[x + 1] | bottom[x] | bottom[x + 1]) != 0;
      lookUp(samples[x], tableU, isDrawn);
      lookUp(samples[x + 1], tableV, isDrawn);
    }
  }
}

/// Looks even bytes of the spans up in one table, odd bytes in the other.
void lookUpSpans(const SpannedRows& area, const BlendTable& even, const BlendTable& odd) {
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    for (int i = 0; i < area.count; ++i) {
      for (int x = area.spans[i].from; x < area.spans[i].to; ++x) {
        samples[x] = (x % 2 == 0 ? even : odd)[samples[x]];
      }
    }
  }
}

}  // namespace

const SimdTarget* fastestSimdTarget() {
  return simdTargets().empty() ? nullptr : simdTargets().begin();
}

ChannelBlend makeChannelBlend(unsigned char color, float alpha, const SimdTarget* target) {
  ChannelBlend channel{target ? target->makeTable(color, alpha) : makeBlendTable(color, alpha), std::nullopt};
  channel.fit = fitTable(channel.table, alpha);
  return channel;
}

void blendLumaRows(const MaskedRows& area, const ChannelBlend& y, const SimdTarget* target) {
  if (target && y.fit && target->blendLuma(area, *y.fit)) return;
  lookUpLuma(area, y.table);
}

void blendChromaRows(const MaskedRows& area, const ChannelBlend& u, const ChannelBlend& v,
                     const SimdTarget* target) {
  if (target && u.fit && v.fit && target->blendChroma(area, *u.fit, *v.fit)) return;
  lookUpChroma(area, u.table, v.table);
}

void blendLumaSpans(const SpannedRows& area, const ChannelBlend& y, const SimdTarget* target) {
  if (target && y.fit && target->blendLumaSpans(area, *y.fit)) return;
  lookUpSpans(area, y.table, y.table);
}

void blendChromaSpans(const SpannedRows& area, const ChannelBlend& u, const ChannelBlend& v,
                      const SimdTarget* target) {
  if (target && u.fit && v.fit && target->blendChromaSpans(area, *u.fit, *v.fit)) return;
  lookUpSpans(area, u.table, v.table);
}

// NOLINTNEXTLINE(readability-non-const-parameter): the plane is written through MaskedRows
void blendLuma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, LumaRect rect,
               unsigned char color, float alpha, const SimdTarget* target) {
  if (rect.empty()) return;
  const MaskedRows area{plane + sampleOffset(rect.y0, pitch, rect.x0),    pitch,
                        mask + sampleOffset(rect.y0, maskPitch, rect.x0), maskPitch,
                        static_cast<std::size_t>(rect.x1 - rect.x0) + 1,  rect.y1 - rect.y0 + 1};
  blendLumaRows(area, makeChannelBlend(color, alpha, target), target);
}

// NOLINTNEXTLINE(readability-non-const-parameter): the plane is written through MaskedRows
void blendChroma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, ChromaRect rect,
                 unsigned char colorU, unsigned char colorV, float alpha, const SimdTarget* target) {
  if (rect.empty()) return;
  const MaskedRows area{plane + sampleOffset(rect.y0, pitch, 2 * rect.x0),        pitch,
                        mask + sampleOffset(2 * rect.y0, maskPitch, 2 * rect.x0), maskPitch,
                        2 * static_cast<std::size_t>(rect.x1 - rect.x0),          rect.y1 - rect.y0};
  blendChromaRows(area, makeChannelBlend(colorU, alpha, target), makeChannelBlend(colorV, alpha, target),
                  target);
}

}  // namespace seg_mask_overlay
