// The model has to be right before anything is measured by it: hand-computed values, and for the sampling
// OpenCV itself.

#include <gtest/gtest.h>

#include <cstdint>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <string>
#include <vector>

#include "test_support/model/mask.h"
#include "test_support/model/pixels.h"
#include "test_support/model/scene_frame.h"
#include "test_support/scene.h"

namespace {

const std::vector<bool> kFirstRowOf4x2 = {true, true, true, true, false, false, false, false};

std::vector<int> libraryIndices(int to, int from) {
  cv::Mat row(1, from, CV_16U);
  for (int i = 0; i < from; ++i) row.at<uint16_t>(0, i) = static_cast<uint16_t>(i);
  cv::Mat resized;
  cv::resize(row, resized, cv::Size(to, 1), 0, 0, cv::INTER_NEAREST);
  std::vector<int> indices;
  for (int i = 0; i < to; ++i) indices.push_back(resized.at<uint16_t>(0, i));
  return indices;
}

std::vector<int> modelIndices(int to, int from) {
  std::vector<int> indices;
  for (int i = 0; i < to; ++i) indices.push_back(model::sourceIndex(i, to, from));
  return indices;
}

TEST(Model, SamplesLikeNearestNeighbourResizeForAllSmallSizes) {
  for (int to = 1; to <= 100; ++to) {
    for (int from = 1; from <= 100; ++from) {
      ASSERT_EQ(modelIndices(to, from), libraryIndices(to, from)) << from << " to " << to;
    }
  }
}

TEST(Model, SamplesLikeNearestNeighbourResizeForFrameSizes) {
  for (const int to : {638, 639, 640, 719, 1079, 1080, 1919, 1920, 3840}) {
    for (const int from : {1, 2, 3, 7, 27, 49, 103, 160, 161, 320, 633, 640, 1000, 2048, 4000}) {
      ASSERT_EQ(modelIndices(to, from), libraryIndices(to, from)) << from << " to " << to;
    }
  }
}

TEST(Model, SamplesRowsLikeNearestNeighbourResize) {
  for (int to = 1; to <= 40; ++to) {
    for (int from = 1; from <= 40; ++from) {
      cv::Mat column(from, 1, CV_8U);
      for (int i = 0; i < from; ++i) column.at<uint8_t>(i, 0) = static_cast<uint8_t>(i);
      cv::Mat resized;
      cv::resize(column, resized, cv::Size(1, to), 0, 0, cv::INTER_NEAREST);
      for (int i = 0; i < to; ++i) {
        ASSERT_EQ(model::sourceIndex(i, to, from), resized.at<uint8_t>(i, 0)) << from << " to " << to;
      }
    }
  }
}

TEST(Model, ReadsMaskBitsLeastSignificantFirst) {
  // "UA==" is the byte 0x50: bits 4 and 6, so pixels 4 and 6 of a 4 x 2 mask.
  const std::optional<model::Mask> mask = model::readMask("SEG1|4|2|UA==");
  ASSERT_TRUE(mask.has_value());
  EXPECT_EQ(mask->width, 4);
  EXPECT_EQ(mask->height, 2);
  EXPECT_EQ(mask->inside, (std::vector<bool>{false, false, false, false, true, false, true, false}));
}

TEST(Model, ReadsMasksOverSeveralBytes) {
  // "AQI=" is 0x01 0x02: pixel 0, and pixel 8 + 1.
  const std::optional<model::Mask> mask = model::readMask("SEG1|5|2|AQI=");
  ASSERT_TRUE(mask.has_value());
  EXPECT_EQ(mask->inside,
            (std::vector<bool>{true, false, false, false, false, false, false, false, false, true}));
}

TEST(Model, ReadsUnusualMaskTexts) {
  for (const std::string& text : scene::oddMaskTexts()) {
    const std::optional<model::Mask> mask = model::readMask(text);
    ASSERT_TRUE(mask.has_value()) << text;
    EXPECT_EQ(mask->width, 4) << text;
    EXPECT_EQ(mask->height, 2) << text;
    EXPECT_EQ(mask->inside, kFirstRowOf4x2) << text;
  }
}

TEST(Model, RefusesBrokenMaskTexts) {
  for (const std::string& text : scene::brokenMaskTexts()) {
    EXPECT_FALSE(model::readMask(text).has_value()) << text;
  }
}

TEST(Model, MaskWriterAndReaderAgree) {
  for (int width = 1; width <= 9; ++width) {
    for (int height = 1; height <= 5; ++height) {
      const std::optional<model::Mask> mask = model::readMask(scene::chessMask(width, height));
      ASSERT_TRUE(mask.has_value());
      for (int i = 0; i < width * height; ++i) {
        EXPECT_EQ(mask->inside[static_cast<std::size_t>(i)], (i % width + i / width) % 2 == 0);
      }
    }
  }
}

TEST(Model, ConvertsClassColours) {
  // Class 0, (255, 56, 56): Y 32.872 + 76.245 + 6.384 = 115.501, U -43.095 - 18.536 + 28 + 128 = 94.369,
  // V 127.5 - 23.464 - 4.536 + 128 = 227.5, each cut off.
  const model::Colour red = model::classColour(0);
  EXPECT_EQ(red.y, 115);
  EXPECT_EQ(red.u, 94);
  EXPECT_EQ(red.v, 227);
  // Class 14, (0, 24, 236): Y 14.088 + 26.904 = 40.992, U -7.944 + 118 + 128 = 238.056,
  // V -10.056 - 19.116 + 128 = 98.828.
  const model::Colour blue = model::classColour(14);
  EXPECT_EQ(blue.y, 40);
  EXPECT_EQ(blue.u, 238);
  EXPECT_EQ(blue.v, 98);
}

TEST(Model, ClassesWrapAndLoseTheirSign) {
  const auto same = [](int32_t a, int32_t b) {
    const model::Colour left = model::classColour(a);
    const model::Colour right = model::classColour(b);
    return left.y == right.y && left.u == right.u && left.v == right.v;
  };
  EXPECT_TRUE(same(20, 0));
  EXPECT_TRUE(same(-3, 3));
  EXPECT_TRUE(same(INT32_MIN, 8));
  EXPECT_TRUE(same(INT32_MAX, 7));
  for (int32_t id = 1; id < 20; ++id) EXPECT_FALSE(same(id, id - 1)) << id;
}

TEST(Model, BlendsWithRounding) {
  EXPECT_EQ(model::blend(200, 16, 0.45F), 117);  // 7.2 + 110 + 0.5 = 117.7
  EXPECT_EQ(model::blend(200, 16, 0.0F), 200);
  EXPECT_EQ(model::blend(200, 16, 1.0F), 16);
  EXPECT_EQ(model::blend(0, 255, 0.5F), 128);  // 127.5 + 0.5
  EXPECT_EQ(model::blend(255, 255, 0.3F), 255);
}

TEST(Model, ClipsBoxesAtTheEndsOfTheNumberRange) {
  scene::Detection box;
  box.x = INT32_MIN;
  box.w = INT32_MAX;
  box.h = 1;
  EXPECT_FALSE(model::visiblePart(box, 10, 10).has_value());  // ends at column -2
  box.x = -1;
  ASSERT_TRUE(model::visiblePart(box, 10, 10).has_value());
  EXPECT_EQ(model::visiblePart(box, 10, 10)->x1, 9);
  box.x = INT32_MAX;
  EXPECT_FALSE(model::visiblePart(box, 10, 10).has_value());
  box.x = 9;
  box.w = INT32_MIN;
  EXPECT_FALSE(model::visiblePart(box, 10, 10).has_value());
}

TEST(Model, DrawsReportedProducersFirstThenTheOthersByTheirBytes) {
  scene::Scene frame = scene::oneProducer(2, 2, {});
  frame.inputs.clear();
  for (const char* producer : {"c", "\xC3\xA9", "a", "d", "b"}) {
    scene::Input input;
    input.producer = producer;
    input.detections.push_back(scene::coverAll(2, 2, producer[0]));
    frame.inputs.push_back(input);
  }
  frame.reported = {"b", "silent", "a", "b"};
  std::string order;
  for (const scene::Detection& detection : model::gather(frame).detections) {
    order += static_cast<char>(detection.class_id);
  }
  EXPECT_EQ(order, "bacd\xC3");
  EXPECT_EQ(model::gather(frame).missing, 1U);
}

}  // namespace
