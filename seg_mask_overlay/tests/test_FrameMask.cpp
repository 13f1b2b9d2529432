#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <string>

#include "src/FrameMask.h"
#include "test_support/scalar_frame_mask.h"

namespace seg_mask_overlay {
namespace {

using seg_mask::MaskBits;
using seg_mask::scalarFrameMask;

std::string rows(const unsigned char* mask, int width, int height) {
  std::string text;
  for (int y = 0; y < height; ++y) {
    if (y > 0) text += '/';
    for (int x = 0; x < width; ++x) {
      const unsigned char byte = mask[y * width + x];
      text += byte == 255 ? '#' : byte == 0 ? '.' : '?';
    }
  }
  return text;
}

/// One after another, of which nothing may be left.
TEST(FrameMask, ShowsForEachPixelTheMasksNearestOne) {
  const struct {
    MaskBits mask;
    int width;
    int height;
    const char* expected;
  } cases[] = {
      {{3, 2, {0b101001}}, 3, 2, "#../#.#"},  // the frame's own size
      {{2, 1, {0b01}}, 6, 2, "###.../###..."},
      {{3, 1, {0b101}}, 5, 1, "##..#"},  // floor(x * 3 / 5) = 0 0 1 1 2
      {{5, 1, {0b01010}}, 3, 1, ".##"},  // floor(x * 5 / 3) = 0 1 3
      {{1, 1, {1}}, 8, 1, "########"},
      {{1, 1, {0}}, 2, 2, "../.."},
      {{2, 2, {0b1111}}, 2, 2, "##/##"},
      {{2, 2, {0b0001}}, 2, 2, "#./.."},
  };
  FrameMask frame;
  for (const auto& [mask, width, height, expected] : cases) {
    EXPECT_EQ(rows(frame.fill(mask, width, height), width, height), expected);
  }
}

// --- against cv::resize itself

enum class Kind { kRandom, kOutside, kInside, kSilhouette, kStripes, kCount };

bool insideSilhouette(int x, int y, int width, int height) {
  const double dx = (x + 0.5) / width - 0.5;
  const double dy = (y + 0.5) / height - 0.5;
  return std::hypot(dx * 1.7, dy) < 0.35 + 0.1 * std::sin(5.0 * std::atan2(dy, dx));
}

/// A mask whose bits behind the last pixel are set, which nobody may take for pixels.
MaskBits makeMask(std::mt19937& random, Kind kind, int width, int height) {
  const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  MaskBits mask{width, height, std::vector<uint8_t>((pixels + 7) / 8, 0)};
  const int stripe = 1 + static_cast<int>(random() % 80);
  for (std::size_t i = 0; i < mask.bits.size() * 8; ++i) {
    const int x = static_cast<int>(i % static_cast<std::size_t>(width));
    const int y = static_cast<int>(i / static_cast<std::size_t>(width));
    const bool inside = i >= pixels || kind == Kind::kInside ||
                        (kind == Kind::kRandom && random() % 2 == 0) ||
                        (kind == Kind::kStripes && (x + y) / stripe % 2 == 0) ||
                        (kind == Kind::kSilhouette && insideSilhouette(x, y, width, height));
    if (inside) mask.bits[i / 8] = static_cast<uint8_t>(mask.bits[i / 8] | (1U << (i % 8)));
  }
  return mask;
}

/// `frame` serves many calls, as the plug-in's does.
void expectAsResized(FrameMask& frame, const MaskBits& mask, int width, int height) {
  const unsigned char* filled = frame.fill(mask, width, height);
  const cv::Mat expected = scalarFrameMask(mask, width, height);
  ASSERT_EQ(std::memcmp(filled, expected.data, expected.total()), 0)
      << mask.width << "x" << mask.height << " to " << width << "x" << height;
}

Kind anyKind(std::mt19937& random) {
  return static_cast<Kind>(random() % static_cast<unsigned>(Kind::kCount));
}

TEST(FrameMask, AwkwardSizesAreScaledAsCvResizeDoes) {
  constexpr int kSides[] = {1, 2, 3, 7, 8, 9, 63, 64, 65, 97, 255, 256, 257, 509};
  std::mt19937 random(1);
  FrameMask frame;
  for (const int width : kSides) {
    for (const int height : kSides) {
      for (const int frameWidth : kSides) {
        const int frameHeight = kSides[random() % std::size(kSides)];
        const MaskBits mask = makeMask(random, anyKind(random), width, height);
        ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, mask, frameWidth, frameHeight));
      }
    }
  }
}

