// What the launches of the library that draws a frame in one pass draw: its compositor packs a frame and
// calls the compiled launcher, and the recorded launch is run thread by thread on the host, through the
// kernel's own text or through what the compiler made of it. Whole planes, gaps and surroundings included,
// are compared with masks scaled to the frame and the plain loops, item by item.

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "blend/fused_frame.h"
#include "blend/scalar_blend.h"
#include "mask/mask_bits.h"
#include "src/Compositor.h"
#include "test_support/scalar_frame_mask.h"
#include "tests/cuda/host_fused_kernel.h"
#include "tests/cuda/launch_recorder.h"
#include "tests/cuda/ptx_kernel.h"
#include "tests/cuda/replay.h"

namespace {

using namespace replay;
using render_base::Box;
using seg_mask::MaskBits;
using seg_mask::OverlayItem;
using seg_mask_overlay::FusedFrame;
using seg_mask_overlay::FusedItem;
using seg_mask_overlay::LumaRect;

/// A frame and what is drawn on it. Copies share the masks of the original, which is to outlive them.
struct Scene {
  unsigned seed;
  int width, height;
  Plane luma, chroma;
  std::vector<MaskBits> masks;
  std::vector<OverlayItem> items;
  float alpha;
};

std::ostream& operator<<(std::ostream& out, const Scene& scene) {
  out << "seed " << scene.seed << ": " << scene.width << " x " << scene.height << ", alpha " << scene.alpha;
  for (const OverlayItem& item : scene.items) {
    out << "; box " << item.box.x << ", " << item.box.y << ", " << item.box.w << ", " << item.box.h
        << " mask " << item.mask.width << " x " << item.mask.height;
  }
  return out;
}

/// Bits at random, few that are set, or all set. One dimension in four exceeds the frame's.
MaskBits randomMask(Random& random, int width, int height) {
  const auto dimension = [&](int frame) {
    return between(random, 0, 3) == 0 ? between(random, frame, 3 * frame) : between(random, 1, 40);
  };
  MaskBits mask{dimension(width), dimension(height), {}};
  const auto pixels = static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height);
  mask.bits.resize((pixels + 7) / 8);
  const int kind = between(random, 0, 2);
  for (uint8_t& byte : mask.bits) {
    byte = randomByte(random);
    if (kind == 1) byte = static_cast<uint8_t>(byte & randomByte(random) & randomByte(random));
    if (kind == 2) byte = 255;
  }
  return mask;
}

/// A box's beginning and length along a side: within it, across its ends, beside it, of one pixel, or as far
/// as numbers go.
void randomSide(Random& random, int side, int32_t& begin, int32_t& length) {
  begin = between(random, -9, side + 4);
  length = between(random, -2, side + 9);
  switch (between(random, 0, 9)) {
    case 0:
      begin = between(random, 0, 1) ? INT_MIN : 0;
      length = INT_MAX;
      return;
    case 1:
      begin = between(random, 0, side - 1);
      length = between(random, 0, 1) ? INT_MAX : 1;
      return;
    default:
      if (begin >= 0 || between(random, 0, 1)) length = between(random, 1, side);
  }
}

Scene randomScene(unsigned seed) {
  Random random(seed);
  Scene scene{};
  scene.seed = seed;
  scene.width = between(random, 1, 100);
  scene.height = between(random, 1, 80);
  const auto pitch = [&] { return scene.width + between(random, 0, 13); };
  scene.luma = Plane(scene.width, scene.height, pitch());
  scene.chroma = Plane(scene.width / 2 * 2, scene.height / 2, pitch());
  scene.luma.fillAtRandom(random);
  scene.chroma.fillAtRandom(random);
  for (int i = between(random, 1, 3); i > 0; --i)
    scene.masks.push_back(randomMask(random, scene.width, scene.height));
  for (int i = between(random, 1, 6); i > 0; --i) {
    const int mask = between(random, 0, static_cast<int>(scene.masks.size()) - 1);
    OverlayItem item{scene.masks[static_cast<std::size_t>(mask)], {}, {}};
    randomSide(random, scene.width, item.box.x, item.box.w);
    randomSide(random, scene.height, item.box.y, item.box.h);
    item.color = {randomByte(random), randomByte(random), randomByte(random)};
    scene.items.push_back(item);
  }
  scene.alpha = randomAlpha(random);
  return scene;
}

