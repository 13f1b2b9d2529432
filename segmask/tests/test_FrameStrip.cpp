#include <gtest/gtest.h>

#include "src/report/FrameStrip.h"

namespace segmask {
namespace {

VideoFormat formatOf(int width, int height) {
  VideoFormat format;
  format.width = width;
  format.height = height;
  format.color.range = AVCOL_RANGE_JPEG;
  return format;
}

Frame greyFrame(const VideoFormat& format, unsigned char grey) {
  const auto pixels = static_cast<std::size_t>(format.width) * static_cast<std::size_t>(format.height);
  Frame frame;
  frame.nv12.assign(pixels, grey);
  frame.nv12.resize(pixels * 3 / 2, 128);
  return frame;
}

using Names = std::vector<std::string>;

/// The frames of a strip, with what they have most of.
Names namesOf(const FrameStrip& strip, std::size_t spread) {
  Names names;
  for (const FrameStrip::Shown& shown : strip.pictures(spread)) {
    names.push_back(std::to_string(shown.picture->frame) + (shown.hasMostDrawn ? " drawn" : "") +
                    (shown.hasMostDropped ? " dropped" : ""));
  }
  return names;
}

TEST(FrameStrip, HasTheFirstMomentsWithMostDrawnAndMostDroppedAmongSpreadFrames) {
  FrameStrip strip;
  const VideoFormat format = formatOf(16, 8);
  for (uint64_t frame = 0; frame < 100; ++frame) {
    const uint64_t drawn = frame == 41 || frame == 43 ? 5 : 1;
    const uint64_t dropped = frame == 77 ? 2 : 0;
    strip.offer({frame, std::nullopt, drawn, dropped}, greyFrame(format, 100), format);
  }
  EXPECT_EQ(namesOf(strip, 3), (Names{"0", "41 drawn", "48", "77 dropped", "96"}));
}

TEST(FrameStrip, ShowsAFrameOnceAndNoMomentWhereThereIsNone) {
  FrameStrip strip;
  const VideoFormat format = formatOf(16, 8);
  strip.offer({3, std::nullopt, 0, 0}, greyFrame(format, 100), format);
  EXPECT_EQ(namesOf(strip, 3), Names{"3"});
  strip.offer({4, std::nullopt, 2, 1}, greyFrame(format, 100), format);
  EXPECT_EQ(namesOf(strip, 3), (Names{"3", "4 drawn dropped"}));
}

TEST(FrameStrip, PicturesAreSmallAndOfTheirFramesProportions) {
  FrameStrip strip;
  const std::vector<std::pair<int, int>> sizes{{1600, 800}, {16, 8}, {300, 900}};
  uint64_t number = 0;
  for (const auto& [width, height] : sizes) {
    const VideoFormat format = formatOf(width, height);
    strip.offer({number, std::nullopt, 0, 0}, greyFrame(format, static_cast<unsigned char>(50 + number)),
                format);
    ++number;
  }
  const std::vector<std::pair<int, int>> small{{400, 200}, {16, 8}, {100, 300}};
  const std::vector<FrameStrip::Shown> shown = strip.pictures(3);
  ASSERT_EQ(shown.size(), 3U);
  for (std::size_t i = 0; i < shown.size(); ++i) {
    const FrameStrip::Picture& picture = *shown[i].picture;
    EXPECT_EQ(std::pair(picture.width, picture.height), small[i]);
    EXPECT_EQ(picture.rgb.size(), static_cast<std::size_t>(picture.width * picture.height * 3));
    EXPECT_NEAR(picture.rgb[picture.rgb.size() / 2], 50 + static_cast<int>(i), 1);
    EXPECT_EQ(pngOf(picture).substr(1, 3), "PNG");
  }
}

}  // namespace
}  // namespace segmask