TEST(FrameMask, RandomSizesAreScaledAsCvResizeDoes) {
  FrameMask frame;
  for (unsigned seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    const auto side = [&](unsigned least) {
      return static_cast<int>(1 + random() % (random() % 4 == 0 ? 700U : least));
    };
    const MaskBits mask = makeMask(random, anyKind(random), side(90), side(60));
    ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, mask, side(120), side(90))) << "seed " << seed;
  }
}

TEST(FrameMask, TheSizesOfRealFramesAreScaledAsCvResizeDoes) {
  const cv::Size kSizes[][2] = {{{160, 160}, {1920, 1080}},   {{640, 640}, {1920, 1080}},
                                {{1920, 1080}, {1920, 1080}}, {{1920, 1080}, {1280, 720}},
                                {{1280, 720}, {1920, 1080}},  {{1920, 720}, {1920, 1080}},
                                {{2, 1}, {1920, 1080}},       {{1280, 1080}, {1920, 1080}},
                                {{160, 160}, {3840, 2160}},   {{1023, 577}, {1366, 768}}};
  std::mt19937 random(2);
  FrameMask frame;
  for (const auto& [mask, size] : kSizes) {
    for (const Kind kind : {Kind::kSilhouette, Kind::kRandom, Kind::kInside}) {
      const MaskBits bits = makeMask(random, kind, mask.width, mask.height);
      ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, bits, size.width, size.height));
    }
  }
}

TEST(FrameMask, SidesOfMoreThanSixteenBitsAreScaledAsCvResizeDoes) {
  std::mt19937 random(3);
  FrameMask frame;
  for (const int length : {65'535, 65'536, 65'537, 100'003, 16'777'259}) {
    const MaskBits wide = makeMask(random, Kind::kRandom, length, 1);
    const MaskBits high{1, length, wide.bits};
    ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, wide, 1'009, 2));
    ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, high, 2, 1'009));
  }
  const MaskBits small = makeMask(random, Kind::kRandom, 301, 3);
  ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, small, 70'001, 5));
  ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, small, 5, 70'001));
}

TEST(FrameMask, MasksOfManySizesInTurnDoNotMixTheirMaps) {
  std::mt19937 random(4);
  FrameMask frame;
  const MaskBits masks[] = {makeMask(random, Kind::kRandom, 20, 30), makeMask(random, Kind::kRandom, 30, 20),
                            makeMask(random, Kind::kRandom, 20, 20),
                            makeMask(random, Kind::kRandom, 300, 20)};
  for (int i = 0; i < 400; ++i) {
    const int width = random() % 2 == 0 ? 40 : 60;
    const int height = random() % 2 == 0 ? 40 : 60;
    ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, masks[random() % 4], width, height)) << i;
  }
}

TEST(FrameMask, RowsWithAsManyEdgesAsAreKeptAndOneMoreAreScaledAsCvResizeDoes) {
  for (const int edges : {30, 31, 32, 33, 34}) {
    MaskBits mask{200, 2, std::vector<uint8_t>(50, 0)};
    for (int i = 0; i < edges; i += 2) {  // pixel i and, but for the last of an odd number, the edge after it
      const int end = i + 1 < edges ? i + 1 : 200;
      for (int x = i; x < end; ++x)
        mask.bits[static_cast<std::size_t>(x / 8)] |= static_cast<uint8_t>(1U << (x % 8));
    }
    FrameMask frame;
    ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, mask, 331, 3)) << edges;
    ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, mask, 200, 3)) << edges;
  }
}

// Each frame column shows the mask column of its own number, so a row expanded as it is would do but for the
// byte behind the frame. Only a sanitizer or valgrind sees that one.
TEST(FrameMask, ANoisyMaskOneColumnWiderThanTheFrameStaysInTheFramesMemory) {
  std::mt19937 random(5);
  for (const int width : {64, 256, 1000}) {
    FrameMask frame;  // a new one, whose memory ends with the frame
    ASSERT_NO_FATAL_FAILURE(expectAsResized(frame, makeMask(random, Kind::kRandom, width + 1, 3), width, 3));
  }
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kAllocationsMayFail = false;  // the sanitizers' allocators end the process instead
#else
constexpr bool kAllocationsMayFail = true;
#endif

TEST(FrameMask, AFrameThatNoMemoryHoldsIsBadAllocAndTheNextOneIsFilled) {
  if (!kAllocationsMayFail) GTEST_SKIP() << "a failed allocation ends the process under this sanitizer";
  FrameMask frame;
  constexpr int kHuge = std::numeric_limits<int>::max();
  EXPECT_THROW(frame.fill(MaskBits{1, 1, {1}}, kHuge, kHuge), std::bad_alloc);
  EXPECT_EQ(rows(frame.fill(MaskBits{1, 1, {1}}, 2, 1), 2, 1), "##");
}

}  // namespace
}  // namespace seg_mask_overlay