/// Draws as the other library does: each mask scaled to the frame, and the plain loops.
void drawPlainly(Scene& scene) {
  for (const OverlayItem& item : scene.items) {
    const std::optional<LumaRect> luma = render_base::clipBox(item.box, {scene.width, scene.height});
    if (!luma) continue;
    const cv::Mat mask = seg_mask::scalarFrameMask(item.mask, scene.width, scene.height);
    seg_mask_overlay::scalarBlendLuma(scene.luma.data(), scene.luma.pitch(), mask.data, scene.width, *luma,
                                      item.color.y, scene.alpha);
    seg_mask_overlay::scalarBlendChroma(scene.chroma.data(), scene.chroma.pitch(), mask.data, scene.width,
                                        {scene.width, scene.height},
                                        {luma->x0 / 2, luma->y0 / 2, (luma->x1 + 1) / 2, (luma->y1 + 1) / 2},
                                        item.color.u, item.color.v, scene.alpha);
  }
}

/// Runs threads of a launch through the kernel's own text.
RunThread threadOfText(const Launch& launch) {
  return host_kernels::threadsOf(launch, segmask_fused_kernel);
}

/// Runs threads of a launch through the instructions that the compiler made.
RunThread threadOfPtx(const Launch& launch) {
  static const ptx::Kernel kernel = compiledKernel(SEG_MASK_PTX, "segmask_fused_kernel");
  return [registers = kernel.registersFor(launch)](const Extent& block, const Extent& thread) {
    kernel.run(registers, block, thread);
  };
}

void expectSamePlanes(const Scene& drawn, const Scene& expected) {
  EXPECT_EQ(drawn.luma.bytes(), expected.luma.bytes());
  EXPECT_EQ(drawn.chroma.bytes(), expected.chroma.bytes());
}

/// Memory between pages that cannot be read: a read beside its parts ends the program.
class GuardedMemory {
 public:
  enum class Flush { kBegin, kEnd };

  /// Which end of each part lies at a page's.
  explicit GuardedMemory(Flush flush) : flush_(flush) {}
  GuardedMemory(const GuardedMemory&) = delete;
  GuardedMemory& operator=(const GuardedMemory&) = delete;
  ~GuardedMemory() {
    for (const Mapping& mapping : mappings_) ::munmap(mapping.address, mapping.size);
  }

