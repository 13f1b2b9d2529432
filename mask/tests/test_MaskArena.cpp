#include <gtest/gtest.h>

#include <cstring>

#include "mask/MaskArena.h"

namespace seg_mask {
namespace {

TEST(MaskArena, AFrameOfTheSameSizeGetsTheMemoryOfTheOneBefore) {
  MaskArena arena;
  arena.beginFrame(1000);
  uint8_t* const first = arena.allocate(1000);
  arena.beginFrame(1000);
  EXPECT_EQ(arena.allocate(10), first);
  EXPECT_EQ(arena.capacity(), 1000U);
}

TEST(MaskArena, AllocationsOfOneFrameFollowEachOther) {
  MaskArena arena;
  arena.beginFrame(100);
  uint8_t* const first = arena.allocate(30);
  arena.giveBack(10);
  uint8_t* const second = arena.allocate(80);
  EXPECT_EQ(second, first + 20);
  std::memset(first, 1, 20);
  std::memset(second, 2, 80);
  EXPECT_EQ(first[19], 1);
}

TEST(MaskArena, ALargerFrameTakesWhatItAsksForAndSmallerOnesUseIt) {
  MaskArena arena;
  arena.beginFrame(100);
  arena.beginFrame(1000);
  EXPECT_EQ(arena.capacity(), 1000U);
  arena.beginFrame(10);
  EXPECT_EQ(arena.capacity(), 1000U);
}

TEST(MaskArena, WhatNoneOfTheLastFramesNeedsGoesBack) {
  MaskArena arena;
  arena.beginFrame(1000);
  for (std::size_t i = 1; i < MaskArena::kFrames; ++i) arena.beginFrame(300);
  EXPECT_EQ(arena.capacity(), 1000U);
  arena.beginFrame(300);
  EXPECT_EQ(arena.capacity(), 300U);
  for (std::size_t i = 0; i < MaskArena::kFrames; ++i) arena.beginFrame(0);
  EXPECT_EQ(arena.capacity(), 0U);
}

TEST(MaskArena, UpToTwiceOfTheLargestIsKept) {
  MaskArena arena;
  arena.beginFrame(1000);
  for (std::size_t i = 0; i < 2 * MaskArena::kFrames; ++i) arena.beginFrame(500);
  EXPECT_EQ(arena.capacity(), 1000U);
}

}  // namespace
}  // namespace seg_mask
