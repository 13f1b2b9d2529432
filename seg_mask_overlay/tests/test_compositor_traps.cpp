// What is easily drawn wrong, a test each, by every compositor and by the reference for a packed frame.

#include <cuda_runtime.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "blend/nv12_blend.h"
#include "cudart_cpu/control.h"
#include "mask/mask_bits.h"
#include "tests/compositor_drawings.h"

namespace seg_mask_overlay {
namespace {

using seg_mask::MaskBits;
using seg_mask::OverlayItem;
using seg_mask::YuvColor;

constexpr YuvColor kColor{10, 20, 30};
constexpr int kGrey = 100;

/// A grey picture with tight rows. Its planes begin `shift` bytes after an even address.
class Picture {
 public:
  Picture(int width, int height, std::size_t shift = 0)
      : size_{width, height}, y_(size_.pixels() + shift, kGrey) {
    uv_.assign(static_cast<std::size_t>(uvPitch()) * static_cast<std::size_t>((height + 1) / 2) + shift,
               kGrey);
    planes_ = {};
    planes_.y = y_.data() + shift;
    planes_.uv = uv_.data() + shift;
    planes_.yPitch = width;
    planes_.uvPitch = uvPitch();
  }

  MappedFrame mapped() const { return {planes_, size_}; }
  void useStream(cudaStream_t stream) { planes_.stream = stream; }

  unsigned char& luma(int x, int y) { return planes_.y[y * size_.width + x]; }
  int u(int cx, int cy) const { return planes_.uv[cy * uvPitch() + 2 * cx]; }
  int v(int cx, int cy) const { return planes_.uv[cy * uvPitch() + 2 * cx + 1]; }

  /// The planes as rows of '#' (drawn) and '.' (grey); a chroma sample is drawn when U and V both are.
  std::string lumaRows() {
    return rows(size_.width, size_.height, [this](int x, int y) { return luma(x, y) != kGrey; });
  }
  std::string chromaRows() {
    return rows((size_.width + 1) / 2, (size_.height + 1) / 2, [this](int cx, int cy) {
      EXPECT_EQ(u(cx, cy) == kGrey, v(cx, cy) == kGrey);
      return u(cx, cy) != kGrey;
    });
  }

 private:
  int uvPitch() const { return 2 * ((size_.width + 1) / 2); }

  template <class IsDrawn>
  static std::string rows(int width, int height, const IsDrawn& isDrawn) {
    std::string text;
    for (int y = 0; y < height; ++y) {
      if (y > 0) text += '/';
      for (int x = 0; x < width; ++x) text += isDrawn(x, y) ? '#' : '.';
    }
    return text;
  }

  FrameSize size_;
  std::vector<unsigned char> y_, uv_;
  IRenderBackend::MappedPlanes planes_;
};

/// Rows of '#' (inside) and '.', with '/' between them.
MaskBits maskOf(const std::string& rows) {
  const auto width = static_cast<int>(std::min(rows.find('/'), rows.size()));
  const auto height = static_cast<int>(std::count(rows.begin(), rows.end(), '/') + 1);
  std::vector<unsigned char> pixels;
  for (const char pixel : rows) {
    if (pixel != '/') pixels.push_back(pixel == '#' ? 1 : 0);
  }
  return seg_mask::packMask(pixels.data(), width, height, width);
}

MaskBits fullMask(int width, int height) {
  const std::vector<unsigned char> pixels(static_cast<std::size_t>(width * height), 1);
  return seg_mask::packMask(pixels.data(), width, height, width);
}

class CompositorTraps : public testing::TestWithParam<CompositorDrawing> {
 protected:
  void draw(Picture& picture, const std::vector<OverlayItem>& items, float alpha = 1.0F) {
    compositor_->draw(picture.mapped(), items, alpha);
  }

