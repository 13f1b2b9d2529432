#pragma once

#include <cuda_runtime_api.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <random>
#include <vector>

#include "zelvo/ZelvoPicture.h"
#include "zelvo/transfer.h"

/// A test that works on device memory; skipped where there is no device.
class DeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    int devices = 0;
    if (cudaGetDeviceCount(&devices) != cudaSuccess || devices == 0) GTEST_SKIP() << "there is no GPU";
  }
};

struct Size {
  int width;
  int height;
};

inline std::ostream& operator<<(std::ostream& out, const Size& size) {
  return out << size.width << "x" << size.height;
}

/// Even and odd sides, the smallest picture, and rows that just fit, fill and just exceed the pitch's steps.
constexpr Size kSizes[] = {{1, 1},   {2, 2},   {1, 7},   {7, 1},   {3, 5},    {16, 9},
                           {255, 3}, {256, 4}, {257, 5}, {320, 2}, {640, 361}};

using Bytes = std::vector<unsigned char>;

/// A packed frame whose bytes differ with the seed.
inline Bytes randomFrame(const Size& size, unsigned seed) {
  std::mt19937 generator(seed);
  Bytes frame(zelvo::packedNv12Bytes(size.width, size.height));
  for (unsigned char& byte : frame) byte = static_cast<unsigned char>(generator());
  return frame;
}

inline Bytes samplesOf(const zelvo::ZelvoPicture& picture) {
  Bytes frame(zelvo::packedNv12Bytes(picture.width(), picture.height()));
  zelvo::download(picture, frame.data(), nullptr);
  return frame;
}

/// Device address of byte `x` of a row; both may lie outside the plane.
inline unsigned char* at(unsigned char* plane, int pitch, int row, int x) {
  return plane + std::ptrdiff_t{row} * pitch + x;
}

inline void poke(unsigned char* address, unsigned char value) {
  ASSERT_EQ(cudaMemcpy(address, &value, 1, cudaMemcpyHostToDevice), cudaSuccess);
}

inline unsigned char peek(const unsigned char* address) {
  unsigned char value = 0;
  EXPECT_EQ(cudaMemcpy(&value, address, 1, cudaMemcpyDeviceToHost), cudaSuccess);
  return value;
}
