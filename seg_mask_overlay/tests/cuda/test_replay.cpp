// What the launches of the compiled CUDA launcher draw: each recorded launch is run thread by thread on the
// host, with the grid, the block and the argument bytes that the runtime got, through the kernels' own text
// (host_kernels.h). Whole planes, gaps and surroundings included, are compared with the host's plain loops.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "host_blend.h"
#include "host_kernels.h"
#include "launch_recorder.h"
#include "overlay_geometry.h"
#include "seg_mask_overlay/seg_mask_cuda.h"

namespace {

using host_kernels::Thread;
using launch_recorder::Launch;
using seg_mask_overlay::LumaRect;

using Random = std::mt19937;

int between(Random& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}

unsigned char randomByte(Random& random) {
  return static_cast<unsigned char>(between(random, 0, 255));
}

/// Rows of bytes with gaps between them, and more bytes before and after.
class Plane {
 public:
  Plane() = default;
  Plane(int width, int height, int pitch)
      : width_(width),
        height_(height),
        pitch_(pitch),
        bytes_(2 * kSurround + static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height)) {}

  int pitch() const { return pitch_; }
  unsigned char* data() { return bytes_.data() + kSurround; }
  std::vector<unsigned char>& bytes() { return bytes_; }
  const std::vector<unsigned char>& bytes() const { return bytes_; }

  void fillAtRandom(Random& random) {
    for (unsigned char& byte : bytes_) byte = randomByte(random);
  }

  /// Calls handle(byte) for each byte that is not one of a row's `width`.
  template <class Handle>
  void forEachOutside(Handle handle) {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      if (!isInside(i)) handle(bytes_[i]);
    }
  }

  bool isInside(std::size_t index) const {
    if (index < kSurround || index >= bytes_.size() - kSurround) return false;
    return static_cast<int>((index - kSurround) % static_cast<std::size_t>(pitch_)) < width_;
  }

 private:
  static constexpr std::size_t kSurround = 160;

  int width_ = 0, height_ = 0, pitch_ = 1;
  std::vector<unsigned char> bytes_;
};

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

float randomAlpha(Random& random) {
  using Limits = std::numeric_limits<float>;
  const float special[] = {0.0F,
                           -0.0F,
                           1.0F,
                           0.45F,
                           0.5F,
                           Limits::denorm_min(),
                           -Limits::denorm_min(),
                           Limits::min() / 2,
                           1.0F + Limits::epsilon(),
                           1.5F,
                           1000.0F,
                           Limits::max(),
                           -0.25F,
                           -Limits::max(),
                           Limits::quiet_NaN(),
                           Limits::infinity(),
                           -Limits::infinity()};
  const int kinds = static_cast<int>(std::size(special));
  const int kind = between(random, 0, 2 * kinds);
  return kind < kinds ? special[kind] : std::uniform_real_distribution<float>(0.0F, 1.0F)(random);
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
  seg_mask_overlay::blendLuma(scene.luma.data(), scene.luma.pitch(), scene.mask.data(), scene.mask.pitch(),
                              luma, scene.colorY, scene.alpha);
  seg_mask_overlay::blendChroma(scene.chroma.data(), scene.chroma.pitch(), scene.mask.data(),
                                scene.mask.pitch(), {scene.width, scene.height},
                                {luma.x0 / 2, luma.y0 / 2, (luma.x1 + 1) / 2, (luma.y1 + 1) / 2},
                                scene.colorU, scene.colorV, scene.alpha);
}

bool isLuma(const Launch& launch) {
  return launch.kernel.find("segmask_y_kernel(") != std::string::npos;
}

/// Runs the threads of a recorded launch in the order given.
void run(const Launch& launch, const std::vector<Thread>& threads) {
  const auto runAll = [&](auto kernel) {
    const auto arguments = host_kernels::argumentsOf(launch, kernel);
    for (const Thread& thread : threads) host_kernels::runThread(launch, thread, kernel, arguments);
  };
  if (isLuma(launch)) {
    runAll(segmask_y_kernel);
  } else {
    runAll(segmask_uv_kernel);
  }
}

void drawByThreads(Scene& scene) {
  scene.launch();
  for (const Launch& launch : launch_recorder::launches()) run(launch, host_kernels::threadsOf(launch));
}

void drawByThreadsInAnyOrder(Scene& scene) {
  Random random(scene.seed);
  scene.launch();
  for (const Launch& launch : launch_recorder::launches()) {
    std::vector<Thread> threads = host_kernels::threadsOf(launch);
    std::shuffle(threads.begin(), threads.end(), random);
    run(launch, threads);
  }
}

void expectSamePlanes(const Scene& drawn, const Scene& expected) {
  EXPECT_EQ(drawn.luma.bytes(), expected.luma.bytes());
  EXPECT_EQ(drawn.chroma.bytes(), expected.chroma.bytes());
  EXPECT_EQ(drawn.mask.bytes(), expected.mask.bytes());
}

constexpr unsigned kFirstSeed = 1;
constexpr unsigned kScenes = 4000;