  const std::unique_ptr<Compositor> compositor_ = GetParam().make();
};

TEST_P(CompositorTraps, ColorsThatDifferInOneChannelAloneAreDrawnEachAsItself) {
  const YuvColor colors[] = {{10, 20, 30}, {26, 20, 30}, {26, 36, 30}, {26, 36, 46}, {10, 20, 30}};
  const MaskBits mask = fullMask(10, 2);
  std::vector<OverlayItem> items;
  for (int i = 0; i < 5; ++i) items.push_back({mask, {2 * i, 0, 2, 2}, colors[i]});
  Picture picture(10, 2);
  draw(picture, items);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(picture.luma(2 * i, 0), colors[i].y) << i;
    EXPECT_EQ(picture.u(i, 0), colors[i].u) << i;
    EXPECT_EQ(picture.v(i, 0), colors[i].v) << i;
  }
}

TEST_P(CompositorTraps, WithAnOddLeftEdgeChromaReadsTheMaskOneColumnLeftOfTheBox) {
  const MaskBits mask = maskOf("..#...../......../......../........");
  Picture picture(8, 4);
  draw(picture, {{mask, {3, 0, 2, 2}, kColor}});
  EXPECT_EQ(picture.lumaRows(), "......../......../......../........");
  EXPECT_EQ(picture.chromaRows(), ".#../....");
}

TEST_P(CompositorTraps, WithAnOddTopEdgeChromaReadsTheMaskOneRowAboveTheBox) {
  const MaskBits mask = maskOf("..../..../.#../..../..../....");
  Picture picture(4, 6);
  draw(picture, {{mask, {0, 3, 4, 2}, kColor}});
  EXPECT_EQ(picture.lumaRows(), "..../..../..../..../..../....");
  EXPECT_EQ(picture.chromaRows(), "../#./..");
}

// Two columns or rows away is another sample, even where the box begins at an odd place.
TEST_P(CompositorTraps, ChromaReadsNoMaskTwoColumnsLeftOrTwoRowsAbove) {
  const MaskBits mask = maskOf("######/##..../##..../##..../##..../##....");
  Picture picture(6, 6);
  draw(picture, {{mask, {3, 3, 3, 3}, kColor}});
  EXPECT_EQ(picture.chromaRows(), ".../.../...");
}

TEST_P(CompositorTraps, ChromaReadsNoMaskRightOfOrBelowTheBox) {
  const MaskBits mask = maskOf("...#/...#/...#/####");
  Picture picture(4, 4);
  draw(picture, {{mask, {0, 0, 3, 3}, kColor}});
  EXPECT_EQ(picture.lumaRows(), "..../..../..../....");
  EXPECT_EQ(picture.chromaRows(), "../..");
}

TEST_P(CompositorTraps, ABoxThatEndsOnAnEvenColumnAndRowLeavesItsLastChromaAlone) {
  const MaskBits mask = fullMask(8, 6);
  Picture picture(8, 6);
  draw(picture, {{mask, {2, 0, 3, 3}, kColor}});
  EXPECT_EQ(picture.lumaRows(), "..###.../..###.../..###.../......../......../........");
  EXPECT_EQ(picture.chromaRows(), ".#../..../....");
}

TEST_P(CompositorTraps, AnOddFramesLastChromaColumnAndRowStay) {
  const MaskBits mask = fullMask(5, 3);
  Picture picture(5, 3);
  draw(picture, {{mask, {0, 0, 5, 3}, kColor}});
  EXPECT_EQ(picture.lumaRows(), "#####/#####/#####");
  EXPECT_EQ(picture.chromaRows(), "##./...");
}

// 100 under 20 at a half is 60, under 30 it is 65; blended twice they would be 40 and 48.
TEST_P(CompositorTraps, BothMaskRowsOfAChromaSampleAreJoinedBeforeOneBlend) {
  for (const char* rows : {"##/##", "##/..", "../##", "#./.#"}) {
    const MaskBits mask = maskOf(rows);
    Picture picture(2, 2);
    draw(picture, {{mask, {0, 0, 2, 2}, kColor}}, 0.5F);
    EXPECT_EQ(picture.u(0, 0), 60) << rows;
    EXPECT_EQ(picture.v(0, 0), 65) << rows;
  }
}

// Of 15 mask columns the frame's five show 0, 3, 6, 9 and 12, and of two mask rows its two show both.
TEST_P(CompositorTraps, RunsThatMergeOrShareAChromaSampleWhenScaledDownAreBlendedOnce) {
  const struct {
    const char* mask;
    const char* luma;
    const char* chroma;
  } cases[] = {
      {"#..#...........", "##...", "#.."},  // two runs that become one
      {"...#..#........", ".##..", "##."},  // one run in two samples
      {"#.....#........", "#.#..", "##."},
      {"...###..##.....", ".#.#.", "##."},  // the first one's last columns are not shown
      {".##.##.##.##.##", ".....", "..."},  // none of the runs is shown
      {"#.##.##.##.##..", "#####", "##."},  // five that become one
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.mask);
    const MaskBits mask = maskOf(std::string(one.mask) + "/...............");
    Picture picture(5, 2);
    draw(picture, {{mask, {0, 0, 5, 2}, kColor}}, 0.5F);
    EXPECT_EQ(picture.lumaRows(), std::string(one.luma) + "/.....");
    EXPECT_EQ(picture.chromaRows(), one.chroma);
    for (int x = 0; x < 5; ++x) EXPECT_EQ(picture.luma(x, 0), one.luma[x] == '#' ? 55 : kGrey);
    for (int cx = 0; cx < 3; ++cx) EXPECT_EQ(picture.u(cx, 0), one.chroma[cx] == '#' ? 60 : kGrey);
  }
}