  /// A copy of `count` values, with such pages before and behind it.
  template <class T>
  T* copyOf(const T* values, std::size_t count) {
    constexpr std::size_t kPage = 4096;
    const std::size_t bytes = count * sizeof(T);
    const std::size_t inner = (bytes + kPage - 1) / kPage * kPage;
    void* const address = ::mmap(nullptr, inner + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (address == MAP_FAILED) throw std::runtime_error("no memory");
    mappings_.push_back({address, inner + 2 * kPage});
    char* const first = static_cast<char*>(address) + kPage;
    if (::mprotect(first, inner, PROT_READ | PROT_WRITE) != 0) throw std::runtime_error("no access");
    char* const at = flush_ == Flush::kBegin ? first : first + inner - bytes;
    std::memcpy(at, values, bytes);
    return reinterpret_cast<T*>(at);
  }

 private:
  struct Mapping {
    void* address;
    std::size_t size;
  };

  Flush flush_;
  std::vector<Mapping> mappings_;
};

/// Gives the item copies of what it may read: the maps, from `maps` on, of the frame pixels that it covers,
/// and the bytes from the first mask pixel that they show to the last.
void guardItem(FusedItem& item, const FusedFrame& frame, const int32_t* maps, GuardedMemory& memory) {
  const LumaRect cover = seg_mask_overlay::coverRect(item.luma);
  const auto byteOf = [&](int x, int y) {
    const int64_t row = frame.maps[item.rows + y];
    return (item.firstBit + row * item.rowBits + frame.maps[item.columns + x]) / 8;
  };
  const int64_t begin = byteOf(cover.x0, cover.y0);
  const int64_t end = byteOf(cover.x1, cover.y1) + 1;
  const uint8_t* const bits = memory.copyOf(frame.bits + begin, static_cast<std::size_t>(end - begin));
  item.firstBit += 8 * ((bits - frame.bits) - begin);
  const auto moveMap = [&](int32_t& map, int from, int to) {
    const int32_t* const part =
        memory.copyOf(frame.maps + map + from, static_cast<std::size_t>(to - from + 1));
    map = static_cast<int32_t>(part - maps) - from;
  };
  moveMap(item.columns, cover.x0, cover.x1);
  moveMap(item.rows, cover.y0, cover.y1);
}

/// The same frame with each part, and each item's, in guarded memory.
FusedFrame guarded(FusedFrame frame, GuardedMemory& memory) {
  // Maps are addressed by 32-bit numbers from here, which reach what this memory maps.
  const int32_t* const maps = memory.copyOf(frame.maps, 1);
  std::vector<FusedItem> items(frame.items, frame.items + frame.itemCount);
  for (FusedItem& item : items) guardItem(item, frame, maps, memory);
  frame.maps = maps;
  frame.items = memory.copyOf(items.data(), items.size());
  const std::size_t tiles =
      static_cast<std::size_t>(frame.tiles.columns) * static_cast<std::size_t>(frame.tiles.rows);
  frame.tiles.items = memory.copyOf(frame.tiles.items, frame.tiles.first[tiles]);
  frame.tiles.first = memory.copyOf(frame.tiles.first, tiles + 1);
  return frame;
}

constexpr unsigned kScenes = 4000;

class CudaFusedReplay : public ::testing::TestWithParam<Code> {
 protected:
  const Code& code() const { return GetParam(); }

  /// Lets the compositor draw, which launches nothing if no box meets the frame.
  void launch(Scene& scene) {
    launch_recorder::reset();
    const IRenderBackend::MappedPlanes planes = {
        scene.luma.data(), scene.chroma.data(), scene.luma.pitch(), scene.chroma.pitch(), 0, nullptr};
    compositor_->draw({planes, {scene.width, scene.height}}, scene.items, scene.alpha);
    ASSERT_LE(launch_recorder::launches().size(), 1U);
  }

  /// The frame that is launched; none if no box meets the frame.
  std::optional<FusedFrame> launched(Scene& scene) {
    launch(scene);
    if (launch_recorder::launches().empty()) return std::nullopt;
    return launch_recorder::launches()[0].argument<FusedFrame>(0);
  }

  /// Runs what is launched for the frame.
  void drawByThreads(const FusedFrame& frame) const {
    launch_recorder::reset();
    seg_mask_overlay::launchFusedFrame(frame, nullptr, nullptr);
    const Launch& launch = launch_recorder::launches().at(0);
    run(code(), launch, threadsOf(launch));
  }

  void drawByThreadsInAnyOrder(Scene& scene) {
    Random random(scene.seed);
    launch(scene);
    for (const Launch& launch : launch_recorder::launches()) {
      std::vector<Thread> threads = threadsOf(launch);
      std::shuffle(threads.begin(), threads.end(), random);
      run(code(), launch, threads);
    }
  }

  /// One in `share` of the scenes.
  template <class Handle>
  void forEachScene(unsigned share, Handle handle) const {
    for (unsigned seed = 1; seed <= kScenes / share && !HasFailure(); ++seed) {
      const Scene scene = randomScene(seed);
      SCOPED_TRACE(::testing::Message() << scene);
      handle(scene);
    }
  }

