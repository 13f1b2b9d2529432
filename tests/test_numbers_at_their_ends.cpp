// Boxes, scores and sizes at the ends of what their types can hold. What is expected is
// worked out by hand here, without the model.

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"

namespace {

using plugin_test::Frame;
using scene::Detection;
using scene::Scene;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

class NumbersAtTheirEnds : public plugin_test::PluginTest {
 protected:
  // A frame of black, on which class 0 at full weight is luma 115.
  static Scene blackScene(int width, int height, std::vector<Detection> detections) {
    Scene scene = scene::oneProducer(width, height, std::move(detections));
    scene.frame = scene::flatFrame(width, height, 0, 128, 128);
    scene.settings.alpha = 1.0F;
    return scene;
  }

  // The luma plane as rows of '#' (drawn) and '.' (black).
  std::string drawn(const Scene& scene) { return shown(scene, host().drawn(scene)); }

  // The same for a detection over all of a 4 x 2 frame with a member of its own.
  std::string drawnWith(const char* member, const SwJsonValue& value) {
    SwJsonObject detection;
    detection.insert("w", 4);
    detection.insert("h", 2);
    detection.insert("class_info", "SEG1|1|1|AQ==");
    detection.insert(member, value);
    SwJsonArray detections;
    detections.append(detection);
    SwJsonObject payload;
    payload.insert("detections", detections);
    const Scene scene = blackScene(4, 2, {Detection()});
    Frame frame(scene, host().stream());
    frame.inputs()[0].payload = SwAny(payload);
    host().render(frame);
    return shown(scene, frame.pixels());
  }

 private:
  static std::string shown(const Scene& scene, const std::vector<uint8_t>& pixels) {
    std::string rows;
    for (int y = 0; y < scene.height; ++y) {
      if (y > 0) rows += '/';
      for (int x = 0; x < scene.width; ++x) {
        const uint8_t luma = pixels[static_cast<std::size_t>(y * scene.width + x)];
        rows += luma == 115 ? '#' : luma == 0 ? '.' : '?';
      }
    }
    return rows;
  }
};

TEST_F(NumbersAtTheirEnds, ScoresThatAreNoNumberOrInfinite) {
  const std::string all = "####/####";
  const std::string nothing = "..../....";
  host().plugin()->setConfig("{\"alpha\": 1, \"min_score\": 0}");
  for (const double score : {kNan, kInfinity, 1e300, 5e-324, 0.0, -0.0, -5e-324, -1e-50}) {
    EXPECT_EQ(drawnWith("score", score), all) << score;  // the last two are -0.0 in single precision
  }
  EXPECT_EQ(drawnWith("score", std::numeric_limits<int64_t>::max()), all);
  for (const double score : {-kInfinity, -1e300, -1e-40}) {
    EXPECT_EQ(drawnWith("score", score), nothing) << score;
  }
  EXPECT_EQ(drawnWith("score", std::numeric_limits<int64_t>::min()), nothing);

  host().plugin()->setConfig("{\"min_score\": 1}");
  for (const double score : {kNan, kInfinity, static_cast<double>(FLT_MAX), 1.0, 0.99999999}) {
    EXPECT_EQ(drawnWith("score", score), all) << score;  // the last one is 1 in single precision
  }
  for (const double score : {0.9999999, -kInfinity}) EXPECT_EQ(drawnWith("score", score), nothing) << score;
}

TEST_F(NumbersAtTheirEnds, BoxesOfNumbersThatNoIntegerHolds) {
  host().plugin()->setConfig("{\"alpha\": 1}");
  const auto expect = [this](const char* member, double value, const char* rows) {
    EXPECT_EQ(drawnWith(member, value), rows) << member << " " << value;
  };
  for (const char* side : {"w", "h"}) {
    expect(side, kInfinity, "####/####");
    expect(side, 9.3e18, "####/####");
    expect(side, kNan, "..../....");
    expect(side, -kInfinity, "..../....");
  }
  expect("x", kNan, "####/####");
  expect("x", 2147483647.5, "..../....");
  expect("x", -2147483648.5, "..../....");
  expect("y", -kInfinity, "..../....");
  expect("y", -0.99, "####/####");
  EXPECT_EQ(drawnWith("x", std::numeric_limits<int64_t>::max()), "###./###.");  // -1
  EXPECT_EQ(drawnWith("x", std::numeric_limits<int64_t>::min()), "####/####");  // 0
}

// A side of more than 16 bits, in the frame or in the mask. The mask's left or upper half is inside.
TEST_F(NumbersAtTheirEnds, LongFramesAndMasks) {
  constexpr std::size_t kLong = 70000;
  std::vector<bool> half(kLong, false);
  for (std::size_t i = 0; i < kLong / 2; ++i) half[i] = true;
  const std::string wide = scene::maskText(kLong, 1, half);
  const std::string tall = scene::maskText(1, kLong, half);
  Detection detection;
  detection.w = INT32_MAX;
  detection.h = INT32_MAX;
  const std::string drawnHalf = std::string(kLong / 2, '#') + std::string(kLong / 2, '.');
  for (const std::string& mask : {wide, std::string("SEG1|2|1|AQ")}) {
    detection.mask = mask;
    EXPECT_EQ(drawn(blackScene(kLong, 1, {detection})), drawnHalf);
    EXPECT_EQ(drawn(blackScene(4, 2, {detection})), "##../##..");
  }
  for (const std::string& mask : {tall, std::string("SEG1|1|2|AQ")}) {
    detection.mask = mask;
    std::string column = drawn(blackScene(1, kLong, {detection}));
    column.erase(std::remove(column.begin(), column.end(), '/'), column.end());
    EXPECT_EQ(column, drawnHalf);
    EXPECT_EQ(drawn(blackScene(4, 2, {detection})), "####/....");
  }
}

}  // namespace
