#include "host_blend.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "BlendTable.h"
#include "nv12_blend.h"

// Compiles the part down to HWY_ONCE once for each generation of vector units, of which the one that the
// processor has is chosen at run time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "host_blend.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef SEG_MASK_HOST_BLEND_ROWS
#define SEG_MASK_HOST_BLEND_ROWS
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

}  // namespace seg_mask_overlay
#endif

HWY_BEFORE_NAMESPACE();
namespace seg_mask_overlay {
namespace HWY_NAMESPACE {

// blendLumaRows and blendChromaRows draw nothing and return false where there are no vector units or the rows
// are shorter than a vector. All else is inlined into them: with a vector as its argument, no function clears
// the upper halves of the registers before it returns, and everything compiled for older units crawls then.

#if HWY_TARGET == HWY_SCALAR

// A processor whose vector units Highway does not know.
bool blendLumaRows(const MaskedRows&, BlendLine) {
  return false;
}
bool blendChromaRows(const MaskedRows&, BlendLine, BlendLine) {
  return false;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// No wider than what narrow boxes fill.
using Bytes = hn::CappedTag<uint8_t, 32>;
using Words = hn::RepartitionToWide<Bytes>;
using BytesVec = hn::Vec<Bytes>;

/// The mask bytes over luma samples.
class LumaCover {
 public:
  LumaCover(const unsigned char* mask, std::ptrdiff_t) : mask_(mask) {}

  HWY_INLINE BytesVec from(std::size_t x) const { return hn::LoadU(Bytes(), mask_ + x); }

 private:
  const unsigned char* mask_;
};

/// For each U, V pair two bytes, which are not 0 where the mask touches the pair's 2x2 block.
class ChromaCover {
 public:
  ChromaCover(const unsigned char* mask, std::ptrdiff_t pitch) : top_(mask), bottom_(mask + pitch) {}

  HWY_INLINE BytesVec from(std::size_t x) const {
    const Words words;
    const auto block =
        hn::BitCast(words, hn::Or(hn::LoadU(Bytes(), top_ + x), hn::LoadU(Bytes(), bottom_ + x)));
    return hn::BitCast(Bytes(), hn::VecFromMask(words, hn::Ne(block, hn::Zero(words))));
  }

 private:
  const unsigned char* top_;
  const unsigned char* bottom_;
};

/// Blends the bytes at `samples` whose `cover` is not 0: those at even places by one line, those at odd
/// places by another. A word holds one of each, the even one in its low half.
HWY_INLINE void blendVector(unsigned char* samples, BytesVec cover, BlendLine even, BlendLine odd) {
  const Bytes bytes;
  const Words words;
  const auto drawn = hn::Ne(cover, hn::Zero(bytes));
  if (hn::AllFalse(bytes, drawn)) return;
  const auto highHalf = hn::Set(words, 0xFF00);
  const BytesVec old = hn::LoadU(bytes, samples);
  const auto pairs = hn::BitCast(words, old);
  const auto evenSum =
      hn::Add(hn::MulHigh(hn::ShiftLeft<8>(pairs), hn::Set(words, even.slope)), hn::Set(words, even.start));
  const auto oddSum =
      hn::Add(hn::MulHigh(hn::And(pairs, highHalf), hn::Set(words, odd.slope)), hn::Set(words, odd.start));
  const auto blended = hn::Or(hn::ShiftRight<8>(evenSum), hn::And(oddSum, highHalf));
  hn::StoreU(hn::IfThenElse(drawn, hn::BitCast(bytes, blended), old), bytes, samples);
}

template <class Cover>
HWY_INLINE void blendRows(const MaskedRows& area, int maskRows, BlendLine even, BlendLine odd) {
  const Bytes bytes;
  const std::size_t lanes = hn::Lanes(bytes);
  const std::size_t tail = area.bytes - lanes;
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    const Cover cover(area.mask + row * maskRows * area.maskPitch, area.maskPitch);
    std::size_t x = 0;
    for (; x <= tail; x += lanes) blendVector(samples + x, cover.from(x), even, odd);
    if (x == area.bytes) continue;
    // The last vector ends with the row and begins with bytes that are drawn already.
    const auto done = hn::FirstN(bytes, x - tail);
    blendVector(samples + tail, hn::IfThenZeroElse(done, cover.from(tail)), even, odd);
  }
}

HWY_ATTR bool blendLumaRows(const MaskedRows& area, BlendLine line) {
  if (area.bytes < hn::Lanes(Bytes())) return false;
  blendRows<LumaCover>(area, 1, line, line);
  return true;
}

HWY_ATTR bool blendChromaRows(const MaskedRows& area, BlendLine u, BlendLine v) {
  if (area.bytes < hn::Lanes(Bytes())) return false;
  blendRows<ChromaCover>(area, 2, u, v);
  return true;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace seg_mask_overlay
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace seg_mask_overlay {

HWY_EXPORT(blendLumaRows);
HWY_EXPORT(blendChromaRows);

namespace {

/// Table look-ups that need no decision a sample: undrawn ones keep their byte.
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

// The way for what has no line and for narrow boxes, at some nanosecond a sample.

void lookUpLuma(const MaskedRows& area, const LookUp& lookUp) {
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    const unsigned char* mask = area.mask + row * area.maskPitch;
    for (std::size_t x = 0; x < area.bytes; ++x) lookUp.apply(samples[x], mask[x] != 0);
  }
}

void lookUpChroma(const MaskedRows& area, const LookUp& lookUpU, const LookUp& lookUpV) {
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    const unsigned char* top = area.mask + 2 * row * area.maskPitch;
    const unsigned char* bottom = top + area.maskPitch;
    for (std::size_t x = 0; x < area.bytes; x += 2) {
      const bool isDrawn = (top[x] | top[x + 1] | bottom[x] | bottom[x + 1]) != 0;
      lookUpU.apply(samples[x], isDrawn);
      lookUpV.apply(samples[x + 1], isDrawn);
    }
  }
}

}  // namespace

void blendLuma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, LumaRect rect,
               unsigned char color, float alpha) {
  if (rect.empty()) return;
  const MaskedRows area{plane + sampleOffset(rect.y0, pitch, rect.x0),    pitch,
                        mask + sampleOffset(rect.y0, maskPitch, rect.x0), maskPitch,
                        static_cast<std::size_t>(rect.x1 - rect.x0) + 1,  rect.y1 - rect.y0 + 1};
  const BlendTable table = makeBlendTable(color, alpha);
  const std::optional<BlendLine> line = lineThrough(table, alpha);
  if (line && HWY_DYNAMIC_DISPATCH(blendLumaRows)(area, *line)) return;
  lookUpLuma(area, LookUp(table));
}

void blendChroma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, ChromaRect rect,
                 unsigned char colorU, unsigned char colorV, float alpha) {
  if (rect.empty()) return;
  const MaskedRows area{plane + sampleOffset(rect.y0, pitch, 2 * rect.x0),        pitch,
                        mask + sampleOffset(2 * rect.y0, maskPitch, 2 * rect.x0), maskPitch,
                        2 * static_cast<std::size_t>(rect.x1 - rect.x0),          rect.y1 - rect.y0};
  const BlendTable tableU = makeBlendTable(colorU, alpha);
  const BlendTable tableV = makeBlendTable(colorV, alpha);
  const std::optional<BlendLine> lineU = lineThrough(tableU, alpha);
  const std::optional<BlendLine> lineV = lineThrough(tableV, alpha);
  if (lineU && lineV && HWY_DYNAMIC_DISPATCH(blendChromaRows)(area, *lineU, *lineV)) return;
  lookUpChroma(area, LookUp(tableU), LookUp(tableV));
}

}  // namespace seg_mask_overlay
#endif
