#include <cuda_runtime.h>
#include <gtest/gtest.h>

#include <vector>

#include "cudart_cpu/control.h"
#include "seg_mask_overlay/seg_mask_cuda.h"

namespace {

using cudart_cpu::Call;

/// An 8 x 4 frame with spare columns in each plane and a mask, in host memory, which on this device is device
/// memory.
struct Frame {
  static constexpr int kWidth = 8;
  static constexpr int kHeight = 4;
  static constexpr int kYPitch = 10;
  static constexpr int kUvPitch = 12;
  static constexpr int kMaskPitch = 9;

  std::vector<unsigned char> y = std::vector<unsigned char>(kYPitch * kHeight, 100);
  std::vector<unsigned char> uv = std::vector<unsigned char>(kUvPitch * kHeight / 2, 100);
  std::vector<unsigned char> mask = std::vector<unsigned char>(kMaskPitch * kHeight, 0);
  cudart_cpu::ScopedReset reset;

  void setMask(int x, int row, unsigned char value = 255) {
    mask[static_cast<std::size_t>(row * kMaskPitch + x)] = value;
  }

  /// Blends Y 10, U 20, V 30 with alpha 1 unless told otherwise.
  void launch(int x0, int y0, int x1, int y1, float alpha = 1.0F) {
    seg_mask_cuda::launch_segmask_overlay_nv12(y.data(), kYPitch, uv.data(), kUvPitch, kWidth, kHeight,
                                               mask.data(), kMaskPitch, x0, y0, x1, y1, 10, 20, 30, alpha,
                                               nullptr);
  }

  int luma(int x, int row) const { return y[static_cast<std::size_t>(row * kYPitch + x)]; }
  int u(int cx, int cy) const { return uv[static_cast<std::size_t>(cy * kUvPitch + 2 * cx)]; }
  int v(int cx, int cy) const { return uv[static_cast<std::size_t>(cy * kUvPitch + 2 * cx + 1)]; }

  bool untouched() const {
    return y == std::vector<unsigned char>(y.size(), 100) && uv == std::vector<unsigned char>(uv.size(), 100);
  }
};

// kernel_check goes through the rectangles, masks and weights. What stands here is worked out by hand, or is
// about the calls.
TEST(LauncherCpu, LumaFollowsTheMaskInTheRectangleAndChromaItsBlocks) {
  Frame frame;
  frame.setMask(3, 1);
  frame.setMask(6, 3, 1);  // the byte's value is no weight
  frame.setMask(0, 1);     // left of the rectangle, in the block of its first column
  frame.launch(1, 0, 100, 100);
  for (int row = 0; row < 4; ++row) {
    for (int x = 0; x < Frame::kYPitch; ++x) {
      EXPECT_EQ(frame.luma(x, row), (x == 3 && row == 1) || (x == 6 && row == 3) ? 10 : 100);
    }
  }
  for (int cy = 0; cy < 2; ++cy) {
    for (int cx = 0; cx < 4; ++cx) {
      const bool touched = cy == 0 ? cx <= 1 : cx == 3;
      EXPECT_EQ(frame.u(cx, cy), touched ? 20 : 100);
      EXPECT_EQ(frame.v(cx, cy), touched ? 30 : 100);
    }
  }
}

TEST(LauncherCpu, WhatHasNothingToDrawIsNotLaunched) {
  Frame frame;
  frame.launch(-9, 0, -1, 3);
  frame.launch(0, -9, 7, -1);
  EXPECT_EQ(cudart_cpu::totalCalls(), 0U);
  frame.launch(2, 0, 2, 3);  // one column at an even x: luma alone
  EXPECT_EQ(cudart_cpu::count(Call::cudaLaunchHostFunc), 1U);
  frame.launch(3, 0, 3, 3);
  EXPECT_EQ(cudart_cpu::count(Call::cudaLaunchHostFunc), 3U);
}

TEST(LauncherCpu, OneFailedLaunchSkipsItselfAlone) {
  Frame luma;
  luma.mask.assign(luma.mask.size(), 255);
  cudart_cpu::failCall(Call::cudaLaunchHostFunc, 1, cudaErrorInvalidValue);
  luma.launch(0, 0, 7, 3);
  EXPECT_EQ(luma.luma(0, 0), 100);
  EXPECT_EQ(luma.u(0, 0), 20);

  Frame chroma;
  chroma.mask.assign(chroma.mask.size(), 255);
  cudart_cpu::failCall(Call::cudaLaunchHostFunc, 2, cudaErrorInvalidValue);
  chroma.launch(0, 0, 7, 3);
  EXPECT_EQ(chroma.luma(0, 0), 10);
  EXPECT_EQ(chroma.u(0, 0), 100);
}

TEST(LauncherCpu, AHeldStreamIsDrawnOnWhenItIsReleased) {
  Frame frame;
  frame.mask.assign(frame.mask.size(), 255);
  cudart_cpu::hold(nullptr);
  frame.launch(0, 0, 7, 3);
  EXPECT_TRUE(frame.untouched());
  EXPECT_EQ(cudart_cpu::heldWork(nullptr), 2U);
  cudart_cpu::release(nullptr);
  EXPECT_EQ(frame.luma(0, 0), 10);
  EXPECT_EQ(frame.u(0, 0), 20);
}

}  // namespace
