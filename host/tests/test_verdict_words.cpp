#include <gtest/gtest.h>

#include <clocale>

#include "host/verdict_words.h"

namespace segmask {
namespace {

using seg_mask::DetView;
using seg_mask::Outcome;
using seg_mask::Verdict;

/// Why a frame of 1920 x 1080 lacks the detection, at min_score 0.5 and a cap of 256.
std::string why(Outcome outcome, const DetView& detection) {
  return whyDropped({nullptr, 0, outcome, &detection}, {0.5F, 256}, {1920, 1080});
}

/// The same of a detection with that mask text.
std::string whyNoMask(const std::string& text) {
  DetView detection;
  detection.class_info = text;
  Verdict verdict{nullptr, 0, Outcome::InvalidMask, &detection};
  EXPECT_FALSE(seg_mask::decodeMaskText(text, &verdict.fault));
  return whyDropped(verdict, {}, {1920, 1080});
}

DetView at(int x, int y, int w, int h) {
  DetView detection;
  detection.x = x;
  detection.y = y;
  detection.w = w;
  detection.h = h;
  return detection;
}

TEST(WhyDropped, HasTheNumbersThatTheRuleWasAppliedTo) {
  DetView faint;
  faint.score = 0.2F;
  EXPECT_EQ(why(Outcome::LowScore, faint), "score 0.2 is below min_score 0.5");
  faint.score = 0.49999997F;
  EXPECT_EQ(why(Outcome::LowScore, faint), "score 0.49999997 is below min_score 0.5");
  faint.score = 0.0001F;
  EXPECT_EQ(why(Outcome::LowScore, faint), "score 0.0001 is below min_score 0.5");
  faint.score = -1e30F;
  EXPECT_EQ(why(Outcome::LowScore, faint), "score -1e+30 is below min_score 0.5");
  EXPECT_EQ(why(Outcome::OverCap, {}),
            "max_overlay_dets is 256, and the frame has as many detections before this one");
  EXPECT_EQ(why(Outcome::NotAnObject, {}), "it is no JSON object");
  EXPECT_EQ(why(Outcome::BoxOutside, at(5000, 10, 20, 20)),
            "its box lies outside the 1920x1080 frame (x 5000, y 10, w 20, h 20)");
  EXPECT_EQ(why(Outcome::BoxOutside, at(0, 0, 0, 7)), "its box is empty (x 0, y 0, w 0, h 7)");
  EXPECT_EQ(why(Outcome::NoPixelInBox, at(1, 2, 3, 4)),
            "its mask has no pixel inside its box (x 1, y 2, w 3, h 4); the mask spans the whole frame, the "
            "box only limits it");
  EXPECT_EQ(why(Outcome::Drawn, {}), "");
}

TEST(WhyDropped, HasAPointInNumbersWhateverTheLocale) {
  // Without that locale, C's stays, and the sentence has to be the same.
  std::setlocale(LC_NUMERIC, "de_DE.UTF-8");  // NOLINT(concurrency-mt-unsafe): the only thread
  DetView faint;
  faint.score = 0.4F;
  const std::string text = why(Outcome::LowScore, faint);
  std::setlocale(LC_NUMERIC, "C");  // NOLINT(concurrency-mt-unsafe)
  EXPECT_EQ(text, "score 0.4 is below min_score 0.5");
}

TEST(WhyDropped, SaysWhichFieldOfAMaskTextIsWrong) {
  // 160 x 160 / 8 is 3200; 16 characters hold 12 bytes.
  EXPECT_EQ(whyNoMask("SEG1|160|160|AAAAAAAAAAAAAAAA"),
            "the mask text's data has 12 bytes, 3,200 are needed for 160x160");
  EXPECT_EQ(whyNoMask("SEG1|x|2|Dw=="), "the mask text's width is no number");
  EXPECT_EQ(whyNoMask("SEG1|4|99999999999|Dw=="), "the mask text's height is beyond 32 bits");
  EXPECT_EQ(whyNoMask("SEG1|4|-2|Dw=="), "the mask text's height is not 1 or more");
  EXPECT_EQ(whyNoMask("SEG1|4|2"),
            "the mask text ends before its data; it has to be \"SEG1|width|height|data\"");
  EXPECT_EQ(whyNoMask(""), "\"class_info\" is empty; it has to hold a mask text, \"SEG1|...\"");
  EXPECT_EQ(whyNoMask("null"), "there is no \"class_info\"; it has to hold a mask text, \"SEG1|...\"");
  EXPECT_EQ(whyNoMask("person"), "\"class_info\" is no mask text: it does not begin with \"SEG1|\"");
}

TEST(ReasonOf, HasAPhraseForEachRule) {
  EXPECT_EQ(reasonOf(Outcome::Drawn), "");
  EXPECT_EQ(reasonOf(Outcome::OverCap), "beyond max_overlay_dets");
  EXPECT_EQ(reasonOf(Outcome::NotAnObject), "no JSON object");
  EXPECT_EQ(reasonOf(Outcome::LowScore), "score below min_score");
  EXPECT_EQ(reasonOf(Outcome::InvalidMask), "no valid mask");
  EXPECT_EQ(reasonOf(Outcome::BoxOutside), "box outside the frame");
  EXPECT_EQ(reasonOf(Outcome::NoPixelInBox), "no pixel of the mask inside the box");
}

}  // namespace
}  // namespace segmask
