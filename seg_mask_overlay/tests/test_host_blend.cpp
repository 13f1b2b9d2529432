// The CPU device's blend against the scalar one, with each SIMD target that this machine
// has.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "blend/host_blend.h"
#include "blend/nv12_blend.h"
#include "blend/scalar_blend.h"
#include "gpu/LaunchCase.h"

namespace seg_mask_overlay {
namespace {

using gpu_check::LaunchCase;
using gpu_check::MaskKind;
using Memory = std::vector<unsigned char>;

/// What the launch's two blends make of its memory: planes, mask, spare columns and guard bytes.
Memory drawn(const LaunchCase& launch, Memory bytes, const SimdTarget* target) {
  const auto [y, uv, mask] = gpu_check::planesIn(bytes.data(), launch);
  const LumaRect luma = launchRect(y, uv, mask, launch.frame.width, launch.frame.height, launch.rect);
  if (luma.empty()) return bytes;
  blendLuma(y, launch.yPitch, mask, launch.maskPitch, luma, launch.colorY, launch.alpha, target);
  blendChroma(uv, launch.uvPitch, mask, launch.maskPitch, chromaRect(luma), launch.colorU, launch.colorV,
              launch.alpha, target);
  return bytes;
}

Memory drawnPlainly(const LaunchCase& launch, Memory bytes) {
  gpu_check::blendOnHost(launch, bytes);
  return bytes;
}

constexpr MaskKind kMasks[] = {MaskKind::random, MaskKind::sparse, MaskKind::full};

/// Its parameter is a SIMD target; null for none.
class HostBlend : public testing::TestWithParam<const SimdTarget*> {
 protected:
  static void expectSame(const LaunchCase& launch, const Memory& bytes) {
    ASSERT_TRUE(drawn(launch, bytes, GetParam()) == drawnPlainly(launch, bytes)) << launch;
  }
};

TEST_P(HostBlend, DrawsThePlainBytesInRandomFrames) {
  constexpr unsigned kSeed = 1;
  std::mt19937 random(kSeed);
  for (int i = 0; i < 3000; ++i) {
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ", case " + std::to_string(i));
    const LaunchCase launch = gpu_check::randomCase(random, i % 2 == 0 ? 40 : 200);
    expectSame(launch, gpu_check::randomBytes(launch, kMasks[i % 3], random));
    if (HasFatalFailure()) return;
  }
}

// Rows shorter than a vector, of one vector exactly, and with every remainder behind one, from every column.
TEST_P(HostBlend, DrawsThePlainBytesInRowsOfEveryLength) {
  std::mt19937 random(2);
  for (int width = 1; width <= 100; ++width) {
    LaunchCase launch = gpu_check::wholeFrame(width, 5, 0.45F);
    launch.maskPitch += 3;
    launch.colorY = 200;
    launch.colorU = 20;
    launch.colorV = 90;
    const Memory bytes = gpu_check::randomBytes(launch, kMasks[width % 3], random);
    for (launch.rect.x0 = 0; launch.rect.x0 < std::min(width, 5); ++launch.rect.x0) {
      expectSame(launch, bytes);
      if (HasFatalFailure()) return;
    }
  }
}

// Every old byte under every fifth colour; alphas with a fit and without, and fits with corrections for
// both of a chroma's colours, for one and for none.
TEST_P(HostBlend, DrawsThePlainBytesForEveryByteAtEveryWeight) {
  std::vector<float> alphas = gpu_check::alphas();
  alphas.insert(alphas.end(), {0.1F, 0.35F, 0.85F});
  for (const float alpha : alphas) {
    for (int color = 0; color < 256; color += 5) {
      LaunchCase launch = gpu_check::wholeFrame(512, 2, alpha);
      launch.colorY = launch.colorU = static_cast<unsigned char>(color);
      launch.colorV = static_cast<unsigned char>(255 - color);
      std::mt19937 random(3);
      Memory bytes = gpu_check::randomBytes(launch, MaskKind::full, random);
      const gpu_check::Planes planes = gpu_check::planesIn(bytes.data(), launch);
      for (int i = 0; i < 1024; ++i) planes.y[i] = static_cast<unsigned char>(i);
      for (int i = 0; i < 512; ++i) planes.uv[i] = static_cast<unsigned char>(i / 2);
      expectSame(launch, bytes);
      if (HasFatalFailure()) return;
    }
  }
}

// The last vector of a row overlaps the one before it, and the mask's neighbours are set.
TEST_P(HostBlend, TouchesNothingBesideTheRectangle) {
  LaunchCase launch = gpu_check::wholeFrame(300, 20, 1.0F);
  launch.colorY = launch.colorU = launch.colorV = 7;
  launch.rect = {50, 4, 149, 9};  // 100 columns: three vectors of 32 and 4 bytes
  std::mt19937 random(4);
  Memory bytes = gpu_check::randomBytes(launch, MaskKind::full, random);
  const gpu_check::Planes before = gpu_check::planesIn(bytes.data(), launch);
  std::fill(before.y, before.y + 300 * 20, 100);
  Memory result = drawn(launch, bytes, GetParam());
  const gpu_check::Planes after = gpu_check::planesIn(result.data(), launch);
  for (int y = 0; y < 20; ++y) {
    for (int x = 0; x < 300; ++x) {
      const bool inside = x >= 50 && x <= 149 && y >= 4 && y <= 9;
      ASSERT_EQ(after.y[300 * y + x], inside ? 7 : 100) << x << ' ' << y;
    }
  }
}

TEST_P(HostBlend, DrawsNothingInAnEmptyRectangle) {
  Memory samples(64, 100);
  const Memory mask(64, 255);
  for (const LumaRect rect : {LumaRect{4, 0, 3, 7}, LumaRect{0, 4, 7, 3}, LumaRect{4, 4, 3, 3}}) {
    blendLuma(samples.data(), 8, mask.data(), 8, rect, 7, 1.0F, GetParam());
  }
  for (const ChromaRect rect : {ChromaRect{2, 0, 2, 3}, ChromaRect{0, 2, 3, 2}, ChromaRect{3, 3, 1, 1}}) {
    blendChroma(samples.data(), 8, mask.data(), 8, rect, 7, 7, 1.0F, GetParam());
  }
  EXPECT_EQ(samples, Memory(64, 100));
}

/// Up to eight random spans of a row, in order and apart, that begin and end at multiples of `step`.
std::vector<Span> randomSpans(int bytes, int step, std::mt19937& random) {
  std::vector<Span> spans;
  int from = 0;
  while (spans.size() < 8) {
    from += step * static_cast<int>(random() % 12);
    const int to = from + step * (1 + static_cast<int>(random() % (random() % 3 == 0 ? 80 : 10)));
    if (to > bytes) break;
    spans.push_back({from, to});
    from = to + step;
  }
  return spans;
}

// Rows of every length, with bytes around them that must stay.
TEST_P(HostBlend, DrawsTheSpansOfRowsAndNoOtherByte) {
  constexpr int kRows = 3;
  constexpr int kAround = 5;
  std::mt19937 random(5);
  for (const float alpha : {0.45F, 0.1F, 1.0F, -1.0F}) {
    const ChannelBlend u = makeChannelBlend(200, alpha, GetParam());
    const ChannelBlend v = makeChannelBlend(31, alpha, GetParam());
    for (int bytes = 2; bytes <= 200; bytes += 2) {
      const bool isLuma = bytes % 4 == 0;
      const int width = isLuma ? bytes - 1 : bytes;
      const std::vector<Span> spans = randomSpans(width, isLuma ? 1 : 2, random);
      const int pitch = width + 2 * kAround;
      Memory before(static_cast<std::size_t>(kRows * pitch));
      for (unsigned char& byte : before) byte = static_cast<unsigned char>(random());

      Memory expected = before;
      for (int row = 0; row < kRows; ++row) {
        for (const Span span : spans) {
          for (int x = span.from; x < span.to; ++x) {
            const auto at = static_cast<std::size_t>(row * pitch + kAround + x);
            expected[at] = blendByte(before[at], isLuma || x % 2 == 0 ? 200 : 31, alpha);
          }
        }
      }
      Memory drawn = before;
      const SpannedRows area{drawn.data() + kAround,        pitch, width, kRows, spans.data(),
                             static_cast<int>(spans.size())};
      if (isLuma) {
        blendLumaSpans(area, u, GetParam());
      } else {
        blendChromaSpans(area, u, v, GetParam());
      }
      ASSERT_EQ(drawn, expected) << "alpha " << alpha << ", " << width << " bytes, luma " << isLuma;
    }
  }
}

TEST(SimdTarget, MakeTheSameTables) {
  std::vector<float> alphas = gpu_check::alphas();
  for (int i = 0; i <= 500; ++i) alphas.push_back(static_cast<float>(i) / 500.0F);
  for (const SimdTarget& target : simdTargets()) {
    for (const float alpha : alphas) {
      for (int color = 0; color < 256; ++color) {
        const auto byte = static_cast<unsigned char>(color);
        ASSERT_EQ(target.makeTable(byte, alpha), makeBlendTable(byte, alpha))
            << target.name << ", colour " << color << ", alpha " << alpha;
      }
    }
  }
}

std::vector<const SimdTarget*> allUnits() {
  std::vector<const SimdTarget*> target = {nullptr};
  for (const SimdTarget& generation : simdTargets()) target.push_back(&generation);
  return target;
}

std::string nameOf(const testing::TestParamInfo<const SimdTarget*>& info) {
  return info.param == nullptr ? "None" : info.param->name;
}

INSTANTIATE_TEST_SUITE_P(SimdTarget, HostBlend, testing::ValuesIn(allUnits()), nameOf);

TEST(HostBlendChoice, TakesTheFastestUnits) {
  EXPECT_EQ(fastestSimdTarget(), simdTargets().empty() ? nullptr : simdTargets().begin());
#if defined(__aarch64__)
  ASSERT_EQ(simdTargets().size(), 1U);
  EXPECT_STREQ(simdTargets()[0].name, "NEON");
#elif defined(__x86_64__)
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    ASSERT_EQ(simdTargets().size(), 2U);
    EXPECT_STREQ(simdTargets()[0].name, "AVX2");
    EXPECT_STREQ(simdTargets()[1].name, "SSSE3");
  }
#endif
}

}  // namespace
}  // namespace seg_mask_overlay
