#include <string>

#include "tests/picture_fixture.h"
#include "zelvo/RenderTarget.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/guard_bytes.h"

namespace {

using zelvo::ZelvoPicture;
using zelvo::ZelvoPicturePool;

std::vector<std::string>& reports() {
  static std::vector<std::string> lines;
  return lines;
}

class GuardBytes : public DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    if (!zelvo::guardBytesEnabled()) GTEST_SKIP() << "built without guard bytes (SEG_MASK_GUARD_BYTES)";
    reports().clear();
    zelvo::setGuardReport([](const std::string& line) { reports().push_back(line); });
  }
  void TearDown() override { zelvo::setGuardReport(nullptr); }

  /// What is reported when a 5x3 picture, whose chroma has 2 rows of 6 bytes, has this byte overwritten.
  template <class Find>
  static std::vector<std::string> reportsAfterWriting(const Find& find) {
    reports().clear();
    {
      const ZelvoPicture picture(5, 3);
      poke(find(picture), 1);
    }
    return reports();
  }
};

std::string expectedLine(const std::string& writer, const std::string& plane, int offset) {
  return "guard bytes overwritten by " + writer + ": " + plane +
         " plane of a 5x3 picture, first at byte offset " + std::to_string(offset);
}

TEST_F(GuardBytes, WholeOnesAreNotReported) {
  for (const Size& size : kSizes) {
    SCOPED_TRACE(size);
    const Bytes frame = randomFrame(size, 1);
    ZelvoPicturePool pool;
    ZelvoPicture picture(size.width, size.height);
    zelvo::upload(picture, frame.data(), nullptr);
    EXPECT_NE(pool.clone(picture), nullptr);
    EXPECT_EQ(pool.idleBuffers(), 1u);
  }
  EXPECT_TRUE(reports().empty());
}

TEST_F(GuardBytes, SamplesAreNoGuardBytes) {
  const auto lastLuma = [](const ZelvoPicture& p) { return at(p.yPlane(), p.yPitch(), 2, 4); };
  const auto lastChroma = [](const ZelvoPicture& p) { return p.uvPlane() + p.uvPitch() + 5; };
  EXPECT_TRUE(reportsAfterWriting(lastLuma).empty());
  EXPECT_TRUE(reportsAfterWriting(lastChroma).empty());
}

TEST_F(GuardBytes, LieBeforeBetweenAndAfterTheRowsOfLuma) {
  const auto before = [](const ZelvoPicture& p) { return p.yPlane() - 1; };
  const auto between = [](const ZelvoPicture& p) { return p.yPlane() + p.yPitch() + 5; };
  const auto after = [](const ZelvoPicture& p) { return at(p.yPlane(), p.yPitch(), 3, 0); };
  const int pitch = ZelvoPicture(5, 3).yPitch();
  using Lines = std::vector<std::string>;
  EXPECT_EQ(reportsAfterWriting(before), Lines{expectedLine("unknown writer", "luma", -1)});
  EXPECT_EQ(reportsAfterWriting(between), Lines{expectedLine("unknown writer", "luma", pitch + 5)});
  EXPECT_EQ(reportsAfterWriting(after), Lines{expectedLine("unknown writer", "luma", 3 * pitch)});
}

TEST_F(GuardBytes, LieBeforeBetweenAndAfterTheRowsOfChroma) {
  const auto before = [](const ZelvoPicture& p) { return p.uvPlane() - 256; };
  const auto between = [](const ZelvoPicture& p) { return p.uvPlane() + p.uvPitch() - 1; };
  const auto after = [](const ZelvoPicture& p) { return at(p.uvPlane(), p.uvPitch(), 2, 255); };
  const int pitch = ZelvoPicture(5, 3).uvPitch();
  using Lines = std::vector<std::string>;
  EXPECT_EQ(reportsAfterWriting(before), Lines{expectedLine("unknown writer", "chroma", -256)});
  EXPECT_EQ(reportsAfterWriting(between), Lines{expectedLine("unknown writer", "chroma", pitch - 1)});
  EXPECT_EQ(reportsAfterWriting(after), Lines{expectedLine("unknown writer", "chroma", 2 * pitch + 255)});
}

