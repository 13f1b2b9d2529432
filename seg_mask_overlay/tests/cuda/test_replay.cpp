// What the launches of the compiled CUDA launcher draw: each recorded launch is run thread by thread on the
// host, with the grid, the block and the argument bytes that the runtime got. A thread runs the kernels' own
// text (host_kernels.h), or what the compiler made of it for the device (ptx_kernel.h). Whole planes, gaps
// and surroundings included, are compared with the host's plain loops.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <ostream>
#include <string>
#include <vector>

#include "blend/launch_geometry.h"
#include "blend/scalar_blend.h"
#include "seg_mask_overlay/seg_mask_cuda.h"
#include "tests/cuda/host_kernels.h"
#include "tests/cuda/launch_recorder.h"
#include "tests/cuda/ptx_kernel.h"
#include "tests/cuda/replay.h"

namespace {

using namespace replay;
using seg_mask_overlay::LumaRect;

/// A call of the launcher.
struct Scene {
  unsigned seed;
  int width, height;
  Plane luma, chroma, mask;
  LumaRect rect;
  unsigned char colorY, colorU, colorV;
  float alpha;

  void launch() {
    launch_recorder::reset();
    seg_mask_cuda::launch_segmask_overlay_nv12(luma.data(), luma.pitch(), chroma.data(), chroma.pitch(),
                                               width, height, mask.data(), mask.pitch(), rect.x0, rect.y0,
                                               rect.x1, rect.y1, colorY, colorU, colorV, alpha, nullptr);
  }
};

std::ostream& operator<<(std::ostream& out, const Scene& scene) {
  return out << "seed " << scene.seed << ": " << scene.width << " x " << scene.height << ", pitches "
             << scene.luma.pitch() << ", " << scene.chroma.pitch() << ", " << scene.mask.pitch()
             << ", rectangle " << scene.rect.x0 << ", " << scene.rect.y0 << ", " << scene.rect.x1 << ", "
             << scene.rect.y1 << ", color " << +scene.colorY << ", " << +scene.colorU << ", " << +scene.colorV
             << ", alpha " << scene.alpha;
}

/// From one corner to another of a line of `size` samples: within it, across its ends, beside it, or a single
/// sample.
void randomSpan(Random& random, int size, int& first, int& last) {
  switch (between(random, 0, 7)) {
    case 0:  // all of it, from as far as can be
      first = between(random, 0, 1) ? INT_MIN : 0;
      last = between(random, 0, 1) ? INT_MAX : size - 1;
      return;
    case 1:
      first = last = between(random, 0, size - 1);
      return;
    case 2:
      first = between(random, -9, size + 9);
      last = between(random, -9, size + 9);
      return;
    case 3:
      first = between(random, -9, size - 1);
      last = between(random, first, size + 9);
      return;
    default:
      first = between(random, 0, size - 1);
      last = between(random, first, size - 1);
  }
}

/// Bytes at random, few that are set, or all set; around the frame at random.
void fillMask(Random& random, Plane& mask) {
  const int kind = between(random, 0, 2);
  for (std::size_t i = 0; i < mask.bytes().size(); ++i) {
    unsigned char& byte = mask.bytes()[i];
    byte = randomByte(random);
    if (!mask.isInside(i) || kind == 0) continue;
    const bool set = kind == 2 || between(random, 0, 19) == 0;
    byte = set ? static_cast<unsigned char>(byte | 1) : 0;
  }
}

Scene randomScene(unsigned seed) {
  Random random(seed);
  Scene scene;
  scene.seed = seed;
  scene.width = between(random, 1, 70);
  scene.height = between(random, 1, 50);
  const auto pitch = [&] { return scene.width + between(random, 0, 13); };
  scene.luma = Plane(scene.width, scene.height, pitch());
  scene.chroma = Plane(scene.width / 2 * 2, scene.height / 2, pitch());
  scene.mask = Plane(scene.width, scene.height, pitch());
  scene.luma.fillAtRandom(random);
  scene.chroma.fillAtRandom(random);
  fillMask(random, scene.mask);
  randomSpan(random, scene.width, scene.rect.x0, scene.rect.x1);
  randomSpan(random, scene.height, scene.rect.y0, scene.rect.y1);
  scene.colorY = randomByte(random);
  scene.colorU = randomByte(random);
  scene.colorV = randomByte(random);
  scene.alpha = randomAlpha(random);
  return scene;
}

/// Blends with the plain loops.
void drawPlainly(Scene& scene) {
  const LumaRect luma = {std::max(scene.rect.x0, 0), std::max(scene.rect.y0, 0),
                         std::min(scene.rect.x1, scene.width - 1), std::min(scene.rect.y1, scene.height - 1)};
  if (luma.x0 > luma.x1 || luma.y0 > luma.y1) return;
  seg_mask_overlay::scalarBlendLuma(scene.luma.data(), scene.luma.pitch(), scene.mask.data(),
                                    scene.mask.pitch(), luma, scene.colorY, scene.alpha);
  seg_mask_overlay::scalarBlendChroma(scene.chroma.data(), scene.chroma.pitch(), scene.mask.data(),
                                      scene.mask.pitch(), {scene.width, scene.height},
                                      {luma.x0 / 2, luma.y0 / 2, (luma.x1 + 1) / 2, (luma.y1 + 1) / 2},
                                      scene.colorU, scene.colorV, scene.alpha);
}

bool isLuma(const Launch& launch) {
  return launch.kernel.find("segmask_y_kernel(") != std::string::npos;
}

/// Runs threads of a launch through the kernels' own text.
RunThread threadOfText(const Launch& launch) {
  if (isLuma(launch)) return host_kernels::threadsOf(launch, segmask_y_kernel);
  return host_kernels::threadsOf(launch, segmask_uv_kernel);
}

/// Runs threads of a launch through the instructions that the compiler made.
RunThread threadOfPtx(const Launch& launch) {
  static const ptx::Kernel luma = compiledKernel(SEG_MASK_PTX, "segmask_y_kernel");
  static const ptx::Kernel chroma = compiledKernel(SEG_MASK_PTX, "segmask_uv_kernel");
  const ptx::Kernel& kernel = isLuma(launch) ? luma : chroma;
  return [&kernel, registers = kernel.registersFor(launch)](const Extent& block, const Extent& thread) {
    kernel.run(registers, block, thread);
  };
}

void drawByThreads(const Code& code, Scene& scene) {
  scene.launch();
  for (const Launch& launch : launch_recorder::launches()) run(code, launch, threadsOf(launch));
}

void drawByThreadsInAnyOrder(const Code& code, Scene& scene) {
  Random random(scene.seed);
  scene.launch();
  for (const Launch& launch : launch_recorder::launches()) {
    std::vector<Thread> threads = threadsOf(launch);
    std::shuffle(threads.begin(), threads.end(), random);
    run(code, launch, threads);
  }
}

void expectSamePlanes(const Scene& drawn, const Scene& expected) {
  EXPECT_EQ(drawn.luma.bytes(), expected.luma.bytes());
  EXPECT_EQ(drawn.chroma.bytes(), expected.chroma.bytes());
  EXPECT_EQ(drawn.mask.bytes(), expected.mask.bytes());
}

constexpr unsigned kScenes = 4000;

class CudaReplay : public ::testing::TestWithParam<Code> {
 protected:
  const Code& code() const { return GetParam(); }

