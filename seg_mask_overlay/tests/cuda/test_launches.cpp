// What the compiled CUDA launcher asks the runtime for, call by call and byte by byte. No GPU is needed: the
// launches are written down (launch_recorder.h).

#include <gtest/gtest.h>
#include <link.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "seg_mask_overlay/seg_mask_cuda.h"
#include "tests/cuda/device_image.h"
#include "tests/cuda/launch_recorder.h"

namespace {

using device_image::Parameter;
using launch_recorder::Extent;
using launch_recorder::Launch;
using launch_recorder::launches;

using Calls = std::vector<std::string>;

const char* const kLumaKernel =
    "(anonymous namespace)::segmask_y_kernel(unsigned char*, int, unsigned char const*, int, int, int, int, "
    "int, unsigned char, float)";
const char* const kChromaKernel =
    "(anonymous namespace)::segmask_uv_kernel(unsigned char*, int, unsigned char const*, int, int, int, int, "
    "int, int, int, unsigned char, unsigned char, float)";

/// An address that nothing reads.
unsigned char* address(std::uintptr_t value) {
  return reinterpret_cast<unsigned char*>(value);
}

/// The launcher's arguments: each unlike every other.
struct Arguments {
  unsigned char* yPlane = address(0x7010'0000'1000);
  int yPitch = 2101;
  unsigned char* uvPlane = address(0x7020'0000'2000);
  int uvPitch = 2203;
  int width = 1920;
  int height = 1080;
  unsigned char* mask = address(0x7030'0000'3000);
  int maskPitch = 2307;
  int x0 = 100, y0 = 51, x1 = 405, y1 = 222;
  unsigned char colorY = 16, colorU = 96, colorV = 240;
  float alpha = 0.45F;
  CUstream_st* stream = reinterpret_cast<CUstream_st*>(0x7040'0000'4000);

