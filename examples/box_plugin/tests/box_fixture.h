#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "test_support/plugin_harness.h"

/// A packed NV12 frame as rows of letters, one a luma pixel and, after a blank, one a chroma sample: '.' for
/// the untouched grey, 'a' for the colour of class 0, 'f' for that of class 5, '?' for anything else. A '/'
/// stands between rows. The bytes of the classes are worked out by hand from the palette: class 0 is (255,
/// 56, 56), class 5 is (72, 249, 10).
inline std::string lettersOf(const std::vector<uint8_t>& nv12, int width, int height) {
  constexpr char kLetters[] = ".af?";
  constexpr int kLuma[] = {100, 115, 168};
  constexpr std::pair<int, int> kChroma[] = {{128, 128}, {94, 227}, {38, 58}};
  std::string letters;
  const uint8_t* at = nv12.data();
  for (int row = 0; row < height; ++row) {
    if (row > 0) letters += '/';
    for (int x = 0; x < width; ++x, ++at) letters += kLetters[std::find(kLuma, kLuma + 3, *at) - kLuma];
  }
  for (int row = 0; row < scene::chromaRows(height); ++row) {
    letters += row > 0 ? '/' : ' ';
    for (int x = 0; x < scene::chromaRowBytes(width); x += 2, at += 2) {
      letters += kLetters[std::find(kChroma, kChroma + 3, std::pair<int, int>(at[0], at[1])) - kChroma];
    }
  }
  return letters;
}

inline scene::Detection box(int32_t x, int32_t y, int32_t w, int32_t h, int32_t class_id = 0,
                            float score = 1.0F) {
  return {x, y, w, h, class_id, score, ""};
}

/// Gives each test the plug-in as hosts load it, with edges of one pixel; skips it where there is no device.
class BoxPluginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!plugin_test::deviceAvailable()) GTEST_SKIP() << "no CUDA device";
    host_.emplace(plugin_test::PluginFile{BOX_PLUGIN, "BoxPlugin"});
    plugin()->setConfig(R"({"thickness": 1})");
  }

  plugin_test::LoadedPlugin& plugin() { return host_->plugin(); }

  /// A grey frame in which one producer found these boxes.
  static scene::Scene sceneOf(int width, int height, std::vector<scene::Detection> boxes) {
    scene::Scene scene = scene::oneProducer(width, height, std::move(boxes));
    scene.frame = scene::flatFrame(width, height, 100, 128, 128);
    return scene;
  }

  std::string drawn(int width, int height, std::vector<scene::Detection> boxes) {
    plugin_test::Frame frame(sceneOf(width, height, std::move(boxes)), host_->stream());
    host_->render(frame);
    return lettersOf(frame.pixels(), width, height);
  }

  std::optional<plugin_test::Host> host_;
};