 private:
  const std::unique_ptr<seg_mask_overlay::Compositor> compositor_ = seg_mask_overlay::makeCompositor();
};

TEST_P(CudaFusedReplay, EveryByteIsWhatTheOtherLibraryDraws) {
  unsigned withLuma = 0;
  unsigned withChroma = 0;
  forEachScene(1, [&](const Scene& scene) {
    Scene expected = scene;
    drawPlainly(expected);
    Scene shuffled = scene;
    drawByThreadsInAnyOrder(shuffled);
    expectSamePlanes(shuffled, expected);
    withLuma += expected.luma.bytes() != scene.luma.bytes();
    withChroma += expected.chroma.bytes() != scene.chroma.bytes();
  });
  EXPECT_GT(withLuma, kScenes / 2);
  EXPECT_GT(withChroma, kScenes / 2);
}

/// Tiles as the host makes them where items and tiles are very many, but each list with every item.
seg_mask_overlay::TileLists coarseTiles(const FusedFrame& frame, int shift, std::vector<uint32_t>& first,
                                        std::vector<uint32_t>& items) {
  LumaRect tiles{INT_MAX, INT_MAX, 0, 0};
  for (uint32_t i = 0; i < frame.itemCount; ++i) {
    const LumaRect cover = seg_mask_overlay::coverRect(frame.items[i].luma);
    tiles = {std::min(tiles.x0, cover.x0 >> (5 + shift)), std::min(tiles.y0, cover.y0 >> (5 + shift)),
             std::max(tiles.x1, cover.x1 >> (5 + shift)), std::max(tiles.y1, cover.y1 >> (5 + shift))};
  }
  const int columns = tiles.x1 - tiles.x0 + 1;
  const int rows = tiles.y1 - tiles.y0 + 1;
  first = {0};
  for (int tile = 0; tile < columns * rows; ++tile) {
    for (uint32_t i = 0; i < frame.itemCount; ++i) items.push_back(i);
    first.push_back(static_cast<uint32_t>(items.size()));
  }
  return {tiles.x0, tiles.y0, columns, rows, shift, first.data(), items.data()};
}

TEST_P(CudaFusedReplay, CoarseTilesDrawTheSame) {
  forEachScene(6, [&](const Scene& scene) {
    Scene expected = scene;
    drawPlainly(expected);
    for (int shift = 1; shift <= 3; ++shift) {
      SCOPED_TRACE(::testing::Message() << "shift " << shift);
      Scene drawn = scene;
      std::optional<FusedFrame> frame = launched(drawn);
      if (!frame) return;
      std::vector<uint32_t> first;
      std::vector<uint32_t> items;
      frame->tiles = coarseTiles(*frame, shift, first, items);
      drawByThreads(*frame);
      expectSamePlanes(drawn, expected);
    }
  });
}

/// A plane's samples, and the gaps between their rows, in guarded memory while this lives.
class GuardedPlane {
 public:
  GuardedPlane(Plane& plane, int width, int rows, GuardedMemory& memory)
      : plane_(plane),
        size_(rows == 0 ? 0 : static_cast<std::size_t>(plane.pitch() * (rows - 1) + width)),
        bytes_(memory.copyOf(plane.data(), size_)) {}
  GuardedPlane(const GuardedPlane&) = delete;
  GuardedPlane& operator=(const GuardedPlane&) = delete;
  ~GuardedPlane() { std::copy_n(bytes_, size_, plane_.data()); }

  unsigned char* bytes() const { return bytes_; }