// 3 under black at a half is 2, then 1.5 is 1, then 1 again; unrounded it would be 0.875 at the end.
TEST_P(CompositorTraps, EveryItemIsRoundedToBytes) {
  const MaskBits mask = fullMask(2, 2);
  Picture picture(2, 2);
  picture.luma(0, 0) = 3;
  const OverlayItem black{mask, {0, 0, 2, 2}, {0, 0, 0}};
  draw(picture, {black, black, black}, 0.5F);
  EXPECT_EQ(picture.luma(0, 0), 1);
}

TEST_P(CompositorTraps, UAndVFollowTheColumnAndNotTheAddress) {
  const MaskBits mask = fullMask(150, 4);
  for (std::size_t shift = 0; shift < 4; ++shift) {
    for (int left = 0; left < 4; ++left) {
      Picture picture(150, 4, shift);
      draw(picture, {{mask, {left, 0, 150, 4}, kColor}});
      for (int cx = 0; cx < 75; ++cx) {
        const bool drawn = cx >= left / 2;
        ASSERT_EQ(picture.u(cx, 1), drawn ? 20 : kGrey) << shift << ' ' << left << ' ' << cx;
        ASSERT_EQ(picture.v(cx, 1), drawn ? 30 : kGrey) << shift << ' ' << left << ' ' << cx;
      }
    }
  }
}

// Boxes narrower than a vector, of whole vectors, and with every tail behind them: each byte is blended once.
TEST_P(CompositorTraps, BoxesOfEveryWidthAreBlendedOnceAndTouchNothingBeside) {
  const MaskBits mask = fullMask(7, 5);
  for (int width = 1; width <= 140; ++width) {
    for (int left = 0; left < 3; ++left) {
      Picture picture(150, 4);
      draw(picture, {{mask, {left, 0, width, 4}, kColor}}, 0.5F);
      for (int x = 0; x < 150; ++x) {
        const bool inside = x >= left && x < left + width;
        ASSERT_EQ(picture.luma(x, 2), inside ? 55 : kGrey) << width << ' ' << left << ' ' << x;
      }
      for (int cx = 0; cx < 75; ++cx) {
        const bool inside = cx >= left / 2 && cx < (left + width) / 2;
        ASSERT_EQ(picture.u(cx, 1), inside ? 60 : kGrey) << width << ' ' << left << ' ' << cx;
        ASSERT_EQ(picture.v(cx, 1), inside ? 65 : kGrey) << width << ' ' << left << ' ' << cx;
      }
    }
  }
}

TEST_P(CompositorTraps, WeightsOutsideOf0To1AreBlendedAsAnyOther) {
  using Limits = std::numeric_limits<float>;
  const MaskBits mask = fullMask(1, 1);
  for (const float alpha : {-0.25F, 1.5F, 300.0F, -0.0F, Limits::denorm_min(), Limits::infinity(),
                            -Limits::infinity(), Limits::quiet_NaN()}) {
    Picture picture(256, 2);
    for (int x = 0; x < 256; ++x) picture.luma(x, 0) = static_cast<unsigned char>(x);
    draw(picture, {{mask, {0, 0, 256, 2}, kColor}}, alpha);
    for (int x = 0; x < 256; ++x) {
      ASSERT_EQ(picture.luma(x, 0), blendByte(static_cast<unsigned char>(x), kColor.y, alpha)) << alpha;
    }
    EXPECT_EQ(picture.u(0, 0), blendByte(kGrey, kColor.u, alpha)) << alpha;
    EXPECT_EQ(picture.v(0, 0), blendByte(kGrey, kColor.v, alpha)) << alpha;
  }
}