TEST(CudaReplay, EveryByteIsWhatThePlainLoopsMakeOfIt) {
  int withLuma = 0;
  int withChroma = 0;
  for (unsigned seed = kFirstSeed; seed < kFirstSeed + kScenes; ++seed) {
    const Scene scene = randomScene(seed);
    SCOPED_TRACE(::testing::Message() << scene);
    Scene expected = scene;
    drawPlainly(expected);
    Scene inOrder = scene;
    drawByThreads(inOrder);
    expectSamePlanes(inOrder, expected);
    Scene shuffled = scene;
    drawByThreadsInAnyOrder(shuffled);
    expectSamePlanes(shuffled, expected);
    if (HasFailure()) return;
    withLuma += expected.luma.bytes() != scene.luma.bytes();
    withChroma += expected.chroma.bytes() != scene.chroma.bytes();
  }
  EXPECT_GT(withLuma, static_cast<int>(kScenes / 3));
  EXPECT_GT(withChroma, static_cast<int>(kScenes / 3));
}

TEST(CudaReplay, NoByteDependsOnTheMaskOutsideTheFrame) {
  for (unsigned seed = kFirstSeed; seed < kFirstSeed + kScenes / 4; ++seed) {
    Scene nothingAround = randomScene(seed);
    SCOPED_TRACE(::testing::Message() << nothingAround);
    Scene setAround = nothingAround;
    nothingAround.mask.forEachOutside([](unsigned char& byte) { byte = 0; });
    setAround.mask.forEachOutside([](unsigned char& byte) { byte = 255; });
    drawByThreads(nothingAround);
    drawByThreads(setAround);
    ASSERT_EQ(setAround.luma.bytes(), nothingAround.luma.bytes());
    ASSERT_EQ(setAround.chroma.bytes(), nothingAround.chroma.bytes());
  }
}

/// Runs a launch with each thread on a plane of zeros, drawing 255 with alpha 1, so that a written byte
/// shows. `colors` are the indices of the arguments that are a colour, the last argument is alpha.
template <std::size_t... Colors, class Kernel>
void expectNoByteWrittenTwice(const Launch& launch, Kernel* kernel, Plane plane) {
  std::vector<unsigned char>& bytes = plane.bytes();
  std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
  auto arguments = host_kernels::argumentsOf(launch, kernel);
  std::get<0>(arguments) = plane.data();
  ((std::get<Colors>(arguments) = 255), ...);
  std::get<std::tuple_size_v<decltype(arguments)> - 1>(arguments) = 1.0F;

  std::vector<bool> written(bytes.size());
  for (const Thread& thread : host_kernels::threadsOf(launch)) {
    host_kernels::runThread(launch, thread, kernel, arguments);
    for (auto at = bytes.begin(); (at = std::find(at, bytes.end(), 255)) != bytes.end();) {
      const auto index = static_cast<std::size_t>(at - bytes.begin());
      ASSERT_FALSE(written[index]) << "byte " << index << " is written by two threads";
      ASSERT_TRUE(plane.isInside(index)) << "byte " << index << " is no sample";
      written[index] = true;
      *at = 0;
    }
  }
}

TEST(CudaReplay, NoThreadWritesWhatAnotherWrites) {
  int launches = 0;
  for (unsigned seed = kFirstSeed; seed < kFirstSeed + kScenes / 20; ++seed) {
    Scene scene = randomScene(seed);
    SCOPED_TRACE(::testing::Message() << scene);
    scene.launch();
    for (const Launch& launch : launch_recorder::launches()) {
      if (isLuma(launch)) {
        expectNoByteWrittenTwice<8>(launch, segmask_y_kernel, scene.luma);
      } else {
        expectNoByteWrittenTwice<10, 11>(launch, segmask_uv_kernel, scene.chroma);
      }
      ++launches;
    }
    if (HasFailure()) return;
  }
  EXPECT_GT(launches, 200);
}

// 16 * 0.45 + 200 * 0.55 + 0.5 = 117.7 where the mask is set: pixel (2, 1), whose chroma sample is (1, 0).
TEST(CudaReplay, OnePixelWorkedOutByHand) {
  Scene scene = randomScene(kFirstSeed);
  scene.width = 4;
  scene.height = 2;
  scene.luma = Plane(4, 2, 4);
  scene.chroma = Plane(4, 1, 4);
  scene.mask = Plane(4, 2, 4);
  scene.rect = {0, 0, 3, 1};
  scene.colorY = 16;
  scene.colorU = 100;
  scene.colorV = 0;
  scene.alpha = 0.45F;
  std::fill_n(scene.luma.data(), 8, static_cast<unsigned char>(200));
  std::fill_n(scene.chroma.data(), 4, static_cast<unsigned char>(100));
  scene.mask.data()[4 + 2] = 1;
  drawByThreads(scene);
  const auto* luma = scene.luma.data();
  const auto* chroma = scene.chroma.data();
  EXPECT_EQ(std::vector<int>(luma, luma + 8), (std::vector<int>{200, 200, 200, 200, 200, 200, 117, 200}));
  EXPECT_EQ(std::vector<int>(chroma, chroma + 4), (std::vector<int>{100, 100, 100, 55}));
}

}  // namespace