 private:
  Plane& plane_;
  std::size_t size_;
  unsigned char* bytes_;
};

TEST_P(CudaFusedReplay, NothingIsReadBesideTheSamplesAndWhatTheItemsCover) {
  for (const auto flush : {GuardedMemory::Flush::kBegin, GuardedMemory::Flush::kEnd}) {
    forEachScene(6, [&](const Scene& scene) {
      Scene expected = scene;
      drawPlainly(expected);
      Scene drawn = scene;
      const std::optional<FusedFrame> frame = launched(drawn);
      if (!frame) return;
      GuardedMemory memory(flush);
      FusedFrame inGuarded = guarded(*frame, memory);
      {
        const GuardedPlane luma(drawn.luma, scene.width, scene.height, memory);
        const GuardedPlane chroma(drawn.chroma, scene.width / 2 * 2, scene.height / 2, memory);
        inGuarded.yPlane = luma.bytes();
        inGuarded.uvPlane = chroma.bytes();
        drawByThreads(inGuarded);
      }
      expectSamePlanes(drawn, expected);
    });
  }
}

TEST_P(CudaFusedReplay, NoThreadWritesWhatAnotherWrites) {
  unsigned launches = 0;
  forEachScene(20, [&](Scene scene) {
    scene.alpha = 1.0F;
    for (OverlayItem& item : scene.items) item.color = {255, 255, 255};
    for (Plane* plane : {&scene.luma, &scene.chroma})
      std::fill(plane->bytes().begin(), plane->bytes().end(), static_cast<unsigned char>(0));
    launch(scene);
    for (const Launch& launch : launch_recorder::launches()) {
      expectNoByteWrittenTwice(code(), launch, {&scene.luma, &scene.chroma});
      ++launches;
    }
  });
  EXPECT_GT(launches, kScenes / 40);
}

/// A frame of 4 x 2 pixels with all luma 200 and all chroma 100, drawn with the weight 0.45.
Scene smallScene(std::vector<MaskBits> masks) {
  Scene scene{};
  scene.width = 4;
  scene.height = 2;
  scene.luma = Plane(4, 2, 4);
  scene.chroma = Plane(4, 1, 4);
  scene.alpha = 0.45F;
  std::fill_n(scene.luma.data(), 8, static_cast<unsigned char>(200));
  std::fill_n(scene.chroma.data(), 4, static_cast<unsigned char>(100));
  scene.masks = std::move(masks);
  return scene;
}

std::vector<int> numbers(const unsigned char* bytes, std::size_t count) {
  return std::vector<int>(bytes, bytes + count);
}

// 16 * 0.45 + 200 * 0.55 + 0.5 = 117.7, cut to 117; 9 * 0.45 + 117 * 0.55 + 0.5 = 68.9. From 117.2 it would
// be 69.0.
TEST_P(CudaFusedReplay, EachItemIsRoundedToBytes) {
  Scene scene = smallScene({{1, 1, {1}}});
  scene.items = {{scene.masks[0], {2, 1, 1, 1}, {16, 0, 0}}, {scene.masks[0], {2, 1, 1, 1}, {9, 0, 0}}};
  drawByThreadsInAnyOrder(scene);
  EXPECT_EQ(numbers(scene.luma.data(), 8), (std::vector<int>{200, 200, 200, 200, 200, 200, 68, 200}));
}

// A box of pixel (1, 1), a mask of pixel (0, 0): no luma, and the chroma sample that the two share. 200 *
// 0.45 + 100 * 0.55 + 0.5 = 145.5 for U, 55.5 for V.
TEST_P(CudaFusedReplay, ChromaReadsTheMaskLeftOfAnOddBoxAndAboveIt) {
  Scene scene = smallScene({{4, 2, {0b0000'0001}}});
  scene.items = {{scene.masks[0], {1, 1, 1, 1}, {16, 200, 0}}};
  drawByThreadsInAnyOrder(scene);
  EXPECT_EQ(numbers(scene.luma.data(), 8), std::vector<int>(8, 200));
  EXPECT_EQ(numbers(scene.chroma.data(), 4), (std::vector<int>{145, 55, 100, 100}));
}

INSTANTIATE_TEST_SUITE_P(Threads, CudaFusedReplay,
                         ::testing::Values(Code{"OfTheText", threadOfText}, Code{"OfThePtx", threadOfPtx}),
                         [](const auto& code) { return std::string(code.param.name); });

}  // namespace
