#include <gtest/gtest.h>

#include "core/SwJsonDocument.h"
#include "src/render/DetectionHints.h"

namespace segmask {
namespace {

/// The warnings of lines that each hold one of these objects' members, for frames of 1920 x 1080.
std::vector<std::string> warningsOf(const std::vector<std::string>& lines, uint64_t firstFrame = 0) {
  DetectionHints hints({1920, 1080});
  uint64_t number = 0;
  for (const std::string& text : lines) {
    SwJsonDocument document;
    SwString error;
    EXPECT_TRUE(document.loadFromJson(SwString("{" + text + "}"), error)) << text;
    DetectionLine line;
    line.frame = firstFrame + number;
    line.lineNumber = ++number;
    line.payload.object = std::make_shared<const SwJsonObject>(document.object());
    hints.look(line);
  }
  return hints.warnings("d.jsonl");
}

std::string detections(const std::string& objects) {
  return "\"detections\": [" + objects + "]";
}

std::string box(const std::string& x, const std::string& y, const std::string& w, const std::string& h,
                const std::string& more = "") {
  return "{\"x\": " + x + ", \"y\": " + y + ", \"w\": " + w + ", \"h\": " + h + more + "}";
}

using Texts = std::vector<std::string>;

const std::string kGood = box("10", "20", "30", "60", R"(, "class_id": 3, "class_info": "SEG1|160|90|AA")");

TEST(DetectionHints, GoodLinesGiveNone) {
  EXPECT_EQ(warningsOf({detections(kGood), "\"producer\": \"p\"", detections("7, " + kGood)}), Texts{});
  EXPECT_EQ(warningsOf({}), Texts{});
  EXPECT_EQ(warningsOf({detections(box("0", "0", "1", "1"))}), Texts{}) << "one pixel in the corner";
}

TEST(DetectionHints, BoxesInFractionsOfTheFrame) {
  const std::string fractions = box("0.1", "0", "0.5", "1");
  EXPECT_EQ(
      warningsOf({detections(fractions), detections(fractions + ",1")}),
      Texts{"d.jsonl:1: detections[0]: all boxes are within 0 to 1; they have to be in pixels of the frame, "
            "not in fractions of it (2 times)"});
  EXPECT_EQ(warningsOf({detections(fractions + "," + kGood)}), Texts{}) << "not all";
}

TEST(DetectionHints, BoxesForAnotherSize) {
  const std::string outside = box("3000", "100", "50", "60");
  const std::string across = box("1500", "900", "100", "300");
  EXPECT_EQ(
      warningsOf({detections(kGood + "," + outside + "," + across)}),
      Texts{
          "d.jsonl:1: detections[1]: more than half of the boxes lie outside the 1920x1080 frame or end far "
          "outside; were they made for frames of another size? (2 times)"});
  EXPECT_EQ(warningsOf({detections(kGood + "," + outside)}), Texts{}) << "half of them";
  EXPECT_EQ(warningsOf({detections(box("1500", "900", "100", "288"))}), Texts{}) << "a tenth of the frame";
  EXPECT_EQ(warningsOf({detections(box("-5", "0", "99999", "99999"))}), Texts{}) << "around the frame";
}

TEST(DetectionHints, FramesThatCountFromOne) {
  EXPECT_EQ(warningsOf({detections(kGood)}, 1),
            Texts{"d.jsonl:1: the first frame number is 1 and none is 0; frames count from 0"});
  EXPECT_EQ(warningsOf({detections(kGood)}, 2), Texts{});
}

TEST(DetectionHints, TextsInPlaceOfNumbers) {
  EXPECT_EQ(warningsOf({detections(box("1", "2", "\"3\"", "4", R"(, "class_id": "person")"))}),
            Texts{"d.jsonl:1: detections[0]: \"w\" is a text, which counts as 0; write a number"});
  EXPECT_EQ(
      warningsOf({detections(box("1", "2", "3", "4", R"(, "class_id": "person")") + "," +
                             box("1", "2", "3", "4", R"(, "class_id": "dog")"))}),
      Texts{"d.jsonl:1: detections[0]: \"class_id\" is a text, which counts as 0; write a number (2 times)"});
}

TEST(DetectionHints, MembersByOtherNames) {
  EXPECT_EQ(warningsOf({detections(""), "\"dets\": []", "\"dets\": []"}),
            Texts{"d.jsonl:2: \"dets\" is not read; the name is \"detections\" (2 times)"});
  for (const auto& [other, name] : {std::pair("class", "class_id"), std::pair("label", "class_id"),
                                    std::pair("segmentation", "class_info")}) {
    EXPECT_EQ(warningsOf({detections("{\"" + std::string(other) + "\": 1}")}),
              Texts{"d.jsonl:1: detections[0]: \"" + std::string(other) + "\" is not read; the name is \"" +
                    name + "\""});
  }
  EXPECT_EQ(warningsOf({detections(R"({"class": "dog", "class_id": 1})")}), Texts{})
      << "an additional member";
}

TEST(DetectionHints, MasksOfOtherForms) {
  const auto of = [](const std::string& value) {
    const Texts texts = warningsOf({detections("{\"class_info\": " + value + "}")});
    return texts.empty() ? std::string() : texts[0];
  };
  const auto looks = [](const std::string& what) {
    return "d.jsonl:1: detections[0]: \"class_info\" looks like " + what + ", but has to be a \"SEG1\" text";
  };
  EXPECT_EQ(of("[[1, 2, 3, 4]]"), looks("a polygon or a list of run lengths"));
  EXPECT_EQ(of(R"({"size": [2, 2], "counts": "04"})"), looks("run lengths as COCO writes them"));
  EXPECT_EQ(of(R"("[[1,2],[3,4]]")"), looks("a polygon or run lengths as text"));
  EXPECT_EQ(of(R"("1 2 3 4")"), looks("a polygon or run lengths as text"));
  EXPECT_EQ(of(R"("oW14e01O0kN")"), looks("compressed run lengths"));
  for (const char* text : {"\"person\"", "\"Umbrella\"", "\"\"", "null", "\"SEG1|x\""})
    EXPECT_EQ(of(text), "") << text;
}

TEST(DetectionHints, MasksThatSpanTheirBox) {
  // 30 x 60 and 28 x 56: 1 to 2, where the frame is 16 to 9.
  const std::string spans = box("10", "20", "30", "60", R"(, "class_info": "SEG1|28|56|AA")");
  EXPECT_EQ(warningsOf({detections(spans + "," + spans)}),
            Texts{"d.jsonl:1: detections[0]: the mask has the proportions of its box and not of the "
                  "1920x1080 frame; a "
                  "mask spans the whole frame, the box only limits it (2 times)"});
  EXPECT_EQ(warningsOf({detections(kGood + "," + spans)}), Texts{}) << "half of them may be by chance";
  EXPECT_EQ(warningsOf({detections(box("0", "0", "160", "90", R"(, "class_info": "SEG1|160|90|AA")"))}),
            Texts{});
  EXPECT_EQ(warningsOf({detections(box("0", "0", "5000", "5000", R"(, "class_info": "SEG1|28|28|AA")"))}),
            Texts{})
      << "a box around the frame";
}

}  // namespace
}  // namespace segmask
