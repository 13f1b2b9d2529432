// Whole frames through the loaded plug-in, equal to the per-pixel model byte for byte. Each test is one rule,
// seen from the outside.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"

namespace {

using scene::Detection;
using scene::Scene;

class GoldenFrame : public plugin_test::PluginTest {};

Detection boxed(int32_t x, int32_t y, int32_t w, int32_t h, std::string mask, int32_t class_id = 3) {
  Detection detection;
  detection.x = x;
  detection.y = y;
  detection.w = w;
  detection.h = h;
  detection.class_id = class_id;
  detection.mask = std::move(mask);
  return detection;
}

TEST_F(GoldenFrame, EverySmallSizeEvenAndOdd) {
  for (int width = 1; width <= 9; ++width) {
    for (int height = 1; height <= 9; ++height) {
      expectGolden(scene::oneProducer(width, height, {scene::coverAll(width, height, width)}));
      expectGolden(scene::oneProducer(width, height,
                                      {boxed(0, 0, width, height, scene::chessMask(width, height), height)}));
    }
  }
}

TEST_F(GoldenFrame, SidesAroundTheThreadBlocksOfTheDevice) {
  for (const int side : {15, 16, 17, 31, 32, 33, 34, 47, 48, 49, 64, 65}) {
    expectGolden(scene::oneProducer(side, 19, {boxed(0, 0, side, 19, scene::chessMask(side, 19))}));
    expectGolden(scene::oneProducer(19, side, {boxed(1, 1, 18, side, scene::chessMask(19, side))}));
  }
}

TEST_F(GoldenFrame, LargeFrame) {
  expectGolden(scene::oneProducer(641, 361,
                                  {boxed(13, 7, 500, 300, scene::chessMask(160, 90), 5),
                                   boxed(200, 100, 441, 261, scene::chessMask(641, 361), 11)}));
}

TEST_F(GoldenFrame, EveryBoxInAndAroundASmallFrame) {
  const std::string mask = scene::fullMask(5, 4);
  std::vector<Detection> boxes;
  for (int32_t x = -3; x <= 6; ++x) {
    for (int32_t w = -1; w <= 9; ++w) {
      boxes.push_back(boxed(x, w % 3 - 1, w, 3, mask, x + 3));
      boxes.push_back(boxed(w % 3 - 1, x, 4, w, mask, x + 3));
    }
  }
  // One at a time, because drawing the next one over it would hide a missing pixel.
  for (const Detection& box : boxes) expectGolden(scene::oneProducer(5, 4, {box}));
}

TEST_F(GoldenFrame, BoxesAtTheEndsOfTheNumberRange) {
  const int32_t kEnds[] = {INT32_MIN,     INT32_MIN + 1, -7,       -1, 0, 1, 7, 8,
                           INT32_MAX - 8, INT32_MAX - 1, INT32_MAX};
  const std::string mask = scene::chessMask(8, 7);
  for (const int32_t start : kEnds) {
    for (const int32_t length : kEnds) {
      expectGolden(scene::oneProducer(8, 7, {boxed(start, 1, length, 4, mask)}));
      expectGolden(scene::oneProducer(8, 7, {boxed(2, start, 5, length, mask)}));
    }
  }
}

TEST_F(GoldenFrame, MasksSmallerLargerAndAsLargeAsTheFrame) {
  const int kSizes[][2] = {{1, 1},   {2, 1},  {1, 2},   {3, 5},   {6, 5},   {11, 9},  {12, 9},
                           {11, 10}, {10, 8}, {13, 11}, {22, 18}, {23, 19}, {100, 3}, {3, 100}};
  for (const auto& size : kSizes) {
    expectGolden(scene::oneProducer(11, 9, {boxed(0, 0, 11, 9, scene::chessMask(size[0], size[1]))}));
    expectGolden(scene::oneProducer(10, 8, {boxed(0, 0, 10, 8, scene::chessMask(size[0], size[1]))}));
  }
}

TEST_F(GoldenFrame, MasksWhoseSidesAreSwapped) {
  // As many pixels as the frame, and yet not its size.
  expectGolden(scene::oneProducer(9, 4, {boxed(0, 0, 9, 4, scene::chessMask(4, 9))}));
  expectGolden(scene::oneProducer(9, 4, {boxed(0, 0, 9, 4, scene::chessMask(12, 3))}));
}

TEST_F(GoldenFrame, EveryClassHasItsColour) {
  for (int32_t class_id = -21; class_id <= 41; ++class_id) {
    Scene scene = scene::oneProducer(2, 2, {scene::coverAll(2, 2, class_id)});
    for (const float alpha : {1.0F, 0.45F}) {
      scene.settings.alpha = alpha;
      expectGolden(scene);
    }
  }
  for (const int32_t class_id : {INT32_MIN, INT32_MIN + 1, INT32_MAX - 1, INT32_MAX}) {
    expectGolden(scene::oneProducer(2, 2, {scene::coverAll(2, 2, class_id)}));
  }
}

TEST_F(GoldenFrame, EveryOldValueUnderEveryWeight) {
  // 256 luma values and each of them as chroma too.
  for (const float alpha :
       {0.0F, 1.0F, 0.45F, 0.5F, 0.1F, 0.9F, 0.25F, 0.333333343F, 0.0001F, 0.9999F, 0.00390625F, 0.7F}) {
    for (const int32_t class_id : {0, 5, 14, 16}) {
      Scene scene = scene::oneProducer(16, 16, {scene::coverAll(16, 16, class_id)});
      for (std::size_t i = 0; i < scene.frame.size(); ++i) scene.frame[i] = static_cast<uint8_t>(i);
      scene.settings.alpha = alpha;
      expectGolden(scene);
    }
  }
}

TEST_F(GoldenFrame, OverlappingDetectionsAreBlendedInOrder) {
  std::vector<Detection> crowd;
  for (int32_t i = 0; i < 12; ++i) {
    crowd.push_back(boxed(i / 2, i % 3, 7, 5, scene::chessMask(10 - i % 4, 8), i));
  }
  Scene scene = scene::oneProducer(10, 8, crowd);
  const std::vector<uint8_t> forward = model::expectedFrame(scene);
  expectGolden(scene);
  scene.inputs[0].detections.assign(crowd.rbegin(), crowd.rend());
  EXPECT_NE(model::expectedFrame(scene), forward) << "the order does not matter in this scene";
  expectGolden(scene);
}

TEST_F(GoldenFrame, PayloadsAsTextAndAsObjectDrawTheSame) {
  for (const std::string& mask : scene::oddMaskTexts()) {
    Scene scene = scene::oneProducer(5, 3, {boxed(0, 0, 5, 3, mask)});
    expectGolden(scene);
    scene.inputs[0].form = scene::PayloadForm::text;
    expectGolden(scene);
  }
}

TEST_F(GoldenFrame, BrokenMasksAreDroppedAndTheRestIsDrawn) {
  for (const std::string& mask : scene::brokenMaskTexts()) {
    for (const auto form : {scene::PayloadForm::object, scene::PayloadForm::text}) {
      Scene scene =
          scene::oneProducer(4, 2, {boxed(0, 0, 4, 2, mask, 1), boxed(1, 0, 2, 2, scene::fullMask(4, 2), 2)});
      scene.inputs[0].form = form;
      expectGolden(scene);
    }
  }
}

}  // namespace
