// What the library that draws a frame in one pass asks the CUDA runtime for: its compositor with the compiled
// launcher, call by call and byte by byte. No GPU is needed: the launches are written down
// (launch_recorder.h).

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "blend/fused_frame.h"
#include "mask/mask_bits.h"
#include "src/Compositor.h"
#include "tests/cuda/device_image.h"
#include "tests/cuda/launch_recorder.h"

namespace {

using launch_recorder::Extent;
using launch_recorder::Launch;
using launch_recorder::launches;
using render_base::Box;
using seg_mask_overlay::Compositor;
using seg_mask_overlay::FusedFrame;
using seg_mask_overlay::FusedItem;
using seg_mask_overlay::LumaRect;
using seg_mask_overlay::makeCompositor;

using Calls = std::vector<std::string>;

const char* const kKernel = "(anonymous namespace)::segmask_fused_kernel(seg_mask_overlay::FusedFrame)";

/// What a launch consists of.
const Calls kOneLaunch = {"__cudaPushCallConfiguration", "__cudaPopCallConfiguration", SEG_MASK_LAUNCH_CALL};

/// What a frame calls when all buffers are there: whether its staging buffer is free, the upload, and what
/// tells that the buffer is free again.
Calls callsOfAFrame(const Calls& launch) {
  Calls calls = {"cudaPeekAtLastError", "cudaEventQuery", "cudaMemcpyAsync"};
  calls.insert(calls.end(), launch.begin(), launch.end());
  calls.emplace_back("cudaEventRecord");
  return calls;
}

/// An address that nothing reads.
unsigned char* address(std::uintptr_t value) {
  return reinterpret_cast<unsigned char*>(value);
}

/// A frame whose planes nobody reads, and a mask of 2 x 2 pixels for all items.
class CudaFusedLaunch : public ::testing::Test {
 protected:
  CudaFusedLaunch() { launch_recorder::reset(); }

  void draw(Compositor& compositor, const std::vector<Box>& boxes) {
    std::vector<seg_mask::OverlayItem> items;
    for (const Box& box : boxes) items.push_back({mask_, box, {16, 96, 240}});
    compositor.draw({planes_, {1920, 1080}}, items, 0.45F);
  }

  /// The same: the frame that is launched.
  FusedFrame frameOf(const std::vector<Box>& boxes) {
    launch_recorder::reset();
    draw(*compositor_, boxes);
    return launches().at(0).argument<FusedFrame>(0);
  }

  /// A frame for the first time: buffers are made, and CUDA 13 asks for the kernel's handle.
  void drawForTheFirstTime() {
    draw(*compositor_, {{0, 0, 1920, 1080}});
    launch_recorder::reset();
  }