  /// One in `share` of the scenes.
  template <class Handle>
  void forEachScene(unsigned share, Handle handle) const {
    for (unsigned seed = 1; seed <= kScenes / share && !HasFailure(); ++seed) {
      const Scene scene = randomScene(seed);
      SCOPED_TRACE(::testing::Message() << scene);
      handle(scene);
    }
  }
};

TEST_P(CudaReplay, EveryByteIsWhatThePlainLoopsMakeOfIt) {
  unsigned withLuma = 0;
  unsigned withChroma = 0;
  forEachScene(1, [&](const Scene& scene) {
    Scene expected = scene;
    drawPlainly(expected);
    Scene inOrder = scene;
    drawByThreads(code(), inOrder);
    expectSamePlanes(inOrder, expected);
    Scene shuffled = scene;
    drawByThreadsInAnyOrder(code(), shuffled);
    expectSamePlanes(shuffled, expected);
    withLuma += expected.luma.bytes() != scene.luma.bytes();
    withChroma += expected.chroma.bytes() != scene.chroma.bytes();
  });
  EXPECT_GT(withLuma, kScenes / 3);
  EXPECT_GT(withChroma, kScenes / 3);
}

TEST_P(CudaReplay, NoByteDependsOnTheMaskOutsideTheFrame) {
  forEachScene(4, [&](const Scene& scene) {
    Scene nothingAround = scene;
    Scene setAround = scene;
    nothingAround.mask.forEachOutside([](unsigned char& byte) { byte = 0; });
    setAround.mask.forEachOutside([](unsigned char& byte) { byte = 255; });
    drawByThreads(code(), nothingAround);
    drawByThreads(code(), setAround);
    EXPECT_EQ(setAround.luma.bytes(), nothingAround.luma.bytes());
    EXPECT_EQ(setAround.chroma.bytes(), nothingAround.chroma.bytes());
  });
}

/// A frame of even sides without gaps, to be drawn on as a whole: planes, mask, colours and alpha are all
/// zero.
Scene zeroScene(int width, int height) {
  Scene scene{};
  scene.width = width;
  scene.height = height;
  scene.luma = Plane(width, height, width);
  scene.chroma = Plane(width, height / 2, width);
  scene.mask = Plane(width, height, width);
  scene.rect = {0, 0, width - 1, height - 1};
  return scene;
}

// The launcher never asks for a sample that hangs over the frame's edge; the kernel keeps to the frame by
// itself.
TEST_P(CudaReplay, ChromaOverTheEdgeReadsTheMaskWithinTheFrame) {
  Scene scene = zeroScene(4, 4);
  scene.alpha = 1.0F;
  scene.colorU = scene.colorV = 255;
  // Of each sample at the edge of 3 x 3 pixels, only what lies outside is set.
  for (const int outside : {3, 4 + 3, 3 * 4, 3 * 4 + 1, 2 * 4 + 3, 3 * 4 + 2, 3 * 4 + 3})
    scene.mask.data()[outside] = 1;
  scene.launch();
  Launch chroma = launch_recorder::launches().at(1);
  constexpr std::size_t kWidth = 4;
  constexpr std::size_t kHeight = 5;
  chroma.setArgument(kWidth, 3);
  chroma.setArgument(kHeight, 3);
  run(code(), chroma, threadsOf(chroma));
  EXPECT_EQ(std::vector<int>(scene.chroma.data(), scene.chroma.data() + 8), std::vector<int>(8, 0));
  chroma.setArgument(kWidth, 4);
  run(code(), chroma, threadsOf(chroma));
  EXPECT_EQ(std::vector<int>(scene.chroma.data(), scene.chroma.data() + 8),
            (std::vector<int>{0, 0, 255, 255, 0, 0, 255, 255}));
}

/// The launch with the plane all zeros, each colour 255 and alpha 1, so that every byte written shows.
Launch showingWrites(Launch launch, Plane& plane) {
  std::fill(plane.bytes().begin(), plane.bytes().end(), static_cast<unsigned char>(0));
  launch.setArgument<unsigned char*>(0, plane.data());
  const std::size_t alpha = launch.parameters.size() - 1;
  for (std::size_t color = isLuma(launch) ? alpha - 1 : alpha - 2; color < alpha; ++color) {
    launch.setArgument<unsigned char>(color, 255);
  }
  launch.setArgument(alpha, 1.0F);
  return launch;
}

TEST_P(CudaReplay, NoThreadWritesWhatAnotherWrites) {
  unsigned launches = 0;
  forEachScene(20, [&](Scene scene) {
    scene.launch();
    for (const Launch& launch : launch_recorder::launches()) {
      Plane plane = isLuma(launch) ? scene.luma : scene.chroma;
      expectNoByteWrittenTwice(code(), showingWrites(launch, plane), {&plane});
      ++launches;
    }
  });
  EXPECT_GT(launches, kScenes / 20);
}

// Where the mask is set, at pixel (2, 1) with the chroma sample (1, 0): 16 * 0.45 + 200 * 0.55 + 0.5 = 117.7
// for Y, 200 * 0.45 + 100 * 0.55 + 0.5 = 145.5 for U, 100 * 0.55 + 0.5 = 55.5 for V.
TEST_P(CudaReplay, OnePixelWorkedOutByHand) {
  Scene scene = zeroScene(4, 2);
  scene.colorY = 16;
  scene.colorU = 200;
  scene.colorV = 0;
  scene.alpha = 0.45F;
  std::fill_n(scene.luma.data(), 8, static_cast<unsigned char>(200));
  std::fill_n(scene.chroma.data(), 4, static_cast<unsigned char>(100));
  scene.mask.data()[4 + 2] = 1;
  drawByThreads(code(), scene);
  const auto* luma = scene.luma.data();
  const auto* chroma = scene.chroma.data();
  EXPECT_EQ(std::vector<int>(luma, luma + 8), (std::vector<int>{200, 200, 200, 200, 200, 200, 117, 200}));
  EXPECT_EQ(std::vector<int>(chroma, chroma + 4), (std::vector<int>{100, 100, 145, 55}));
}

INSTANTIATE_TEST_SUITE_P(Threads, CudaReplay,
                         ::testing::Values(Code{"OfTheText", threadOfText}, Code{"OfThePtx", threadOfPtx}),
                         [](const auto& code) { return std::string(code.param.name); });

}  // namespace
