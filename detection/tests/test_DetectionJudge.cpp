#include <gtest/gtest.h>

#include "core/SwJsonDocument.h"
#include "detection/DetectionJudge.h"
#include "test_support/FrameContext.h"

namespace seg_mask {
namespace {

using Outcomes = std::vector<Outcome>;

/// The text of a detection with that box and score, whose mask is the first of two rows of four pixels.
std::string detection(const std::string& box, const std::string& score = "1",
                      const std::string& text = "SEG1|4|2|Dw==") {
  return "{" + box + R"(, "class_id": 3, "score": )" + score + R"(, "class_info": ")" + text + "\"}";
}

const char kWhole[] = R"("x": 0, "y": 0, "w": 4, "h": 2)";

/// Deliveries of one frame of 4 x 2 pixels.
struct Judging : plugin_test::FrameContext {
  RenderInput& add(const std::string& producer, const std::string& elements) {
    return deliver(producer, SwAny("{\"detections\": [" + elements + "]}"));
  }

  Outcomes outcomes(DetectionJudge& judge) {
    Outcomes result;
    for (const Verdict& verdict : judge.judge(ctx, {4, 2})) result.push_back(verdict.outcome);
    return result;
  }

  Outcomes outcomes(DecisionSettings settings = {}) {
    DetectionJudge judge(settings);
    return outcomes(judge);
  }
};

TEST(DetectionJudge, NamesTheFirstRuleThatDropsEachElement) {
  Judging frame;
  frame.add("p", detection(kWhole) + ", 17, " + detection(kWhole, "0.4") + "," +
                     detection(kWhole, "1", "SEG1|4") + "," + detection(R"("x": 4, "y": 0, "w": 9, "h": 9)") +
                     "," + detection(R"("x": 0, "y": 1, "w": 4, "h": 1)"));
  EXPECT_EQ(frame.outcomes({0.5F, 256}),
            (Outcomes{Outcome::Drawn, Outcome::NotAnObject, Outcome::LowScore, Outcome::InvalidMask,
                      Outcome::BoxOutside, Outcome::NoPixelInBox}));
}

TEST(DetectionJudge, TellsWhereAnElementStandsAndWhatWasReadOfIt) {
  Judging frame;
  frame.add("b", "1, " + detection(R"("x": 1, "y": 0, "w": 2, "h": 2)"));
  frame.add("a", detection(kWhole, "1", "SEG1|9|9|AA"));
  DetectionJudge judge({});
  const std::vector<Verdict>& verdicts = judge.judge(frame.ctx, {4, 2});
  ASSERT_EQ(verdicts.size(), 3U);
  const std::vector<RenderInput>& inputs = frame.inputs.at(kDetectionType);
  // Without reports the producers stand in byte-wise order.
  EXPECT_EQ(verdicts[0].input, &inputs[1]);
  EXPECT_EQ(verdicts[0].outcome, Outcome::InvalidMask);
  EXPECT_EQ(verdicts[0].fault.neededBytes, 11U);
  EXPECT_EQ(verdicts[0].maskWidth, 0);
  EXPECT_EQ(verdicts[1].input, &inputs[0]);
  EXPECT_EQ(verdicts[1].detection, nullptr);
  EXPECT_EQ(verdicts[2].index, 1U);
  EXPECT_EQ(verdicts[2].pixels, 2U);
  EXPECT_EQ(verdicts[2].maskWidth, 4);
  EXPECT_EQ(verdicts[2].maskHeight, 2);
  ASSERT_TRUE(verdicts[2].detection);
  EXPECT_EQ(verdicts[2].detection->class_id, 3);
}

TEST(DetectionJudge, ElementsBehindTheCapAreOverItWhateverTheyHold) {
  Judging frame;
  frame.add("a", detection(kWhole, "0.1") + "," + detection(kWhole));
  frame.add("b", detection(kWhole));
  EXPECT_EQ(frame.outcomes({0.5F, 1}), (Outcomes{Outcome::LowScore, Outcome::OverCap, Outcome::OverCap}));
}

TEST(DetectionJudge, LookbackCountsTowardTheCapAndHasNoVerdict) {
  Judging frame;
  frame.add("a", detection(kWhole)).uses_lookback = true;
  frame.add("b", detection(kWhole) + "," + detection(kWhole));
  EXPECT_EQ(frame.outcomes({0.0F, 2}), (Outcomes{Outcome::Drawn, Outcome::OverCap}));
}

TEST(DetectionJudge, JudgesFrameAfterFrame) {
  DetectionJudge judge({}, 1);
  Judging first;
  first.add("a", detection(kWhole) + "," + detection(kWhole));
  EXPECT_EQ(first.outcomes(judge), (Outcomes{Outcome::Drawn, Outcome::Drawn}));
  Judging second;
  second.add("a", detection(kWhole, "1", "SEG1|1|1|AA=="));
  EXPECT_EQ(second.outcomes(judge), Outcomes{Outcome::NoPixelInBox});
  EXPECT_EQ(Judging().outcomes(judge), Outcomes{});
}

TEST(DecisionSettings, AreReadFromAConfigurationAndKeepWhatItDoesNotName) {
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson(SwString(R"({"min_score": 0.25})"), error));
  const DecisionSettings settings = readDecisionSettings(document.object(), {0.5F, 7});
  EXPECT_EQ(settings.minScore, 0.25F);
  EXPECT_EQ(settings.maxOverlayDets, 7);
  EXPECT_EQ(readDecisionSettings({}, {}).maxOverlayDets, 256);
}

TEST(Outcome, HasAWordForPrograms) {
  EXPECT_STREQ(outcomeWord(Outcome::Drawn), "drawn");
  EXPECT_STREQ(outcomeWord(Outcome::OverCap), "over_cap");
  EXPECT_STREQ(outcomeWord(Outcome::NotAnObject), "not_an_object");
  EXPECT_STREQ(outcomeWord(Outcome::LowScore), "low_score");
  EXPECT_STREQ(outcomeWord(Outcome::InvalidMask), "invalid_mask");
  EXPECT_STREQ(outcomeWord(Outcome::BoxOutside), "box_outside");
  EXPECT_STREQ(outcomeWord(Outcome::NoPixelInBox), "no_pixel_in_box");
}

}  // namespace
}  // namespace seg_mask
