#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "io/nv12.h"
#include "src/Nv12Converter.h"
#include "video/RgbConverter.h"

namespace segmask {
namespace {

using Bytes = std::vector<unsigned char>;

/// Sets the samples of a plane of bytes to first, first + 1 and so on, row by row.
void count(AVFrame& frame, int plane, int columns, int rows, unsigned char first) {
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column)
      frame.data[plane][row * frame.linesize[plane] + column] = first++;
  }
}

void fill(AVFrame& frame, int plane, int bytes, int rows, unsigned char value) {
  for (int row = 0; row < rows; ++row) {
    std::fill_n(frame.data[plane] + row * frame.linesize[plane], bytes, value);
  }
}

Bytes convert(const AVFrame& frame) {
  Nv12Converter converter;
  Bytes packed;
  converter.convert(frame, packed);
  return packed;
}

TEST(Nv12Converter, RearrangesPlanarFramesOfOddSize) {
  for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P}) {
    const AVFramePtr frame = makeAVFrame(format, 3, 3);
    count(*frame, 0, 3, 3, 1);
    count(*frame, 1, 2, 2, 101);
    count(*frame, 2, 2, 2, 201);
    EXPECT_EQ(convert(*frame), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 101, 201, 102, 202, 103, 203, 104, 204}));
  }
}

TEST(Nv12Converter, CopiesNv12OfOddSize) {
  const AVFramePtr frame = makeAVFrame(AV_PIX_FMT_NV12, 3, 1);
  count(*frame, 0, 3, 1, 1);
  count(*frame, 1, 4, 1, 101);
  EXPECT_EQ(convert(*frame), (Bytes{1, 2, 3, 101, 102, 103, 104}));
}

TEST(Nv12Converter, ScalesOtherFormatsAndKeepsTheirRange) {
  const AVFramePtr frame = makeAVFrame(AV_PIX_FMT_YUVJ444P, 5, 3);
  fill(*frame, 0, 5, 3, 250);
  fill(*frame, 1, 5, 3, 30);
  fill(*frame, 2, 5, 3, 220);
  Bytes expected(15, 250);
  for (int pair = 0; pair < 6; ++pair) expected.insert(expected.end(), {30, 220});
  EXPECT_EQ(convert(*frame), expected);
  EXPECT_EQ(colorTagsAsNv12(*frame).range, AVCOL_RANGE_JPEG);
}

TEST(Nv12Converter, OneConverterServesFramesOfDifferentFormats) {
  Nv12Converter converter;
  Bytes packed;
  const AVFramePtr large = makeAVFrame(AV_PIX_FMT_YUV444P, 8, 8);
  const AVFramePtr small = makeAVFrame(AV_PIX_FMT_GRAY8, 2, 2);
  fill(*large, 0, 8, 8, 77);
  fill(*large, 1, 8, 8, 128);
  fill(*large, 2, 8, 8, 128);
  fill(*small, 0, 2, 2, 99);
  converter.convert(*large, packed);
  EXPECT_EQ(packed.size(), 96U);
  EXPECT_EQ(packed[0], 77);
  converter.convert(*small, packed);
  EXPECT_EQ(packed, (Bytes{99, 99, 99, 99, 128, 128}));
}

TEST(Nv12Converter, RgbBecomesLimitedRangeAndSaysSo) {
  const AVFramePtr frame = makeAVFrame(AV_PIX_FMT_RGB24, 4, 2);
  fill(*frame, 0, 12, 2, 255);
  frame->color_range = AVCOL_RANGE_JPEG;
  frame->colorspace = AVCOL_SPC_RGB;
  const Bytes packed = convert(*frame);
  EXPECT_NEAR(packed[0], 235, 1);
  EXPECT_NEAR(packed[8], 128, 1);
  const ColorTags tags = colorTagsAsNv12(*frame);
  EXPECT_EQ(tags.range, AVCOL_RANGE_MPEG);
  EXPECT_EQ(tags.matrix, AVCOL_SPC_SMPTE170M);
}

/// A row of grey tones, of `bytes` bytes a sample, each before as many bytes of alpha if there is one.
Bytes lumaOf(AVPixelFormat format, const std::vector<unsigned char>& tones, std::size_t bytes,
             bool hasAlpha) {
  const AVFramePtr frame = makeAVFrame(format, static_cast<int>(tones.size()), 1);
  unsigned char* at = frame->data[0];
  for (const unsigned char tone : tones) {
    at = std::fill_n(at, bytes, tone);
    if (hasAlpha) at = std::fill_n(at, bytes, static_cast<unsigned char>(255));
  }
  Bytes packed = convert(*frame);
  packed.resize(tones.size());
  return packed;
}

TEST(Nv12Converter, GreyKeepsItsTonesWithAlphaToo) {
  const Bytes tones{0, 1, 16, 127, 128, 235, 254, 255};
  EXPECT_EQ(lumaOf(AV_PIX_FMT_GRAY8, tones, 1, false), tones);
  EXPECT_EQ(lumaOf(AV_PIX_FMT_YA8, tones, 1, true), tones);
  const Bytes ends{0, 255};
  EXPECT_EQ(lumaOf(AV_PIX_FMT_GRAY16BE, ends, 2, false), ends);
  EXPECT_EQ(lumaOf(AV_PIX_FMT_YA16BE, ends, 2, true), ends);
  EXPECT_EQ(lumaOf(AV_PIX_FMT_YA16LE, ends, 2, true), ends);
  EXPECT_EQ(lumaOf(AV_PIX_FMT_YA16BE, tones, 2, true), lumaOf(AV_PIX_FMT_GRAY16BE, tones, 2, false));
  EXPECT_EQ(lumaOf(AV_PIX_FMT_YA16LE, tones, 2, true), lumaOf(AV_PIX_FMT_GRAY16LE, tones, 2, false));
}

TEST(RgbConverter, GoesByTheRangeOfTheVideo) {
  VideoFormat format;
  format.width = 3;
  format.height = 3;
  const Bytes white235{235, 235, 235, 235, 235, 235, 235, 235, 235, 128, 128, 128, 128, 128, 128, 128, 128};
  format.color.range = AVCOL_RANGE_MPEG;
  RgbConverter limited(format, 3, 3);
  EXPECT_NEAR(limited.convert(white235).data[0][0], 255, 1);
  format.color.range = AVCOL_RANGE_JPEG;
  RgbConverter full(format, 3, 3);
  EXPECT_NEAR(full.convert(white235).data[0][0], 235, 1);
}

}  // namespace
}  // namespace segmask
