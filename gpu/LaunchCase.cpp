#include "gpu/LaunchCase.h"

#include <array>
#include <iomanip>
#include <limits>
#include <ostream>

#include "blend/scalar_blend.h"
#include "seg_mask_overlay/seg_mask_cuda.h"

namespace gpu_check {
namespace {

using render_base::LumaRect;
using seg_mask_overlay::ChromaRect;

constexpr std::size_t kGuard = 256;  // what cudaMalloc aligns to, so that planes start aligned

int between(std::mt19937& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}

unsigned char anyByte(std::mt19937& random) {
  return static_cast<unsigned char>(random() >> 24);
}

/// The inclusive ends of a side: mostly within the frame, sometimes far outside, sometimes none.
void randomSide(std::mt19937& random, int length, int& first, int& last) {
  first = between(random, -length / 4 - 1, length);
  last = first + between(random, -1, length);
  if (between(random, 0, 20) == 0) first = std::numeric_limits<int>::min();
  if (between(random, 0, 20) == 0) last = std::numeric_limits<int>::max();
}

std::size_t planeBytes(int pitch, int rows) {
  return static_cast<std::size_t>(pitch) * static_cast<std::size_t>(rows);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LaunchCase& launch) {
  return out << launch.frame.width << 'x' << launch.frame.height << ", pitches " << launch.yPitch << ' '
             << launch.uvPitch << ' ' << launch.maskPitch << ", rectangle (" << launch.rect.x0 << ' '
             << launch.rect.y0 << ") to (" << launch.rect.x1 << ' ' << launch.rect.y1 << "), colour "
             << int{launch.colorY} << ' ' << int{launch.colorU} << ' ' << int{launch.colorV} << ", alpha "
             << std::setprecision(9) << launch.alpha;
}

LaunchCase wholeFrame(int width, int height, float alpha) {
  LaunchCase launch;
  launch.frame = {width, height};
  launch.yPitch = width;
  launch.uvPitch = 2 * ((width + 1) / 2);
  launch.maskPitch = width;
  launch.rect = {0, 0, width - 1, height - 1};
  launch.alpha = alpha;
  return launch;
}

LaunchCase randomCase(std::mt19937& random, int side) {
  LaunchCase launch = wholeFrame(between(random, 1, side), between(random, 1, side), 0.0F);
  launch.yPitch += between(random, 0, 33);
  launch.uvPitch += between(random, 0, 33);
  launch.maskPitch += between(random, 0, 33);
  randomSide(random, launch.frame.width, launch.rect.x0, launch.rect.x1);
  randomSide(random, launch.frame.height, launch.rect.y0, launch.rect.y1);
  launch.colorY = anyByte(random);
  launch.colorU = anyByte(random);
  launch.colorV = anyByte(random);
  launch.alpha =
      alphas()[static_cast<std::size_t>(between(random, 0, static_cast<int>(alphas().size()) - 1))];
  return launch;
}

const std::vector<float>& alphas() {
  using Limits = std::numeric_limits<float>;
  static const std::vector<float> values{0.0F,
                                         -0.0F,
                                         1.0F,
                                         0.45F,
                                         0.5F,
                                         1.0F / 3.0F,
                                         0.999999F,
                                         Limits::min(),
                                         Limits::denorm_min(),
                                         1e-39F,
                                         1.5F,
                                         300.0F,
                                         -0.25F,
                                         -300.0F,
                                         Limits::max(),
                                         Limits::infinity(),
                                         -Limits::infinity(),
                                         Limits::quiet_NaN()};
  return values;
}

Layout layoutOf(const LaunchCase& launch) {
  Layout layout{};
  layout.y = kGuard;
  layout.uv = layout.y + planeBytes(launch.yPitch, launch.frame.height) + kGuard;
  layout.mask = layout.uv + planeBytes(launch.uvPitch, (launch.frame.height + 1) / 2) + kGuard;
  layout.size = layout.mask + planeBytes(launch.maskPitch, launch.frame.height) + kGuard;
  return layout;
}

std::vector<unsigned char> randomBytes(const LaunchCase& launch, MaskKind mask, std::mt19937& random) {
  const Layout layout = layoutOf(launch);
  std::vector<unsigned char> bytes(layout.size);
  for (unsigned char& byte : bytes) byte = anyByte(random);
  for (std::size_t i = layout.mask; i < layout.size - kGuard; ++i) {
    if (mask == MaskKind::full) bytes[i] = 255;
    if (mask == MaskKind::sparse && random() % 8 != 0) bytes[i] = 0;
    if (mask == MaskKind::random && random() % 2 != 0) bytes[i] = 0;
  }
  return bytes;
}

Planes planesIn(unsigned char* bytes, const LaunchCase& launch) {
  const Layout layout = layoutOf(launch);
  return {bytes + layout.y, bytes + layout.uv, bytes + layout.mask};
}

void launchOnDevice(const LaunchCase& launch, const Planes& planes, CUstream_st* stream) {
  seg_mask_cuda::launch_segmask_overlay_nv12(
      planes.y, launch.yPitch, planes.uv, launch.uvPitch, launch.frame.width, launch.frame.height,
      planes.mask, launch.maskPitch, launch.rect.x0, launch.rect.y0, launch.rect.x1, launch.rect.y1,
      launch.colorY, launch.colorU, launch.colorV, launch.alpha, stream);
}

void blendOnHost(const LaunchCase& launch, std::vector<unsigned char>& bytes) {
  const auto [y, uv, mask] = planesIn(bytes.data(), launch);
  const LumaRect luma =
      seg_mask_overlay::launchRect(y, uv, mask, launch.frame.width, launch.frame.height, launch.rect);
  if (luma.empty()) return;
  seg_mask_overlay::scalarBlendLuma(y, launch.yPitch, mask, launch.maskPitch, luma, launch.colorY,
                                    launch.alpha);
  const ChromaRect chroma = seg_mask_overlay::chromaRect(luma);
  seg_mask_overlay::scalarBlendChroma(uv, launch.uvPitch, mask, launch.maskPitch, launch.frame, chroma,
                                      launch.colorU, launch.colorV, launch.alpha);
}

}  // namespace gpu_check
