#include "blend/host_blend.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "blend/BlendTable.h"
#include "blend/nv12_blend.h"

namespace seg_mask_overlay {
namespace {

/// Blends by table look-ups without a branch per sample: a sample that is not drawn keeps its byte.
class LookUp {
 public:
  explicit LookUp(const BlendTable& drawn) : drawn_(drawn) {
    for (std::size_t old = 0; old < undrawn_.size(); ++old) undrawn_[old] = static_cast<uint8_t>(old);
  }

  void apply(unsigned char& sample, bool isDrawn) const { sample = (isDrawn ? drawn_ : undrawn_)[sample]; }

 private:
  BlendTable drawn_;
  BlendTable undrawn_;
};

// The next two functions blend boxes narrower than a vector, and weights that no configuration can hold. They
// are slow: one byte at a time.

void lookUpLuma(const MaskedRows& area, const LookUp& tables) {
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    const unsigned char* mask = area.mask + row * area.maskPitch;
    for (std::size_t x = 0; x < area.bytes; ++x) tables.apply(samples[x], mask[x] != 0);
  }
}

void lookUpChroma(const MaskedRows& area, const LookUp& tablesU, const LookUp& tablesV) {
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    const unsigned char* top = area.mask + 2 * (row * area.maskPitch);
    const unsigned char* bottom = top + area.maskPitch;
    for (std::size_t x = 0; x < area.bytes; x += 2) {
      const bool isDrawn = (top[x] | top[x + 1] | bottom[x] | bottom[x + 1]) != 0;
      tablesU.apply(samples[x], isDrawn);
      tablesV.apply(samples[x + 1], isDrawn);
    }
  }
}

BlendTable tableOf(unsigned char color, float alpha, const SimdTarget* target) {
  return target ? target->makeTable(color, alpha) : makeBlendTable(color, alpha);
}

}  // namespace

const SimdTarget* fastestSimdTarget() {
  return simdTargets().empty() ? nullptr : simdTargets().begin();
}

// NOLINTNEXTLINE(readability-non-const-parameter): the plane is written through MaskedRows
void blendLuma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, LumaRect rect,
               unsigned char color, float alpha, const SimdTarget* target) {
  if (rect.empty()) return;
  const MaskedRows area{plane + sampleOffset(rect.y0, pitch, rect.x0),    pitch,
                        mask + sampleOffset(rect.y0, maskPitch, rect.x0), maskPitch,
                        static_cast<std::size_t>(rect.x1 - rect.x0) + 1,  rect.y1 - rect.y0 + 1};
  const BlendTable table = tableOf(color, alpha, target);
  const std::optional<BlendFit> fit = fitTable(table, alpha);
  if (target && fit && target->blendLuma(area, *fit)) return;
  lookUpLuma(area, LookUp(table));
}

// NOLINTNEXTLINE(readability-non-const-parameter): the plane is written through MaskedRows
void blendChroma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, ChromaRect rect,
                 unsigned char colorU, unsigned char colorV, float alpha, const SimdTarget* target) {
  if (rect.empty()) return;
  const MaskedRows area{plane + sampleOffset(rect.y0, pitch, 2 * rect.x0),        pitch,
                        mask + sampleOffset(2 * rect.y0, maskPitch, 2 * rect.x0), maskPitch,
                        2 * static_cast<std::size_t>(rect.x1 - rect.x0),          rect.y1 - rect.y0};
  const BlendTable tableU = tableOf(colorU, alpha, target);
  const BlendTable tableV = tableOf(colorV, alpha, target);
  const std::optional<BlendFit> fitU = fitTable(tableU, alpha);
  const std::optional<BlendFit> fitV = fitTable(tableV, alpha);
  if (target && fitU && fitV && target->blendChroma(area, *fitU, *fitV)) return;
  lookUpChroma(area, LookUp(tableU), LookUp(tableV));
}

}  // namespace seg_mask_overlay
