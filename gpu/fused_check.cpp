// Whether the launch that draws all items of a frame draws what the host draws, byte for byte, and nothing
// else: the launcher and its kernel alone, as in kernel_check.

#include <algorithm>
#include <random>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "blend/scalar_fused.h"
#include "gpu/DeviceBytes.h"
#include "gpu/FusedCase.h"
#include "gpu/LaunchCase.h"
#include "gpu/check_program.h"

namespace {

using gpu_check::Effort;
using gpu_check::FusedCase;
using gpu_check::Stream;
using render_base::LumaRect;

int between(std::mt19937& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}

/// Draws on the device and on the host and compares all bytes of the planes.
void check(FusedCase& frame, const Stream& stream) {
  const gpu_check::FusedOnDevice device(frame, stream.get());
  seg_mask_overlay::launchFusedFrame(device.frame(), nullptr, stream.get());
  gpu_check::require(cudaGetLastError(), "launching");
  seg_mask_overlay::scalarDrawFused(gpu_check::onHost(frame));
  const std::vector<unsigned char> drawn = device.planes(stream.get());
  if (drawn == frame.planes) return;
  const auto [at, expected] = std::mismatch(drawn.begin(), drawn.end(), frame.planes.begin());
  std::ostringstream text;
  text << "byte " << at - drawn.begin() << " (luma from " << frame.y << ", chroma from " << frame.uv
       << ") is " << int{*at} << ", the host has " << int{*expected} << "; " << frame.frame.size.width << 'x'
       << frame.frame.size.height << ", " << frame.items.size() << " items, alpha " << frame.frame.alpha;
  throw std::runtime_error(text.str());
}

LumaRect randomRect(std::mt19937& random, const render_base::FrameSize& size) {
  const int x0 = between(random, 0, size.width - 1);
  const int y0 = between(random, 0, size.height - 1);
  return {x0, y0, between(random, x0, size.width - 1), between(random, y0, size.height - 1)};
}

float randomAlpha(std::mt19937& random) {
  const std::vector<float>& all = gpu_check::alphas();
  return all[static_cast<std::size_t>(between(random, 0, static_cast<int>(all.size()) - 1))];
}

FusedCase randomFrame(std::mt19937& random, int width, int height, int items) {
  FusedCase frame = gpu_check::emptyFused(width, height, between(random, 0, 33), randomAlpha(random), random);
  for (int i = 0; i < items; ++i) {
    gpu_check::addItem(frame, randomRect(random, frame.frame.size), between(random, 1, 200),
                       between(random, 1, 200), between(random, 1, 8), random);
  }
  gpu_check::makeTiles(frame, between(random, 0, 2));
  return frame;
}

int randomSmallFrames(const Effort& effort) {
  std::mt19937 random(effort.seed);
  const Stream stream;
  const int cases = effort.of(2000);
  for (int i = 0; i < cases; ++i) {
    const int side = i % 2 == 0 ? 20 : 200;
    FusedCase frame =
        randomFrame(random, between(random, 1, side), between(random, 1, side), between(random, 1, 12));
    check(frame, stream);
  }
  return cases;
}

// Every old value under every colour, at every weight: each chroma row is drawn in its own colour.
int everyByte(const Effort& effort) {
  std::mt19937 random(effort.seed);
  const Stream stream;
  constexpr int kColours = 256;
  for (const float alpha : gpu_check::alphas()) {
    FusedCase frame = gpu_check::emptyFused(512, 2 * kColours, 0, alpha, random);
    for (std::size_t i = 0; i < frame.uv - frame.y; ++i)
      frame.planes[frame.y + i] = static_cast<unsigned char>(i);
    for (std::size_t i = frame.uv; i < frame.planes.size(); ++i)
      frame.planes[i] = static_cast<unsigned char>((i - frame.uv) / 2);
    for (int colour = 0; colour < kColours; ++colour) {
      gpu_check::addItem(frame, {0, 2 * colour, 511, 2 * colour + 1}, 1, 1, 1, random);
      frame.items.back().colorY = frame.items.back().colorU = static_cast<unsigned char>(colour);
      frame.items.back().colorV = static_cast<unsigned char>(255 - colour);
    }
    gpu_check::makeTiles(frame, 0);
    check(frame, stream);
  }
  return static_cast<int>(gpu_check::alphas().size()) * kColours * 256 * 3;
}

int largeFrames(const Effort& effort) {
  std::mt19937 random(effort.seed);
  const Stream stream;
  const int cases = effort.quick ? 1 : 4;
  const render_base::FrameSize sizes[] = {{1920, 1080}, {4095, 2161}, {8191, 1}, {1, 8191}};
  for (int i = 0; i < cases; ++i) {
    FusedCase frame = randomFrame(random, sizes[i].width, sizes[i].height, 10);
    check(frame, stream);
  }
  return cases;
}

}  // namespace

int main(int argc, char** argv) {
  return gpu_check::checkProgram("fused_check",
                                 {{"random items, pitches, odd sizes, tiles and weights", randomSmallFrames},
                                  {"every byte under every colour at every weight", everyByte},
                                  {"large frames", largeFrames}},
                                 argc, argv);
}
