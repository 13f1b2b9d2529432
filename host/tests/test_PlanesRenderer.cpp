#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "core/SwJsonDocument.h"
#include "host/FrameRenderer.h"
#include "host/PlanesRenderer.h"
#include "host/PluginHost.h"
#include "io/UserError.h"
#include "test_support/IdlePlugin.h"

namespace segmask {
namespace {

constexpr Nv12Layout kLayout{21, 13};  // odd, so that chroma rounds up
constexpr std::size_t kBefore = 5;     // bytes of a row before its samples, and behind them

const char kTwo[] = R"({"detections": [
  {"x": 2, "y": 1, "w": 12, "h": 9, "class_id": 3, "score": 1, "class_info": "SEG1|4|2|Dw=="},
  {"x": 0, "y": 0, "w": 21, "h": 13, "class_id": 7, "score": 1, "class_info": "SEG1|2|2|CQ=="}]})";
const char kNone[] = R"({"detections": []})";

/// A frame whose samples all differ from their neighbours'.
Frame frame() {
  Frame frame;
  for (std::size_t i = 0; i < kLayout.frameBytes(); ++i) {
    frame.nv12.push_back(static_cast<unsigned char>(i * 37 % 251));
  }
  return frame;
}

/// A plane with a pitch in memory of its own: a copy of the frame's samples from `from` on.
class PaddedPlane {
 public:
  PaddedPlane(const unsigned char* from, std::size_t rowBytes, int rows)
      : rowBytes_(rowBytes),
        rows_(rows),
        bytes_((rowBytes + 2 * kBefore) * static_cast<std::size_t>(rows), 77) {
    copyRows({from, static_cast<std::ptrdiff_t>(rowBytes)}, plane(), rowBytes, rows);
  }

  Plane plane() { return {bytes_.data() + kBefore, static_cast<std::ptrdiff_t>(rowBytes_ + 2 * kBefore)}; }

  /// Its rows from the last to the first.
  Plane fromBelow() {
    const Plane up = plane();
    return {up.samples + (rows_ - 1) * up.stride, -up.stride};
  }

  const std::vector<unsigned char>& bytes() const { return bytes_; }

 private:
  std::size_t rowBytes_;
  int rows_;
  std::vector<unsigned char> bytes_;
};

struct PaddedFrame {
  explicit PaddedFrame(const Frame& frame)
      : y(frame.nv12.data(), static_cast<std::size_t>(kLayout.width), kLayout.height),
        uv(frame.nv12.data() + kLayout.lumaBytes(), kLayout.chromaRowBytes(), kLayout.chromaRows()) {}

  PaddedPlane y;
  PaddedPlane uv;
};

class PlanesRendererTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { registerDetectionPayload(); }

  void advance(const char* payload) {
    SwJsonDocument document;
    SwString error;
    ASSERT_TRUE(document.loadFromJson(SwString(payload), error));
    std::vector<DetectionLine> lines(1);
    lines[0].producer = "p";
    lines[0].payload.object = std::make_shared<const SwJsonObject>(document.object());
    inputs_.advance(0, std::move(lines));
  }

  ProducerInputs inputs_{0};
  FrameRenderer copying_{kLayout.width, kLayout.height};
  PlanesRenderer renderer_{kLayout};
  PluginHost host_{OVERLAY_PLUGIN};
};

TEST_F(PlanesRendererTest, DrawsTheBytesOfFrameRendererAndNothingBesideThePlanes) {
  advance(kTwo);
  Frame drawn = frame();
  copying_.use(host_.plugin());
  ASSERT_TRUE(copying_.render(0, drawn, inputs_).drawn);
  ASSERT_NE(drawn.nv12, frame().nv12);
  const PaddedFrame expected(drawn);

  PaddedFrame planes(frame());
  EXPECT_TRUE(renderer_.render(host_.plugin(), 0, planes.y.plane(), planes.uv.plane(), inputs_));
  EXPECT_EQ(planes.y.bytes(), expected.y.bytes());
  EXPECT_EQ(planes.uv.bytes(), expected.uv.bytes());
}

TEST_F(PlanesRendererTest, RowsFromBelowGetTheSameBytes) {
  advance(kTwo);
  PaddedFrame expected(frame());
  ASSERT_TRUE(renderer_.render(host_.plugin(), 0, expected.y.plane(), expected.uv.plane(), inputs_));

  PaddedFrame planes(frame());
  PaddedFrame turned(frame());
  const auto width = static_cast<std::size_t>(kLayout.width);
  copyRows({planes.y.plane().samples, planes.y.plane().stride}, turned.y.fromBelow(), width, kLayout.height);
  copyRows({planes.uv.plane().samples, planes.uv.plane().stride}, turned.uv.fromBelow(),
           kLayout.chromaRowBytes(), kLayout.chromaRows());
  EXPECT_TRUE(renderer_.render(host_.plugin(), 0, turned.y.fromBelow(), turned.uv.fromBelow(), inputs_));
  const Plane y = turned.y.fromBelow();
  const Plane uv = turned.uv.fromBelow();
  copyRows({y.samples, y.stride}, planes.y.plane(), width, kLayout.height);
  copyRows({uv.samples, uv.stride}, planes.uv.plane(), kLayout.chromaRowBytes(), kLayout.chromaRows());
  EXPECT_EQ(planes.y.bytes(), expected.y.bytes());
  EXPECT_EQ(planes.uv.bytes(), expected.uv.bytes());
}

TEST_F(PlanesRendererTest, WithNothingToDrawThePlanesAreAsTheyWere) {
  advance(kNone);
  PaddedFrame planes(frame());
  EXPECT_FALSE(renderer_.render(host_.plugin(), 0, planes.y.plane(), planes.uv.plane(), inputs_));
  EXPECT_EQ(planes.y.bytes(), PaddedFrame(frame()).y.bytes());
}

class HungryPlugin : public IdlePlugin {
 public:
  void render(RenderContext&) override { throw std::bad_alloc(); }
};

template <class Draw>
std::string messageOf(const Draw& draw) {
  try {
    draw();
  } catch (const UserError& error) {
    return error.what();
  }
  return "no error";
}

TEST_F(PlanesRendererTest, WantOfMemoryIsSaidInWordsWithTheFrame) {
  advance(kTwo);
  HungryPlugin plugin;
  Frame copied = frame();
  copying_.use(plugin);
  EXPECT_EQ(messageOf([&] { copying_.render(7, copied, inputs_); }), "frame 7: out of memory");
  PaddedFrame planes(frame());
  EXPECT_EQ(messageOf([&] { renderer_.render(plugin, 7, planes.y.plane(), planes.uv.plane(), inputs_); }),
            "frame 7: out of memory");
}

}  // namespace
}  // namespace segmask
