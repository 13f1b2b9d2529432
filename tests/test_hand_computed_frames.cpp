// Tiny frames whose every byte was worked out on paper, so that neither the plug-in nor the model is taken at
// its word. Rows of luma come first, then rows of chroma pairs U, V.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"

namespace {

using plugin_test::PluginTest;
using scene::Detection;
using scene::Scene;

// One class 0 detection. (255, 56, 56) is Y 32.872 + 76.245 + 6.384 = 115.5, U 128 - 43.095 - 18.536 + 28
// = 94.4, V 128 + 127.5 - 23.464 - 4.536 = 227.5; cut off, 115, 94, 227.
Detection redDetection(int32_t x, int32_t y, int32_t w, int32_t h, std::string mask) {
  Detection detection;
  detection.x = x;
  detection.y = y;
  detection.w = w;
  detection.h = h;
  detection.mask = std::move(mask);
  return detection;
}

Scene handScene(int width, int height, std::vector<uint8_t> frame, std::vector<Detection> detections,
                float alpha) {
  Scene scene = scene::oneProducer(width, height, std::move(detections));
  scene.frame = std::move(frame);
  scene.settings.alpha = alpha;
  return scene;
}

class HandComputedFrame : public PluginTest {
 protected:
  // The model is held against the same bytes: one that is wrong here would be wrong about every other frame.
  void expectBytes(const Scene& scene, const std::vector<uint8_t>& expected) {
    EXPECT_EQ(host().drawn(scene), expected) << scene;
    EXPECT_EQ(model::expectedFrame(scene), expected) << scene;
  }
};

TEST_F(HandComputedFrame, FullWeightWritesTheColourWhereTheMaskIs) {
  // 0x0F: the first row of 4 x 2. Both chroma samples have that row in their blocks.
  expectBytes(
      handScene(4, 2, scene::flatFrame(4, 2, 50, 60, 70), {redDetection(0, 0, 4, 2, "SEG1|4|2|Dw==")}, 1.0F),
      {115, 115, 115, 115,  //
       50, 50, 50, 50,      //
       94, 227, 94, 227});
}

TEST_F(HandComputedFrame, DefaultWeightMixesAndRounds) {
  // Luma 115 * 0.45 + 200 * 0.55 + 0.5 = 51.75 + 110 + 0.5 = 162.25
  // U 94 * 0.45 + 128 * 0.55 + 0.5 = 42.3 + 70.4 + 0.5 = 113.2
  // V 227 * 0.45 + 128 * 0.55 + 0.5 = 102.15 + 70.4 + 0.5 = 173.05
  expectBytes(handScene(4, 2, scene::flatFrame(4, 2, 200, 128, 128),
                        {redDetection(0, 0, 4, 2, "SEG1|4|2|Dw==")}, 0.45F),
              {162, 162, 162, 162,  //
               200, 200, 200, 200,  //
               113, 173, 113, 173});
}

TEST_F(HandComputedFrame, HalvesAreRoundedUp) {
  // Luma (115 + 50) / 2 = 82.5, U (94 + 61) / 2 = 77.5, V (227 + 70) / 2 = 148.5
  expectBytes(
      handScene(2, 2, scene::flatFrame(2, 2, 50, 61, 70), {redDetection(0, 0, 2, 2, "SEG1|2|2|Dw==")}, 0.5F),
      {83, 83,  //
       83, 83,  //
       78, 149});
}

TEST_F(HandComputedFrame, NoWeightLeavesEveryByte) {
  const std::vector<uint8_t> frame = {0, 1, 254, 255, 127, 128};
  expectBytes(handScene(2, 2, frame, {redDetection(0, 0, 2, 2, "SEG1|2|2|Dw==")}, 0.0F), frame);
}

TEST_F(HandComputedFrame, SinglePixelFrameHasNoChromaToDraw) {
  // A box that ends on an even column or row does not reach that block's sample.
  expectBytes(handScene(1, 1, {9, 60, 70}, {redDetection(0, 0, 1, 1, "SEG1|1|1|AQ==")}, 1.0F), {115, 60, 70});
  expectBytes(handScene(2, 1, {8, 9, 60, 70}, {redDetection(0, 0, 2, 1, "SEG1|2|1|Aw==")}, 1.0F),
              {115, 115, 60, 70});
  expectBytes(handScene(1, 2, {8, 9, 60, 70}, {redDetection(0, 0, 1, 2, "SEG1|1|2|Aw==")}, 1.0F),
              {115, 115, 60, 70});
}

TEST_F(HandComputedFrame, LastChromaOfOddFramesStays) {
  // 0x01FF: all nine pixels. The box ends at column 2 and row 2, so only the first block's sample is drawn.
  expectBytes(
      handScene(3, 3, scene::flatFrame(3, 3, 50, 60, 70), {redDetection(0, 0, 3, 3, "SEG1|3|3|/wE=")}, 1.0F),
      {115, 115, 115,    //
       115, 115, 115,    //
       115, 115, 115,    //
       94, 227, 60, 70,  //
       60, 70, 60, 70});
}

TEST_F(HandComputedFrame, OneColumnBoxDrawsChromaOnlyAtOddColumns) {
  const std::string mask = "SEG1|4|2|/w==";
  const std::vector<uint8_t> frame = scene::flatFrame(4, 2, 50, 60, 70);
  expectBytes(handScene(4, 2, frame, {redDetection(2, 0, 1, 2, mask)}, 1.0F), {50, 50, 115, 50,  //
                                                                               50, 50, 115, 50,  //
                                                                               60, 70, 60, 70});
  expectBytes(handScene(4, 2, frame, {redDetection(1, 0, 1, 2, mask)}, 1.0F), {50, 115, 50, 50,  //
                                                                               50, 115, 50, 50,  //
                                                                               94, 227, 60, 70});
}

TEST_F(HandComputedFrame, OneRowBoxDrawsChromaOnlyAtOddRows) {
  const std::string mask = "SEG1|2|4|/w==";
  const std::vector<uint8_t> frame = scene::flatFrame(2, 4, 50, 60, 70);
  expectBytes(handScene(2, 4, frame, {redDetection(0, 2, 2, 1, mask)}, 1.0F),
              {50, 50, 50, 50, 115, 115, 50, 50,  //
               60, 70, 60, 70});
  expectBytes(handScene(2, 4, frame, {redDetection(0, 1, 2, 1, mask)}, 1.0F),
              {50, 50, 115, 115, 50, 50, 50, 50,  //
               94, 227, 60, 70});
}

TEST_F(HandComputedFrame, MaskOutsideTheBoxStillColoursTheSharedChromaSample) {
  // The mask has pixel (0, 0) only, the box pixel (1, 1) only: no luma is in both, but they share a block.
  expectBytes(
      handScene(2, 2, scene::flatFrame(2, 2, 50, 60, 70), {redDetection(1, 1, 1, 1, "SEG1|2|2|AQ==")}, 1.0F),
      {50, 50,  //
       50, 50,  //
       94, 227});
}

TEST_F(HandComputedFrame, MaskIsStretchedOverTheFrameNotTheBox) {
  // A 2 x 1 mask with its left pixel inside covers columns 0 and 1; the box leaves columns 1 to 3 of row 0.
  expectBytes(
      handScene(4, 2, scene::flatFrame(4, 2, 50, 60, 70), {redDetection(1, 0, 3, 1, "SEG1|2|1|AQ==")}, 1.0F),
      {50, 115, 50, 50,  //
       50, 50, 50, 50,   //
       60, 70, 60, 70});
  // The same in a box of both rows: now the first sample is reached too.
  expectBytes(
      handScene(4, 2, scene::flatFrame(4, 2, 50, 60, 70), {redDetection(1, 0, 3, 2, "SEG1|2|1|AQ==")}, 1.0F),
      {50, 115, 50, 50,  //
       50, 115, 50, 50,  //
       94, 227, 60, 70});
}

TEST_F(HandComputedFrame, LargerMaskIsThinnedOutFromItsFirstPixel) {
  // 4 x 2 onto 2 x 2: columns 0 and 2 are taken. 0x41 has pixels (0, 0) and (2, 1).
  expectBytes(
      handScene(2, 2, scene::flatFrame(2, 2, 50, 60, 70), {redDetection(0, 0, 2, 2, "SEG1|4|2|QQ==")}, 1.0F),
      {115, 50,  //
       50, 115,  //
       94, 227});
}

TEST_F(HandComputedFrame, LaterDetectionsAreDrawnOverEarlierOnes) {
  // Class 14, (0, 24, 236): Y 14.088 + 26.904 = 40.99, U 128 - 7.944 + 118 = 238.06, V 128 - 10.056 - 19.116
  // = 98.83. First class 0 over luma 51: (115 + 51) / 2 = 83; then class 14 on the left column: (40 + 83) / 2
  // = 61.5. U: (94 + 60) / 2 = 77, then (238 + 77) / 2 = 157.5; V: (227 + 71) / 2 = 149, then (98 + 149) / 2
  // = 123.5.
  Detection blue = redDetection(0, 0, 2, 2, "SEG1|2|1|AQ==");
  blue.class_id = 14;
  expectBytes(handScene(2, 2, scene::flatFrame(2, 2, 51, 60, 71),
                        {redDetection(0, 0, 2, 2, "SEG1|1|1|AQ=="), blue}, 0.5F),
              {62, 83,  //
               62, 83,  //
               158, 124});
}

TEST_F(HandComputedFrame, CapCountsDetectionsThatAreNotDrawn) {
  // With room for two, the low score and the broken mask take both places.
  Detection low = redDetection(0, 0, 2, 2, "SEG1|2|2|Dw==");
  low.score = 0.25F;
  const Detection broken = redDetection(0, 0, 2, 2, "SEG1|2|2|");
  Scene scene = handScene(2, 2, scene::flatFrame(2, 2, 50, 60, 70),
                          {low, broken, redDetection(0, 0, 2, 2, "SEG1|2|2|Dw==")}, 1.0F);
  scene.settings.min_score = 0.5F;
  scene.settings.cap = 2;
  expectBytes(scene, {50, 50, 50, 50, 60, 70});
  scene.settings.cap = 3;
  expectBytes(scene, {115, 115, 115, 115, 94, 227});
}

}  // namespace
