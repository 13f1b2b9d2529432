#include "test_support/random_scene.h"

#include <array>

#include "test_support/Dice.h"

namespace scene {
namespace {

int randomSide(Dice& dice) {
  if (dice.oneIn(4)) return dice.between(1, 3);
  if (dice.oneIn(6)) return dice.between(33, 70);
  return dice.between(4, 24);
}

// Mostly near the frame, sometimes at the ends of the number range.
int32_t randomBoxValue(Dice& dice, int low, int high) {
  static const std::array<int32_t, 8> kEnds = {INT32_MIN, INT32_MIN + 1, -65536,        -1,
                                               0,         65536,         INT32_MAX - 1, INT32_MAX};
  return dice.oneIn(12) ? dice.oneOf(kEnds) : dice.between(low, high);
}

std::string randomMask(Dice& dice, int frame_width, int frame_height) {
  if (dice.oneIn(10)) return dice.oneOf(brokenMaskTexts());
  if (dice.oneIn(10)) return dice.oneOf(oddMaskTexts());
  int width = frame_width;
  int height = frame_height;
  if (!dice.oneIn(3)) {
    width = randomSide(dice);
    height = randomSide(dice);
  }
  const int density = dice.between(1, 8);
  std::vector<bool> inside;
  inside.reserve(static_cast<std::size_t>(width * height));
  for (int i = 0; i < width * height; ++i) inside.push_back(dice.between(1, 8) <= density);
  return maskText(width, height, inside);
}

float randomShare(Dice& dice) {
  static const std::array<float, 9> kUsual = {0.0F,  1.0F,       0.45F,  0.5F,  0.1F,
                                              0.25F, 0.3333333F, 0.999F, 0.003F};
  return dice.oneIn(3) ? static_cast<float>(dice.between(0, 1000)) / 1000.0F : dice.oneOf(kUsual);
}

Detection randomDetection(Dice& dice, int width, int height) {
  static const std::array<int32_t, 6> kEndClasses = {INT32_MIN, INT32_MIN + 1, INT32_MAX, -20,
                                                     20,        1000000007};
  Detection detection;
  detection.x = randomBoxValue(dice, -width, width + 1);
  detection.y = randomBoxValue(dice, -height, height + 1);
  detection.w = randomBoxValue(dice, -2, 2 * width + 2);
  detection.h = randomBoxValue(dice, -2, 2 * height + 2);
  detection.class_id = dice.oneIn(10) ? dice.oneOf(kEndClasses) : dice.between(-25, 45);
  detection.score = dice.oneIn(2) ? 1.0F : randomShare(dice);
  detection.mask = randomMask(dice, width, height);
  return detection;
}

Input randomInput(Dice& dice, int width, int height) {
  static const std::array<const char*, 6> kProducers = {"a", "b", "cam/2", "z", "\xC3\xA9", "Z"};
  Input input;
  input.producer = dice.oneOf(kProducers);
  input.by_name = dice.oneIn(4);
  input.uses_lookback = dice.oneIn(5);
  input.form = dice.oneIn(8) ? PayloadForm::absent : dice.oneIn(3) ? PayloadForm::text : PayloadForm::object;
  for (int n = dice.between(0, 4); n > 0; --n)
    input.detections.push_back(randomDetection(dice, width, height));
  return input;
}

/// Everything but the frame's size.
void fill(Scene& scene, Dice& dice) {
  static const std::array<int32_t, 6> kCaps = {1, 2, 3, 5, 256, 4096};
  static const std::array<const char*, 5> kReported = {"z", "a", "nobody", "cam/2", "\xC3\xA9"};
  scene.frame.resize(frameBytes(scene.width, scene.height));
  for (uint8_t& byte : scene.frame) byte = static_cast<uint8_t>(dice.between(0, 255));
  for (int n = dice.between(0, 3); n > 0; --n) scene.reported.emplace_back(dice.oneOf(kReported));
  for (int n = dice.between(0, 5); n > 0; --n) {
    scene.inputs.push_back(randomInput(dice, scene.width, scene.height));
  }
  scene.settings.alpha = randomShare(dice);
  scene.settings.min_score = dice.oneIn(2) ? 0.0F : randomShare(dice);
  scene.settings.cap = dice.oneOf(kCaps);
}

}  // namespace

Scene randomScene(unsigned seed) {
  Dice dice(seed);
  Scene scene;
  scene.width = randomSide(dice);
  scene.height = randomSide(dice);
  fill(scene, dice);
  return scene;
}

Scene randomScene(unsigned seed, int width, int height) {
  Dice dice(seed);
  Scene scene;
  scene.width = width;
  scene.height = height;
  fill(scene, dice);
  return scene;
}

}  // namespace scene
