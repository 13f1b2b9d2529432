#include <gtest/gtest.h>

#include "core/render_payload.h"
#include "detection/detections.h"
#include "host/ProducerInputs.h"
#include "render_base/resolve_payload.h"

namespace segmask {
namespace {

class ProducerInputsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { registerDetectionPayload(); }

  static DetectionLine line(const std::string& producer, int mark = 0) {
    SwJsonObject object;
    object.insert("mark", mark);
    DetectionLine line;
    line.producer = producer;
    line.payload.object = std::make_shared<const SwJsonObject>(object);
    line.detections = 3;
    return line;
  }

  /// "producer:frame:mark" of each input, with a "*" for look-back.
  static std::vector<std::string> inputsOf(const ProducerInputs& inputs) {
    std::vector<std::string> texts;
    for (const RenderInput& input : inputs.inputs().at(seg_mask::kDetectionType)) {
      const SwJsonObject object = render_payload::anyToJsonObject(input.payload);
      texts.push_back(providerKey(input) + ":" + std::to_string(input.frame_id) + ":" +
                      std::to_string(object["mark"].integer()) + (input.uses_lookback ? "*" : ""));
    }
    return texts;
  }

  /// "producer:code" of each report.
  static std::vector<std::string> statusesOf(const ProducerInputs& inputs) {
    std::vector<std::string> texts;
    for (const RenderProducerStatus& status : inputs.statuses().at(seg_mask::kDetectionType)) {
      texts.push_back(providerKey(status) + ":" + std::to_string(status.code));
    }
    return texts;
  }

  using Texts = std::vector<std::string>;
};

TEST_F(ProducerInputsTest, WithoutLookbackAProducerThatWasSeenIsReportedButHasNoInput) {
  ProducerInputs inputs(0);
  inputs.advance(0, {});
  EXPECT_EQ(inputsOf(inputs), Texts{});
  EXPECT_EQ(statusesOf(inputs), Texts{});
  inputs.advance(1, {line("p")});
  inputs.advance(2, {});
  EXPECT_EQ(inputsOf(inputs), Texts{});
  EXPECT_EQ(statusesOf(inputs), (Texts{"p:4"}));
}

TEST_F(ProducerInputsTest, ProducersStandInTheOrderOfTheirFirstAppearanceEachWithAllItsLines) {
  ProducerInputs inputs(0);
  inputs.advance(0, {line("b", 1)});
  inputs.advance(1, {line("a", 2), line("c", 3), line("b", 4), line("a", 5)});
  EXPECT_EQ(inputsOf(inputs), (Texts{"b:1:4", "a:1:2", "a:1:5", "c:1:3"}));
  EXPECT_EQ(statusesOf(inputs), (Texts{"b:0", "a:0", "c:0"}));
}

TEST_F(ProducerInputsTest, LookbackServesTheLastLinesForThatManyFrames) {
  ProducerInputs inputs(2);
  inputs.advance(0, {line("p", 1), line("p", 2)});
  inputs.advance(1, {line("q", 3)});
  EXPECT_EQ(inputsOf(inputs), (Texts{"p:0:1*", "p:0:2*", "q:1:3"}));
  EXPECT_EQ(statusesOf(inputs), (Texts{"p:1", "q:0"}));
  inputs.advance(2, {});
  EXPECT_EQ(inputsOf(inputs), (Texts{"p:0:1*", "p:0:2*", "q:1:3*"}));
  inputs.advance(3, {});
  EXPECT_EQ(inputsOf(inputs), (Texts{"q:1:3*"}));
  EXPECT_EQ(statusesOf(inputs), (Texts{"p:4", "q:1"}));
  inputs.advance(4, {line("p", 5)});
  EXPECT_EQ(inputsOf(inputs), (Texts{"p:4:5"}));
}

TEST_F(ProducerInputsTest, ANewLineReplacesAllOlderOnesAndLookbackCountsFramesThatWereLeftOutToo) {
  ProducerInputs inputs(3);
  inputs.advance(9, {line("p", 1), line("p", 2)});
  inputs.advance(10, {line("p", 3)});
  inputs.advance(13, {});
  EXPECT_EQ(inputsOf(inputs), (Texts{"p:10:3*"}));
  inputs.advance(14, {});
  EXPECT_EQ(inputsOf(inputs), Texts{});
}

TEST_F(ProducerInputsTest, DetectionsAreCountedOncePerLine) {
  ProducerInputs inputs(9);
  inputs.advance(0, {line("p"), line("q")});
  inputs.advance(1, {});
  EXPECT_EQ(inputs.detectionsSeen(), 6U);
}

TEST_F(ProducerInputsTest, EachInputKnowsItsLineInLookbackToo) {
  ProducerInputs inputs(1);
  DetectionLine first = line("p");
  first.lineNumber = 3;
  DetectionLine second = line("q");
  second.lineNumber = 4;
  inputs.advance(0, {first, second});
  inputs.advance(1, {line("r")});
  const std::vector<RenderInput>& list = inputs.inputs().at(seg_mask::kDetectionType);
  ASSERT_EQ(list.size(), 3U);
  EXPECT_EQ(inputs.lineOf(list[0]), 3U);
  EXPECT_EQ(inputs.lineOf(list[1]), 4U);
  EXPECT_EQ(inputs.lineOf(list[2]), 0U);
}

TEST_F(ProducerInputsTest, LookbackCountsItsDetectionsOnceForEachFrame) {
  ProducerInputs inputs(2);
  inputs.advance(0, {line("p"), line("p"), line("q")});
  EXPECT_EQ(inputs.detectionsLookedBack(), 0U);
  inputs.advance(1, {line("q")});
  EXPECT_EQ(inputs.detectionsLookedBack(), 6U);
  inputs.advance(2, {});
  inputs.advance(3, {});
  EXPECT_EQ(inputs.detectionsLookedBack(), 6U + 9U + 3U);
}

TEST_F(ProducerInputsTest, AFilledContextHasAllThatAPassReads) {
  ProducerInputs inputs(0);
  inputs.advance(5, {line("p", 7)});
  RenderContext context;
  inputs.fill(context, 5);
  EXPECT_EQ(context.frame_id, 5U);
  EXPECT_EQ(context.inputs, &inputs.inputs());
  EXPECT_EQ(context.producer_statuses, &inputs.statuses());
  const RenderInput& input = inputs.inputs().at(seg_mask::kDetectionType)[0];
  EXPECT_EQ(render_base::resolvePayload(context, input)["mark"].integer(), 7);
}

}  // namespace
}  // namespace segmask
