#pragma once

// One call of the launcher, with everything that it may touch in one run of bytes, so that a whole comparison
// sees each byte that is written where none should be.

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <random>
#include <vector>

#include "blend/launch_geometry.h"

struct CUstream_st;

namespace gpu_check {

/// The arguments of one launch; the pointers follow from the sizes.
struct LaunchCase {
  render_base::FrameSize frame{};
  int yPitch = 0;
  int uvPitch = 0;
  int maskPitch = 0;
  render_base::LumaRect rect{};
  unsigned char colorY = 0;
  unsigned char colorU = 0;
  unsigned char colorV = 0;
  float alpha = 0.0F;
};

std::ostream& operator<<(std::ostream& out, const LaunchCase& launch);

/// A frame and a mask without spare columns, drawn on as a whole.
LaunchCase wholeFrame(int width, int height, float alpha);

/// A frame of up to `side` x `side` with spare columns, often odd; a rectangle that lies in it, crosses its
/// edges or misses it; any colours, and one of `alphas()`.
LaunchCase randomCase(std::mt19937& random, int side);

/// Weights at which rounding and conversion could go different ways: 0, 1, denormal numbers, below 0, above
/// 1, infinite, not a number.
const std::vector<float>& alphas();

/// Where planes and mask lie in the case's bytes, with guard bytes before, between and behind them.
struct Layout {
  std::size_t y, uv, mask, size;
};
Layout layoutOf(const LaunchCase& launch);

enum class MaskKind { random, sparse, full };

/// Random planes, spare columns and guard bytes, and a mask of that kind.
std::vector<unsigned char> randomBytes(const LaunchCase& launch, MaskKind mask, std::mt19937& random);

/// First bytes of both planes and of the mask.
struct Planes {
  unsigned char* y;
  unsigned char* uv;
  unsigned char* mask;
};

/// Where they are in the case's bytes, wherever those lie.
Planes planesIn(unsigned char* bytes, const LaunchCase& launch);

/// Launches on `stream`; the planes are in device memory.
void launchOnDevice(const LaunchCase& launch, const Planes& planes, CUstream_st* stream);

/// What the launch makes of the case's bytes, by the host's loops.
void blendOnHost(const LaunchCase& launch, std::vector<unsigned char>& bytes);

}  // namespace gpu_check