  void launch() const {
    seg_mask_cuda::launch_segmask_overlay_nv12(yPlane, yPitch, uvPlane, uvPitch, width, height, mask,
                                               maskPitch, x0, y0, x1, y1, colorY, colorU, colorV, alpha,
                                               stream);
  }
};

/// The same for a frame and a rectangle: what is launched.
std::vector<Launch> launchesFor(int width, int height, int x0, int y0, int x1, int y1) {
  Arguments arguments;
  arguments.width = width;
  arguments.height = height;
  arguments.x0 = x0;
  arguments.y0 = y0;
  arguments.x1 = x1;
  arguments.y1 = y1;
  launch_recorder::reset();
  arguments.launch();
  return launches();
}

struct Rect {
  int x0, y0, x1, y1;
};

bool operator==(const Rect& a, const Rect& b) {
  return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
}

void PrintTo(const Rect& rect, std::ostream* out) {
  *out << rect.x0 << ", " << rect.y0 << ", " << rect.x1 << ", " << rect.y1;
}

Rect rectFrom(const Launch& launch, std::size_t firstParameter) {
  return {launch.argument<int>(firstParameter), launch.argument<int>(firstParameter + 1),
          launch.argument<int>(firstParameter + 2), launch.argument<int>(firstParameter + 3)};
}

Rect lumaRect(const Launch& launch) {
  return rectFrom(launch, 4);
}
Rect chromaRect(const Launch& launch) {
  return rectFrom(launch, 6);
}

void expectLumaAlone(const std::vector<Launch>& launched, const Rect& rect) {
  ASSERT_EQ(launched.size(), 1U);
  EXPECT_EQ(launched[0].kernel, kLumaKernel);
  EXPECT_EQ(lumaRect(launched[0]), rect);
}

void expectBoth(const std::vector<Launch>& launched, const Rect& luma, const Rect& chroma) {
  ASSERT_EQ(launched.size(), 2U);
  EXPECT_EQ(launched[0].kernel, kLumaKernel);
  EXPECT_EQ(lumaRect(launched[0]), luma);
  EXPECT_EQ(launched[1].kernel, kChromaKernel);
  EXPECT_EQ(chromaRect(launched[1]), chroma);
}

class CudaLaunch : public ::testing::Test {
 protected:
  CudaLaunch() { launch_recorder::reset(); }
};

TEST_F(CudaLaunch, LumaComesBeforeChromaOnTheCallersStream) {
  const Arguments arguments;
  arguments.launch();
  ASSERT_EQ(launches().size(), 2U);
  EXPECT_EQ(launches()[0].kernel, kLumaKernel);
  EXPECT_EQ(launches()[0].stream, arguments.stream);
  EXPECT_EQ(launches()[1].kernel, kChromaKernel);
  EXPECT_EQ(launches()[1].stream, arguments.stream);
}

TEST_F(CudaLaunch, TheDefaultStreamIsPassedOnToo) {
  Arguments arguments;
  arguments.stream = nullptr;
  arguments.launch();
  ASSERT_EQ(launches().size(), 2U);
  EXPECT_EQ(launches()[0].stream, nullptr);
  EXPECT_EQ(launches()[1].stream, nullptr);
}

TEST_F(CudaLaunch, EachLumaArgumentIsInItsPlace) {
  Arguments().launch();
  ASSERT_EQ(launches().size(), 2U);
  const Launch& luma = launches()[0];
  ASSERT_EQ(luma.parameters,
            (std::vector<Parameter>{
                {0, 8}, {8, 4}, {16, 8}, {24, 4}, {28, 4}, {32, 4}, {36, 4}, {40, 4}, {44, 1}, {48, 4}}));
  EXPECT_EQ(luma.argument<unsigned char*>(0), address(0x7010'0000'1000));
  EXPECT_EQ(luma.argument<int>(1), 2101);
  EXPECT_EQ(luma.argument<const unsigned char*>(2), address(0x7030'0000'3000));
  EXPECT_EQ(luma.argument<int>(3), 2307);
  EXPECT_EQ(luma.argument<int>(4), 100);
  EXPECT_EQ(luma.argument<int>(5), 51);
  EXPECT_EQ(luma.argument<int>(6), 405);
  EXPECT_EQ(luma.argument<int>(7), 222);
  EXPECT_EQ(luma.argument<unsigned char>(8), 16);
  EXPECT_EQ(luma.argument<float>(9), 0.45F);
}

TEST_F(CudaLaunch, EachChromaArgumentIsInItsPlace) {
  Arguments().launch();
  ASSERT_EQ(launches().size(), 2U);
  const Launch& chroma = launches()[1];
  ASSERT_EQ(chroma.parameters, (std::vector<Parameter>{{0, 8},
                                                       {8, 4},
                                                       {16, 8},
                                                       {24, 4},
                                                       {28, 4},
                                                       {32, 4},
                                                       {36, 4},
                                                       {40, 4},
                                                       {44, 4},
                                                       {48, 4},
                                                       {52, 1},
                                                       {53, 1},
                                                       {56, 4}}));
  EXPECT_EQ(chroma.argument<unsigned char*>(0), address(0x7020'0000'2000));
  EXPECT_EQ(chroma.argument<int>(1), 2203);
  EXPECT_EQ(chroma.argument<const unsigned char*>(2), address(0x7030'0000'3000));
  EXPECT_EQ(chroma.argument<int>(3), 2307);
  EXPECT_EQ(chroma.argument<int>(4), 1920);
  EXPECT_EQ(chroma.argument<int>(5), 1080);
  EXPECT_EQ(chroma.argument<int>(6), 50);   // 100 / 2
  EXPECT_EQ(chroma.argument<int>(7), 25);   // 51 / 2, rounded down
  EXPECT_EQ(chroma.argument<int>(8), 203);  // 406 / 2
  EXPECT_EQ(chroma.argument<int>(9), 111);  // 223 / 2, rounded down
  EXPECT_EQ(chroma.argument<unsigned char>(10), 96);
  EXPECT_EQ(chroma.argument<unsigned char>(11), 240);
  EXPECT_EQ(chroma.argument<float>(12), 0.45F);
}

TEST_F(CudaLaunch, BlocksOf16By16CoverTheRectangle) {
  struct Case {
    Rect rect;
    Extent luma, chroma;
  };
  // Columns and rows of luma, then of chroma, divided by 16 and rounded up.
  const Case cases[] = {
      {{0, 0, 1, 1}, {1, 1, 1}, {1, 1, 1}},            // 2 x 2, 1 x 1
      {{0, 0, 15, 15}, {1, 1, 1}, {1, 1, 1}},          // 16 x 16, 8 x 8
      {{0, 0, 16, 15}, {2, 1, 1}, {1, 1, 1}},          // 17 x 16, 8 x 8
      {{0, 0, 15, 16}, {1, 2, 1}, {1, 1, 1}},          // 16 x 17, 8 x 8
      {{0, 0, 31, 31}, {2, 2, 1}, {1, 1, 1}},          // 32 x 32, 16 x 16
      {{0, 0, 33, 31}, {3, 2, 1}, {2, 1, 1}},          // 34 x 32, 17 x 16
      {{0, 0, 31, 33}, {2, 3, 1}, {1, 2, 1}},          // 32 x 34, 16 x 17
      {{5, 7, 37, 70}, {3, 4, 1}, {2, 2, 1}},          // 33 x 64, 17 (2 to 18) x 32 (3 to 34)
      {{100, 51, 405, 222}, {20, 11, 1}, {10, 6, 1}},  // 306 x 172, 153 x 86
      {{0, 0, 1919, 1079}, {120, 68, 1}, {60, 34, 1}}  // 1920 x 1080, 960 x 540
  };
  for (const auto& [rect, luma, chroma] : cases) {
    SCOPED_TRACE(::testing::PrintToString(rect));
    const std::vector<Launch> launched = launchesFor(1920, 1080, rect.x0, rect.y0, rect.x1, rect.y1);
    ASSERT_EQ(launched.size(), 2U);
    EXPECT_EQ(launched[0].grid, luma);
    EXPECT_EQ(launched[0].block, (Extent{16, 16, 1}));
    EXPECT_EQ(launched[1].grid, chroma);
    EXPECT_EQ(launched[1].block, (Extent{16, 16, 1}));
  }
}

TEST_F(CudaLaunch, NoDynamicSharedMemoryIsAskedFor) {
  Arguments().launch();
  ASSERT_EQ(launches().size(), 2U);
  EXPECT_EQ(launches()[0].dynamicSharedBytes, 0U);
  EXPECT_EQ(launches()[1].dynamicSharedBytes, 0U);
}

TEST_F(CudaLaunch, OnePixelWideOrHighAtAnEvenPlaceHasNoChroma) {
  expectLumaAlone(launchesFor(64, 48, 10, 4, 10, 9), {10, 4, 10, 9});
  expectLumaAlone(launchesFor(64, 48, 4, 10, 9, 10), {4, 10, 9, 10});
  expectLumaAlone(launchesFor(64, 48, 0, 0, 0, 0), {0, 0, 0, 0});
}

TEST_F(CudaLaunch, OnePixelWideOrHighAtAnOddPlaceHasItsChroma) {
  expectBoth(launchesFor(64, 48, 11, 4, 11, 9), {11, 4, 11, 9}, {5, 2, 6, 5});
  expectBoth(launchesFor(64, 48, 4, 11, 9, 11), {4, 11, 9, 11}, {2, 5, 5, 6});
}

TEST_F(CudaLaunch, TheLastColumnAndRowOfAnOddFrameHaveNoChroma) {
  expectBoth(launchesFor(5, 7, 0, 0, 4, 6), {0, 0, 4, 6}, {0, 0, 2, 3});
  expectLumaAlone(launchesFor(5, 7, 4, 0, 4, 6), {4, 0, 4, 6});
  expectLumaAlone(launchesFor(5, 7, 0, 6, 4, 6), {0, 6, 4, 6});
  expectLumaAlone(launchesFor(1, 1, 0, 0, 0, 0), {0, 0, 0, 0});
}

TEST_F(CudaLaunch, RectanglesAreCutAtEveryEdge) {
  expectBoth(launchesFor(64, 48, -1, 2, 7, 9), {0, 2, 7, 9}, {0, 1, 4, 5});
  expectBoth(launchesFor(64, 48, 2, -1, 7, 9), {2, 0, 7, 9}, {1, 0, 4, 5});
  expectBoth(launchesFor(64, 48, 2, 4, 64, 9), {2, 4, 63, 9}, {1, 2, 32, 5});
  expectBoth(launchesFor(64, 48, 2, 4, 7, 48), {2, 4, 7, 47}, {1, 2, 4, 24});
  expectBoth(launchesFor(64, 48, INT_MIN, INT_MIN, INT_MAX, INT_MAX), {0, 0, 63, 47}, {0, 0, 32, 24});
}

TEST_F(CudaLaunch, RectanglesThatReachTheLastPixelAreNotCut) {
  expectBoth(launchesFor(64, 48, 0, 0, 63, 47), {0, 0, 63, 47}, {0, 0, 32, 24});
}

TEST_F(CudaLaunch, NothingIsCalledForNullPlanesOrMask) {
  Arguments noLuma;
  noLuma.yPlane = nullptr;
  noLuma.launch();
  Arguments noChroma;
  noChroma.uvPlane = nullptr;
  noChroma.launch();
  Arguments noMask;
  noMask.mask = nullptr;
  noMask.launch();
  EXPECT_EQ(launch_recorder::calls(), Calls());
}

TEST_F(CudaLaunch, NothingIsCalledForSizesThatAreNotPositive) {
  const int sizes[][2] = {{0, 48}, {64, 0}, {-1, 48}, {64, -1}, {INT_MIN, 48}, {64, INT_MIN}, {0, 0}};
  for (const auto& [width, height] : sizes) {
    launchesFor(width, height, 0, 0, 9, 9);
    EXPECT_EQ(launch_recorder::calls(), Calls()) << width << " x " << height;
    launchesFor(width, height, -9, -9, -2, -2);
    EXPECT_EQ(launch_recorder::calls(), Calls()) << width << " x " << height;
  }
}

TEST_F(CudaLaunch, NothingIsCalledForEmptyRectangles) {
  const Rect rects[] = {
      {5, 4, 4, 9},    // ends left of its beginning
      {4, 5, 9, 4},    // ends above its beginning
      {-9, 4, -1, 9},  // left of the frame
      {4, -9, 9, -1},  // above it
      {64, 4, 70, 9},  // right of it
      {4, 48, 9, 60},  // below it
      {INT_MAX, 4, INT_MAX, 9},
      {4, INT_MIN, 9, INT_MIN},
  };
  for (const Rect& rect : rects) {
    launchesFor(64, 48, rect.x0, rect.y0, rect.x1, rect.y1);
    EXPECT_EQ(launch_recorder::calls(), Calls()) << ::testing::PrintToString(rect);
  }
}

TEST_F(CudaLaunch, AConfigurationThatCannotBePushedSkipsItsOwnKernelAlone) {
  launch_recorder::failPush(1);
  Arguments().launch();
  ASSERT_EQ(launches().size(), 1U);
  EXPECT_EQ(launches()[0].kernel, kChromaKernel);

  launch_recorder::reset();
  launch_recorder::failPush(2);
  Arguments().launch();
  ASSERT_EQ(launches().size(), 1U);
  EXPECT_EQ(launches()[0].kernel, kLumaKernel);
}

/// What a launch of one kernel consists of.
const Calls kOneLaunch = {"__cudaPushCallConfiguration", "__cudaPopCallConfiguration", SEG_MASK_LAUNCH_CALL};

Calls twice(const Calls& calls) {
  Calls both = calls;
  both.insert(both.end(), calls.begin(), calls.end());
  return both;
}

/// CUDA 13 asks for a kernel's handle once; afterwards, launches are alike.
void launchForTheFirstTime() {
  Arguments().launch();
  launch_recorder::reset();
}

TEST_F(CudaLaunch, TwoLaunchesAreAllThatIsCalled) {
  launchForTheFirstTime();
  Arguments().launch();
  EXPECT_EQ(launch_recorder::calls(), twice(kOneLaunch));
}

TEST_F(CudaLaunch, OneLaunchIsAllThatIsCalledWithoutChroma) {
  launchForTheFirstTime();
  launchesFor(64, 48, 10, 4, 10, 9);
  EXPECT_EQ(launch_recorder::calls(), kOneLaunch);
}

TEST_F(CudaLaunch, AFailedLaunchChangesNothingOfWhatIsCalled) {
  launchForTheFirstTime();
  launch_recorder::failLaunch(1);
  Arguments().launch();
  EXPECT_EQ(launch_recorder::calls(), twice(kOneLaunch));
  ASSERT_EQ(launches().size(), 1U);
  EXPECT_EQ(launches()[0].kernel, kChromaKernel);

  launch_recorder::reset();
  launch_recorder::failLaunch(2);
  Arguments().launch();
  EXPECT_EQ(launch_recorder::calls(), twice(kOneLaunch));
  ASSERT_EQ(launches().size(), 1U);
  EXPECT_EQ(launches()[0].kernel, kLumaKernel);
}

TEST_F(CudaLaunch, AFailedPushIsFollowedByNoErrorQuery) {
  launchForTheFirstTime();
  launch_recorder::failPush(1);
  Arguments().launch();
  Calls calls = {"__cudaPushCallConfiguration"};
  calls.insert(calls.end(), kOneLaunch.begin(), kOneLaunch.end());
  EXPECT_EQ(launch_recorder::calls(), calls);
}

TEST(CudaRegistration, OneImageWithTheChromaKernelFirst) {
  EXPECT_EQ(launch_recorder::registrations(),
            (Calls{"__cudaRegisterFatBinary", std::string("__cudaRegisterFunction ") + kChromaKernel,
                   std::string("__cudaRegisterFunction ") + kLumaKernel, "__cudaRegisterFatBinaryEnd"}));
  EXPECT_EQ(launch_recorder::registeredImages(), 1U);
}

TEST(CudaRegistration, TheImageIsUnregisteredWhenTheProgramEnds) {
  EXPECT_EXIT(
      {
        launch_recorder::reportUnregistering();
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "^unregistered, 0 left\n$");
}

TEST(CudaRegistration, NoLibraryOfTheCudaRuntimeIsInTheProgram) {
  std::vector<std::string> libraries;
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* names) {
        static_cast<std::vector<std::string>*>(names)->emplace_back(info->dlpi_name);
        return 0;
      },
      &libraries);
  ASSERT_GT(libraries.size(), 1U);
  for (const std::string& library : libraries)
    EXPECT_EQ(library.find("libcuda"), std::string::npos) << library;
}

}  // namespace