// Rows of 13 bits begin at any bit of a byte, and so does the first row that a box shows.
TEST_P(CompositorTraps, MaskRowsThatBeginAmidAByteAreReadThere) {
  std::string rows;
  for (int y = 0; y < 9; ++y) {
    if (y > 0) rows += '/';
    for (int x = 0; x < 13; ++x) rows += (5 * x + 3 * y) % 7 < 3 ? '#' : '.';
  }
  const MaskBits mask = maskOf(rows);
  for (int top = 0; top < 9; ++top) {
    Picture picture(13, 9);
    draw(picture, {{mask, {0, top, 13, 9}, kColor}});
    std::string expected = rows;
    std::fill(expected.begin(), expected.begin() + 14 * top, '.');
    for (int y = 1; y < 9; ++y) expected[static_cast<std::size_t>(14 * y - 1)] = '/';
    EXPECT_EQ(picture.lumaRows(), expected) << top;
  }
}

// 65,625 rows of 70,000 bits lie before the last one that is shown: 4,593,750,000. The system gives pages of
// zeros where nothing was written.
TEST_P(CompositorTraps, BitsBeyond32BitsAreFound) {
  constexpr int kSide = 70000;
  constexpr std::size_t kBytes = std::size_t{kSide} * kSide / 8;
  constexpr std::size_t kLastBit = std::size_t{65625} * kSide;
  void* const memory =
      mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto* const bits = static_cast<uint8_t*>(memory);
  std::fill(bits + kLastBit / 8, bits + (kLastBit + kSide) / 8, uint8_t{0xFF});
  Picture picture(4, 16);
  draw(picture, {{{kSide, kSide, bits, kBytes}, {0, 15, 4, 1}, kColor}});
  EXPECT_EQ(picture.lumaRows(),
            "..../..../..../..../..../..../..../..../..../..../..../..../..../..../..../####");
  EXPECT_EQ(picture.chromaRows(), "../../../../../../../##");
  munmap(memory, kBytes);
}

// The k-th item shows the first of its k mask columns, which are the frame's columns x with x * k < 60. There
// are more sizes than maps are kept, and the second frame asks for them in the same order again.
TEST_P(CompositorTraps, MasksOfManySizesInOneFrameAreEachScaledByTheirOwn) {
  std::vector<MaskBits> masks;
  std::vector<OverlayItem> items;
  for (int k = 1; k <= 20; ++k) {
    std::string columns(static_cast<std::size_t>(k), '.');
    columns[0] = '#';
    masks.push_back(maskOf(columns));
  }
  for (int k = 1; k <= 20; ++k) {
    const auto color = static_cast<unsigned char>(k);
    items.push_back({masks[static_cast<std::size_t>(k - 1)], {0, 0, 60, 2}, {color, color, color}});
  }
  for (int frame = 0; frame < 2; ++frame) {
    Picture picture(60, 2);
    draw(picture, items);
    for (int x = 0; x < 60; ++x) {
      int last = 1;
      for (int k = 1; k <= 20; ++k) {
        if (x * k < 60) last = k;
      }
      EXPECT_EQ(picture.luma(x, 0), last) << x;
    }
  }
}

TEST_P(CompositorTraps, FramesOfAlternatingSizesAreEachScaledToTheirOwn) {
  const MaskBits mask = maskOf("#./..");
  for (const int side : {4, 12, 4, 6, 12, 2, 40, 4}) {
    Picture picture(side, side);
    draw(picture, {{mask, {0, 0, side, side}, kColor}});
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        ASSERT_EQ(picture.luma(x, y), x < side / 2 && y < side / 2 ? 10 : kGrey) << side;
      }
    }
  }
}

// Items and masks may go when draw has returned, and other ones come.
TEST_P(CompositorTraps, AQueuedLaunchOwnsWhatItReads) {
  if (std::string(GetParam().name) == "Scalar") GTEST_SKIP() << "draws at once";
  cudaStream_t stream = nullptr;
  ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
  Picture first(64, 8);
  Picture second(64, 8);
  first.useStream(stream);
  second.useStream(stream);
  cudart_cpu::hold(stream);
  {
    MaskBits mask = fullMask(64, 8);
    std::vector<OverlayItem> items{{mask, {0, 0, 32, 8}, kColor}};
    draw(first, items);
    std::fill(mask.bits.begin(), mask.bits.end(), uint8_t{0});
    items[0].box = {0, 0, 64, 8};
    items[0].color = {};
    draw(second, items);
  }
  cudart_cpu::release(stream);
  for (int x = 0; x < 64; ++x) EXPECT_EQ(first.luma(x, 5), x < 32 ? 10 : kGrey);
  EXPECT_EQ(second.lumaRows().find('#'), std::string::npos);
  EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
}

std::string nameOf(const testing::TestParamInfo<CompositorDrawing>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(By, CompositorTraps, testing::ValuesIn(compositorDrawings()), nameOf);

}  // namespace
}  // namespace seg_mask_overlay
