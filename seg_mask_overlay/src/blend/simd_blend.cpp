#include "blend/simd_blend.h"

#include <cstdint>

// Highway compiles the part down to HWY_ONCE once for each of these targets, in a namespace of its own. The
// choice among them is made here and not by Highway, so that its headers are enough and the plug-in needs no
// library of it. More x86 targets would gain nothing: vectors wider than 32 bytes would not fit into narrow
// boxes.
#define HWY_DISABLED_TARGETS \
  (HWY_AVX3_DL | HWY_AVX3 | HWY_SSE4 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "blend/simd_blend.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#if HWY_TARGET & (HWY_AVX2 | HWY_SSSE3 | HWY_NEON)
HWY_BEFORE_NAMESPACE();
namespace seg_mask_overlay {
namespace HWY_NAMESPACE {

// Everything is inlined into the four blend functions at the end: GCC leaves out vzeroupper in a function
// that takes a vector, and code for older targets then runs many times slower.

namespace hn = hwy::HWY_NAMESPACE;

/// At most 32 bytes, so that narrow boxes fill a vector.
using Bytes = hn::CappedTag<uint8_t, 32>;
using Words = hn::RepartitionToWide<Bytes>;
using BytesVec = hn::Vec<Bytes>;
using WordsVec = hn::Vec<Words>;

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

/// A BlendFit in registers.
class Fit {
 public:
  HWY_INLINE explicit Fit(const BlendFit& fit)
      : slope_(hn::Set(Words(), fit.slope)),
        start_(hn::Set(Words(), fit.start)),
        correctionsBelow128_(hn::LoadDup128(Bytes(), fit.corrections.data())),
        correctionsAbove_(hn::LoadDup128(Bytes(), fit.corrections.data() + 16)) {}

  /// From words with old bytes in the high half, words with the fit's bytes in the high half.
  HWY_INLINE WordsVec at(WordsVec old) const { return hn::Add(hn::MulHigh(old, slope_), start_); }

  /// For each old byte the byte of `corrections` that has its bit.
  HWY_INLINE BytesVec correctionsAround(BytesVec old) const {
    const BytesVec eighths = hn::BitCast(Bytes(), hn::ShiftRight<3>(hn::BitCast(Words(), old)));
    const BytesVec index = hn::And(eighths, hn::Set(Bytes(), 15));
    const hn::RebindToSigned<Bytes> signedBytes;
    const auto isAbove =
        hn::RebindMask(Bytes(), hn::Lt(hn::BitCast(signedBytes, old), hn::Zero(signedBytes)));
    return hn::IfThenElse(isAbove, hn::TableLookupBytes(correctionsAbove_, index),
                          hn::TableLookupBytes(correctionsBelow128_, index));
  }

 private:
  WordsVec slope_;
  WordsVec start_;
  BytesVec correctionsBelow128_;
  BytesVec correctionsAbove_;
};

/// The same fit for all bytes.
class LumaFits {
 public:
  HWY_INLINE explicit LumaFits(const BlendFit& fit) : fit_(fit) {}

  HWY_INLINE const Fit& even() const { return fit_; }
  HWY_INLINE const Fit& odd() const { return fit_; }
  HWY_INLINE BytesVec correctionsAround(BytesVec old) const { return fit_.correctionsAround(old); }

 private:
  Fit fit_;
};

/// One fit for the bytes at even places, one for those at odd places.
class ChromaFits {
 public:
  HWY_INLINE ChromaFits(const BlendFit& u, const BlendFit& v) : u_(u), v_(v) {}

  HWY_INLINE const Fit& even() const { return u_; }
  HWY_INLINE const Fit& odd() const { return v_; }
  HWY_INLINE BytesVec correctionsAround(BytesVec old) const {
    const BytesVec highHalf = hn::BitCast(Bytes(), hn::Set(Words(), 0xFF00));
    return hn::Or(hn::And(v_.correctionsAround(old), highHalf),
                  hn::AndNot(highHalf, u_.correctionsAround(old)));
  }

 private:
  Fit u_;
  Fit v_;
};

/// The old bytes on the straight lines of their fits. A word holds an even and an odd one, the even one in
/// its low half.
template <class Fits>
HWY_INLINE BytesVec onLine(BytesVec old, const Fits& fits) {
  const Words words;
  const auto highHalf = hn::Set(words, 0xFF00);
  const auto pairs = hn::BitCast(words, old);
  const auto even = hn::ShiftRight<8>(fits.even().at(hn::ShiftLeft<8>(pairs)));
  const auto odd = hn::And(fits.odd().at(hn::And(pairs, highHalf)), highHalf);
  return hn::BitCast(Bytes(), hn::Or(even, odd));
}

/// For each old byte -1 if it is corrected, otherwise 0.
template <class Fits>
HWY_INLINE BytesVec corrections(BytesVec old, const Fits& fits) {
  alignas(16) static constexpr uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  const Bytes bytes;
  const BytesVec bit = hn::TableLookupBytes(hn::LoadDup128(bytes, kBits), hn::And(old, hn::Set(bytes, 7)));
  return hn::VecFromMask(bytes, hn::TestBit(fits.correctionsAround(old), bit));
}

template <bool kHasCorrections, class Fits>
HWY_INLINE BytesVec blended(BytesVec old, const Fits& fits) {
  const BytesVec result = onLine(old, fits);
  if constexpr (kHasCorrections) return hn::Sub(result, corrections(old, fits));
  return result;
}

/// Blends the bytes at `samples` whose `cover` is not 0.
template <bool kHasCorrections, class Fits>
HWY_INLINE void blendVector(unsigned char* samples, BytesVec cover, const Fits& fits) {
  const Bytes bytes;
  const auto undrawn = hn::Eq(cover, hn::Zero(bytes));
  if (hn::AllTrue(bytes, undrawn)) return;
  const BytesVec old = hn::LoadU(bytes, samples);
  hn::StoreU(hn::IfThenElse(undrawn, old, blended<kHasCorrections>(old, fits)), bytes, samples);
}

template <class Cover, bool kHasCorrections, class Fits>
HWY_INLINE void blendRows(const MaskedRows& area, int maskRows, const Fits& fits) {
  const Bytes bytes;
  const std::size_t lanes = hn::Lanes(bytes);
  const std::size_t tail = area.bytes - lanes;
  for (int row = 0; row < area.rows; ++row) {
    unsigned char* samples = area.samples + row * area.pitch;
    const Cover cover(area.mask + row * maskRows * area.maskPitch, area.maskPitch);
    std::size_t x = 0;
    for (; x <= tail; x += lanes) blendVector<kHasCorrections>(samples + x, cover.from(x), fits);
    if (x == area.bytes) continue;
    // The last vector ends with the row and begins with bytes that are drawn already.
    const auto done = hn::FirstN(bytes, x - tail);
    blendVector<kHasCorrections>(samples + tail, hn::IfThenZeroElse(done, cover.from(tail)), fits);
  }
}

/// Asks for the bytes of a span some rows ahead: in a frame that no cache holds, its rows lie too far apart
/// for the processor to find the next one by itself.
HWY_INLINE void prefetchSpan(const unsigned char* row, std::ptrdiff_t pitch, Span span) {
  constexpr int kRowsAhead = 8;  // fewer come too late, more leave the first cache before they are read
  constexpr int kCacheLine = 64;
  const unsigned char* const ahead = row + kRowsAhead * pitch;
  for (int x = span.from & -kCacheLine; x < span.to; x += kCacheLine) __builtin_prefetch(ahead + x, 1);
}

/// Blends a span in all rows: whole vectors from its beginning, then what remains of it by one more vector,
/// which lies within the row and of which only that remainder is drawn, because a byte is blended once.
template <bool kHasCorrections, class Fits>
HWY_INLINE void blendSpan(const SpannedRows& area, Span span, const Fits& fits) {
  const Bytes bytes;
  const int lanes = static_cast<int>(hn::Lanes(bytes));
  const int whole = span.from + (span.to - span.from) / lanes * lanes;
  const int last = whole + lanes <= area.bytes ? whole : area.bytes - lanes;
  const auto remainder = hn::AndNot(hn::FirstN(bytes, static_cast<std::size_t>(whole - last)),
                                    hn::FirstN(bytes, static_cast<std::size_t>(span.to - last)));
  unsigned char* row = area.samples;
  for (int i = 0; i < area.rows; ++i, row += area.pitch) {
    prefetchSpan(row, area.pitch, span);
    for (int x = span.from; x < whole; x += lanes) {
      hn::StoreU(blended<kHasCorrections>(hn::LoadU(bytes, row + x), fits), bytes, row + x);
    }
    if (whole == span.to) continue;
    const BytesVec old = hn::LoadU(bytes, row + last);
    hn::StoreU(hn::IfThenElse(remainder, blended<kHasCorrections>(old, fits), old), bytes, row + last);
  }
}

template <bool kHasCorrections, class Fits>
HWY_INLINE void blendSpans(const SpannedRows& area, const Fits& fits) {
  for (int i = 0; i < area.count; ++i) blendSpan<kHasCorrections>(area, area.spans[i], fits);
}

#if HWY_NATIVE_FMA
/// The same as makeBlendTable: the steps of blendByte, in the same order.
HWY_ATTR BlendTable makeTable(unsigned char color, float alpha) {
  const hn::CappedTag<float, 8> floats;
  const hn::RebindToSigned<decltype(floats)> ints;
  const hn::Rebind<uint8_t, decltype(floats)> bytes;
  const auto zero = hn::Zero(floats);
  const auto weight = hn::Set(floats, alpha);
  const auto remaining = hn::Set(floats, 1.0F - alpha);
  const auto drawn = hn::Set(floats, static_cast<float>(color));
  BlendTable table;
  for (std::size_t old = 0; old < table.size(); old += hn::Lanes(floats)) {
    const auto kept = hn::Mul(hn::ConvertTo(floats, hn::Iota(ints, static_cast<int32_t>(old))), remaining);
    const auto sum = hn::Add(hn::MulAdd(drawn, weight, kept), hn::Set(floats, 0.5F));
    const auto inRange = hn::IfThenElseZero(hn::Gt(sum, zero), hn::Min(sum, hn::Set(floats, 255.0F)));
    hn::StoreU(hn::DemoteTo(bytes, hn::ConvertTo(ints, inRange)), bytes, table.data() + old);
  }
  return table;
}
#else
BlendTable makeTable(unsigned char color, float alpha) {
  return makeBlendTable(color, alpha);
}
#endif

HWY_ATTR bool blendLumaRows(const MaskedRows& area, const BlendFit& fit) {
  if (area.bytes < hn::Lanes(Bytes())) return false;
  const LumaFits fits(fit);
  if (fit.hasCorrections) {
    blendRows<LumaCover, true>(area, 1, fits);
  } else {
    blendRows<LumaCover, false>(area, 1, fits);
  }
  return true;
}

HWY_ATTR bool blendChromaRows(const MaskedRows& area, const BlendFit& u, const BlendFit& v) {
  if (area.bytes < hn::Lanes(Bytes())) return false;
  const ChromaFits fits(u, v);
  if (u.hasCorrections || v.hasCorrections) {
    blendRows<ChromaCover, true>(area, 2, fits);
  } else {
    blendRows<ChromaCover, false>(area, 2, fits);
  }
  return true;
}

HWY_ATTR bool blendLumaSpans(const SpannedRows& area, const BlendFit& fit) {
  if (static_cast<std::size_t>(area.bytes) < hn::Lanes(Bytes())) return false;
  const LumaFits fits(fit);
  if (fit.hasCorrections) {
    blendSpans<true>(area, fits);
  } else {
    blendSpans<false>(area, fits);
  }
  return true;
}

HWY_ATTR bool blendChromaSpans(const SpannedRows& area, const BlendFit& u, const BlendFit& v) {
  if (static_cast<std::size_t>(area.bytes) < hn::Lanes(Bytes())) return false;
  const ChromaFits fits(u, v);
  if (u.hasCorrections || v.hasCorrections) {
    blendSpans<true>(area, fits);
  } else {
    blendSpans<false>(area, fits);
  }
  return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace seg_mask_overlay
HWY_AFTER_NAMESPACE();
#endif

#if HWY_ONCE
namespace seg_mask_overlay {
namespace {

SimdTargetList findSimdTargets() {
  SimdTargetList found;
#if HWY_TARGETS & HWY_AVX2
  // The compiler may use the other extensions together with AVX2.
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
      __builtin_cpu_supports("fma")) {
    found.add({"AVX2", N_AVX2::makeTable, N_AVX2::blendLumaRows, N_AVX2::blendChromaRows,
               N_AVX2::blendLumaSpans, N_AVX2::blendChromaSpans});
  }
#endif
#if HWY_TARGETS & HWY_SSSE3
  if (__builtin_cpu_supports("ssse3")) {
    found.add({"SSSE3", N_SSSE3::makeTable, N_SSSE3::blendLumaRows, N_SSSE3::blendChromaRows,
               N_SSSE3::blendLumaSpans, N_SSSE3::blendChromaSpans});
  }
#endif
#if HWY_TARGETS & HWY_NEON
  // Every 64-bit Arm processor has NEON.
  found.add({"NEON", N_NEON::makeTable, N_NEON::blendLumaRows, N_NEON::blendChromaRows,
             N_NEON::blendLumaSpans, N_NEON::blendChromaSpans});
#endif
  return found;
}

}  // namespace

const SimdTargetList& simdTargets() {
  static const SimdTargetList targets = findSimdTargets();
  return targets;
}

}  // namespace seg_mask_overlay
#endif