TEST_F(GuardBytes, TheFirstDamagedByteOfEachPlaneIsNamed) {
  {
    const ZelvoPicture picture(5, 3);
    poke(picture.yPlane() + 7, 1);
    poke(picture.yPlane() + 6, 1);
    poke(picture.uvPlane() + 6, 1);
  }
  ASSERT_EQ(reports().size(), 2u);
  EXPECT_EQ(reports()[0], expectedLine("unknown writer", "luma", 6));
  EXPECT_EQ(reports()[1], expectedLine("unknown writer", "chroma", 6));
}

TEST_F(GuardBytes, ThePoolNamesTheWriterAndDropsTheBuffer) {
  ZelvoPicturePool pool;
  const ZelvoPicture source(5, 3);
  pool.setWriter("careless");
  auto copy = pool.clone(source);
  pool.setWriter("careful");
  const auto other = pool.clone(source);
  poke(copy->yPlane() - 1, 1);
  copy.reset();
  EXPECT_EQ(reports(), std::vector<std::string>{expectedLine("careless", "luma", -1)});
  EXPECT_EQ(pool.idleBuffers(), 0u);
}

TEST_F(GuardBytes, ARecycledBufferIsCheckedAgainUnderItsNewWriter) {
  ZelvoPicturePool pool;
  const ZelvoPicture source(5, 3);
  pool.setWriter("first");
  pool.clone(source);
  pool.setWriter("second");
  auto copy = pool.clone(source);
  poke(copy->uvPlane() - 1, 1);
  copy.reset();
  EXPECT_EQ(reports(), std::vector<std::string>{expectedLine("second", "chroma", -1)});
}

TEST_F(GuardBytes, AReportStaysOnOneLine) {
  ZelvoPicturePool pool;
  pool.setWriter("two\nlines");
  auto copy = pool.clone(ZelvoPicture(5, 3));
  poke(copy->yPlane() - 1, 1);
  copy.reset();
  EXPECT_EQ(reports(), std::vector<std::string>{expectedLine("two?lines", "luma", -1)});
}

TEST_F(GuardBytes, DamageIsFoundAfterThePoolIsGone) {
  std::shared_ptr<ZelvoPicture> copy;
  {
    ZelvoPicturePool pool;
    pool.setWriter("late");
    copy = pool.clone(ZelvoPicture(5, 3));
  }
  poke(copy->yPlane() - 1, 1);
  copy.reset();
  EXPECT_EQ(reports(), std::vector<std::string>{expectedLine("late", "luma", -1)});
}

TEST_F(GuardBytes, TheCheckWaitsForWorkOnAnyStream) {
  cudaStream_t stream = nullptr;
  ASSERT_EQ(cudaStreamCreateWithFlags(&stream, cudaStreamNonBlocking), cudaSuccess);
  {
    const ZelvoPicture picture(5, 3);
    ASSERT_EQ(cudaMemsetAsync(picture.yPlane() - 2, 1, 3, stream), cudaSuccess);
  }
  EXPECT_EQ(reports(), std::vector<std::string>{expectedLine("unknown writer", "luma", -2)});
  EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
}

TEST_F(GuardBytes, WithoutAHandlerTheProcessEnds) {
  zelvo::setGuardReport(nullptr);
  // The device's state does not survive a fork, so the child starts over.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        const ZelvoPicture picture(5, 3);
        poke(picture.yPlane() - 1, 1);
      },
      "guard bytes overwritten by unknown writer: luma plane of a 5x3 picture, first at byte offset -1");
}

TEST_F(GuardBytes, SettingAHandlerGivesTheFormerOne) {
  zelvo::setGuardReport(nullptr);
  const zelvo::GuardReport mine = [](const std::string&) {};
  EXPECT_EQ(zelvo::setGuardReport(mine), nullptr);
  EXPECT_EQ(zelvo::setGuardReport(nullptr), mine);
}

}  // namespace
