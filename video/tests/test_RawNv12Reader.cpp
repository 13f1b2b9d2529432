#include <gtest/gtest.h>

#include "io/UserError.h"
#include "src/RawNv12Reader.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"

namespace segmask {
namespace {

TEST(ParseFrameSize, ReadsTwoWholeNumbers) {
  const FrameSize size = parseFrameSize("1920x1080");
  EXPECT_EQ(size.width, 1920);
  EXPECT_EQ(size.height, 1080);
  EXPECT_EQ(parseFrameSize("1x65535").height, 65535);
}

TEST(ParseFrameSize, RefusesEverythingElse) {
  for (const char* text : {"", "x", "64", "64x", "x48", "64x48x2", "64 x48", "64x48 ", "-64x48", "64X48",
                           "0x48", "64x0", "65536x48", "99999999999x1", "+6x4", "6.0x4"}) {
    EXPECT_THROW(parseFrameSize(text), UserError) << text;
  }
}

TEST(RawNv12Reader, GivesTheFramesOfAnOddSizedFile) {
  const TempFolder folder;
  const std::string bytes = noiseFrames(5, 3, 2);
  RawNv12Reader reader(folder.write("a.nv12", bytes), {5, 3});
  EXPECT_EQ(reader.frameCount(), 2U);
  EXPECT_EQ(reader.format().width, 5);
  EXPECT_EQ(reader.format().height, 3);
  Frame frame;
  for (std::size_t number = 0; number < 2; ++number) {
    ASSERT_TRUE(reader.next(frame));
    EXPECT_EQ(frame.pts, static_cast<int64_t>(number));
    EXPECT_EQ(std::string(frame.nv12.begin(), frame.nv12.end()), bytes.substr(number * 27, 27));
  }
  EXPECT_FALSE(reader.next(frame));
}

TEST(RawNv12Reader, RefusesFilesThatAreNotWholeFrames) {
  const TempFolder folder;
  EXPECT_THROW(RawNv12Reader(folder.write("a.nv12", std::string(26, 'x')), {5, 3}), UserError);
  EXPECT_THROW(RawNv12Reader(folder.write("b.nv12", ""), {5, 3}), UserError);
  EXPECT_THROW(RawNv12Reader(folder.path("none.nv12"), {5, 3}), UserError);
  EXPECT_THROW(RawNv12Reader(folder.path(""), {5, 3}), UserError);
}

}  // namespace
}  // namespace segmask
