#include <gtest/gtest.h>

#include "core/SwJsonDocument.h"
#include "host/DetectionTally.h"

namespace segmask {
namespace {

using seg_mask::Outcome;

const char kDrawn[] = R"({"w": 4, "h": 2, "score": 1, "class_info": "SEG1|4|2|Dw=="})";
const char kFaint[] = R"({"w": 4, "h": 2, "score": 0.25, "class_info": "SEG1|4|2|Dw=="})";
const char kOutside[] = R"({"x": 9, "w": 4, "h": 2, "score": 1, "class_info": "SEG1|4|2|Dw=="})";

/// A run over frames of 4 x 2 pixels.
class DetectionTallyTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { registerDetectionPayload(); }

  static DetectionLine line(uint64_t number, const std::string& producer, const std::string& elements) {
    SwJsonDocument document;
    SwString error;
    EXPECT_TRUE(document.loadFromJson(SwString("{\"detections\": [" + elements + "]}"), error));
    DetectionLine line;
    line.lineNumber = number;
    line.producer = producer;
    line.payload.object = std::make_shared<const SwJsonObject>(document.object());
    return line;
  }

  void advance(uint64_t frame, std::vector<DetectionLine> lines) {
    inputs_.advance(frame, std::move(lines));
    RenderContext context;
    inputs_.fill(context, frame);
    tally_.add(context, inputs_);
  }

  ProducerInputs inputs_{5};
  DetectionTally tally_{{0.5F, 3}, {4, 2}};
};

TEST_F(DetectionTallyTest, CountsDrawnAndDroppedByTheirRule) {
  advance(0, {line(1, "p", std::string(kDrawn) + "," + kFaint)});
  advance(1, {line(2, "p", std::string(kOutside) + ", 7," + kFaint)});
  EXPECT_EQ(tally_.drawn(), 1U);
  ASSERT_EQ(tally_.dropped().size(), 3U);
  EXPECT_EQ(tally_.dropped().at(Outcome::LowScore).count, 2U);
  EXPECT_EQ(tally_.dropped().at(Outcome::LowScore).lineNumber, 1U);
  EXPECT_EQ(tally_.dropped().at(Outcome::LowScore).index, 1U);
  EXPECT_EQ(tally_.dropped().at(Outcome::LowScore).why, "score 0.25 is below min_score 0.5");
  EXPECT_EQ(tally_.dropped().at(Outcome::BoxOutside).count, 1U);
  EXPECT_EQ(tally_.dropped().at(Outcome::BoxOutside).lineNumber, 2U);
  EXPECT_EQ(tally_.dropped().at(Outcome::NotAnObject).index, 1U);
}

TEST_F(DetectionTallyTest, ADetectionCountsOnceHoweverOftenLookbackShowsIt) {
  advance(0, {line(1, "p", std::string(kDrawn) + "," + kFaint)});
  advance(1, {});
  advance(2, {});
  EXPECT_EQ(tally_.drawn(), 1U);
  EXPECT_EQ(tally_.dropped().at(Outcome::LowScore).count, 1U);
}

TEST_F(DetectionTallyTest, TheFirstPlaceIsTheFirstInTheFile) {
  advance(0, {line(1, "b", kDrawn)});
  // b is drawn before a, but a stands first.
  advance(1, {line(2, "a", std::string(kDrawn) + "," + kFaint), line(3, "b", kFaint)});
  EXPECT_EQ(tally_.dropped().at(Outcome::LowScore).count, 2U);
  EXPECT_EQ(tally_.dropped().at(Outcome::LowScore).lineNumber, 2U);
  EXPECT_EQ(tally_.dropped().at(Outcome::LowScore).index, 1U);
}

}  // namespace
}  // namespace segmask
