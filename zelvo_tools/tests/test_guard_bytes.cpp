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

TEST_F(GuardBytes, LieBeforeBetweenAndAfterTheRowsOfEachPlaneAndSamplesAreNone) {
  const int y = ZelvoPicture(5, 3).yPitch();
  const int uv = ZelvoPicture(5, 3).uvPitch();
  for (const int offset : {-1, y + 5, 3 * y}) {
    EXPECT_EQ(reportsAfterWriting([&](const ZelvoPicture& p) { return p.yPlane() + offset; }),
              std::vector<std::string>{expectedLine("unknown writer", "luma", offset)});
  }
  for (const int offset : {-256, uv - 1, 2 * uv + 255}) {
    EXPECT_EQ(reportsAfterWriting([&](const ZelvoPicture& p) { return p.uvPlane() + offset; }),
              std::vector<std::string>{expectedLine("unknown writer", "chroma", offset)});
  }
  EXPECT_TRUE(reportsAfterWriting([&](const ZelvoPicture& p) { return p.yPlane() + 2 * y + 4; }).empty());
  EXPECT_TRUE(reportsAfterWriting([&](const ZelvoPicture& p) { return p.uvPlane() + uv + 5; }).empty());
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

TEST_F(GuardBytes, ThePoolNamesTheWriterOnOneLineAndDropsTheBuffer) {
  ZelvoPicturePool pool;
  const ZelvoPicture source(5, 3);
  pool.setWriter("careless\nwriter");
  auto copy = pool.clone(source);
  pool.setWriter("careful");
  const auto other = pool.clone(source);
  poke(copy->yPlane() - 1, 1);
  copy.reset();
  EXPECT_EQ(reports(), std::vector<std::string>{expectedLine("careless?writer", "luma", -1)});
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