  const IRenderBackend::MappedPlanes planes_ = {address(0x7010'0000'1000),
                                                address(0x7020'0000'2000),
                                                2101,
                                                2203,
                                                0,
                                                reinterpret_cast<CUstream_st*>(0x7040'0000'4000)};
  const seg_mask::MaskBits mask_ = {2, 2, {0b1001}};
  const std::unique_ptr<Compositor> compositor_ = makeCompositor();
};

TEST_F(CudaFusedLaunch, OneUploadAndOneLaunchAreAllThatAFrameCalls) {
  drawForTheFirstTime();
  draw(*compositor_, {{0, 0, 8, 8}, {100, 51, 306, 172}, {7, 7, 1, 1}});
  EXPECT_EQ(launch_recorder::calls(), callsOfAFrame(kOneLaunch));
}

TEST_F(CudaFusedLaunch, NothingIsCalledForAFrameThatNoBoxMeets) {
  draw(*compositor_, {});
  draw(*compositor_, {{-9, 0, 9, 9}, {0, 1080, 9, 9}, {5, 5, 0, 9}, {INT_MAX, INT_MAX, INT_MAX, INT_MAX}});
  EXPECT_EQ(launch_recorder::calls(), Calls());
}

TEST_F(CudaFusedLaunch, ACompositorThatDrewNothingCallsNothing) {
  makeCompositor();
  EXPECT_EQ(launch_recorder::calls(), Calls());
}

TEST_F(CudaFusedLaunch, TheDestructorWaitsForTheFrameBeforeItFrees) {
  {
    const auto compositor = makeCompositor();
    draw(*compositor, {{0, 0, 8, 8}});
    launch_recorder::reset();
  }
  EXPECT_EQ(launch_recorder::calls(),
            (Calls{"cudaEventSynchronize", "cudaEventDestroy", "cudaFreeHost", "cudaFree"}));
}

TEST_F(CudaFusedLaunch, TheKernelIsLaunchedOnTheCallersStreamWithoutSharedMemory) {
  draw(*compositor_, {{0, 0, 8, 8}});
  ASSERT_EQ(launches().size(), 1U);
  const Launch& launch = launches()[0];
  EXPECT_EQ(launch.kernel, kKernel);
  EXPECT_EQ(launch.stream, planes_.stream);
  EXPECT_EQ(launch.block, (Extent{16, 16, 1}));
  EXPECT_EQ(launch.dynamicSharedBytes, 0U);
}

TEST_F(CudaFusedLaunch, TheFrameIsTheOnlyArgument) {
  const FusedFrame frame = frameOf({{100, 51, 306, 172}, {-5, -6, 8, 9}});
  const std::vector<device_image::Parameter> whole = {{0, sizeof(FusedFrame)}};
  EXPECT_EQ(launches()[0].parameters, whole);
  EXPECT_EQ(frame.yPlane, address(0x7010'0000'1000));
  EXPECT_EQ(frame.uvPlane, address(0x7020'0000'2000));
  EXPECT_EQ(frame.yPitch, 2101);
  EXPECT_EQ(frame.uvPitch, 2203);
  EXPECT_EQ(frame.size.width, 1920);
  EXPECT_EQ(frame.size.height, 1080);
  EXPECT_EQ(frame.alpha, 0.45F);
  ASSERT_EQ(frame.itemCount, 2U);
  const FusedItem& first = frame.items[0];
  EXPECT_EQ(first.luma, (LumaRect{100, 51, 405, 222}));
  EXPECT_EQ(first.chroma.x0, 50);   // 100 / 2
  EXPECT_EQ(first.chroma.y0, 25);   // 51 / 2, rounded down
  EXPECT_EQ(first.chroma.x1, 203);  // 406 / 2
  EXPECT_EQ(first.chroma.y1, 111);  // 223 / 2, rounded down
  EXPECT_EQ(first.maskWidth, 2);
  EXPECT_EQ(first.colorY, 16);
  EXPECT_EQ(first.colorU, 96);
  EXPECT_EQ(first.colorV, 240);
  EXPECT_EQ(frame.items[1].luma, (LumaRect{0, 0, 2, 2}));
}

TEST_F(CudaFusedLaunch, BlocksOf32By32CoverTheTilesOfAllBoxes) {
  struct Case {
    std::vector<Box> boxes;
    int firstColumn, firstRow;
    Extent grid;
  };
  const Case cases[] = {
      {{{0, 0, 2, 2}}, 0, 0, {1, 1, 1}},
      {{{0, 0, 32, 32}}, 0, 0, {1, 1, 1}},
      {{{0, 0, 33, 32}}, 0, 0, {2, 1, 1}},
      {{{31, 31, 2, 2}}, 0, 0, {2, 2, 1}},
      {{{33, 40, 5, 5}}, 1, 1, {1, 1, 1}},                 // from 32, which shares its chroma
      {{{0, 0, 8, 8}, {100, 70, 8, 8}}, 0, 0, {4, 3, 1}},  // columns 0 to 3, rows 0 to 2
      {{{100, 51, 306, 172}}, 3, 1, {10, 6, 1}},           // columns 3 to 12, rows 1 to 6
      {{{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {1919, 1079, 9, 9}}, 59, 33, {1, 1, 1}},
      {{{0, 0, 1920, 1080}}, 0, 0, {60, 34, 1}},
  };
  for (const auto& [boxes, firstColumn, firstRow, grid] : cases) {
    const FusedFrame frame = frameOf(boxes);
    SCOPED_TRACE(::testing::Message() << "first box " << boxes[0].x << ", " << boxes[0].y);
    EXPECT_EQ(frame.tiles.firstColumn, firstColumn);
    EXPECT_EQ(frame.tiles.firstRow, firstRow);
    EXPECT_EQ(frame.tiles.shift, 0);
    EXPECT_EQ(launches()[0].grid, grid);
  }
}

// Coarse tiles reach past the frame's ends, blocks do not: the device has 65,535 rows of them.
TEST_F(CudaFusedLaunch, BlocksOfCoarseTilesEndWithTheFrame) {
  const auto gridOf = [](int width, int height, const seg_mask_overlay::TileLists& tiles) {
    FusedFrame frame{};
    frame.size = {width, height};
    frame.tiles = tiles;
    launch_recorder::reset();
    seg_mask_overlay::launchFusedFrame(frame, nullptr, nullptr);
    return launches().at(0).grid;
  };
  EXPECT_EQ(gridOf(100, 40, {0, 0, 1, 1, 3, nullptr, nullptr}), (Extent{4, 2, 1}));
  EXPECT_EQ(gridOf(128, 64, {1, 0, 1, 1, 1, nullptr, nullptr}), (Extent{2, 2, 1}));
  EXPECT_EQ(gridOf(70, 64, {1, 0, 1, 1, 1, nullptr, nullptr}), (Extent{1, 2, 1}));
  EXPECT_EQ(gridOf(3'000'000, 2, {0, 0, 1, 1, 17, nullptr, nullptr}), (Extent{93'750, 1, 1}));
}

TEST_F(CudaFusedLaunch, AFailedLaunchChangesNothingOfWhatIsCalled) {
  drawForTheFirstTime();
  launch_recorder::failLaunch(1);
  draw(*compositor_, {{0, 0, 8, 8}});
  EXPECT_TRUE(launches().empty());
  EXPECT_EQ(launch_recorder::calls(), callsOfAFrame(kOneLaunch));

  launch_recorder::reset();
  launch_recorder::failPush(1);
  draw(*compositor_, {{0, 0, 8, 8}});
  EXPECT_TRUE(launches().empty());
  EXPECT_EQ(launch_recorder::calls(), callsOfAFrame({"__cudaPushCallConfiguration"}));
}

TEST(CudaFusedRegistration, OneImageWithTheKernel) {
  EXPECT_EQ(launch_recorder::registrations(),
            (Calls{"__cudaRegisterFatBinary", std::string("__cudaRegisterFunction ") + kKernel,
                   "__cudaRegisterFatBinaryEnd"}));
  EXPECT_EQ(launch_recorder::registeredImages(), 1U);
}

}  // namespace
