#include <gtest/gtest.h>

#include "core/SwJsonDocument.h"
#include "src/render/DetectionHints.h"

namespace segmask {
namespace {

using Texts = std::vector<std::string>;

const std::string kWhereMasksGo =
    "run lengths and polygons go into \"mask\", as {\"size\", \"counts\"} or {\"polygon\"}, and a \"SEG1\" "
    "text into "
    "\"class_info\"";

DetectionLine lineOf(const std::string& members, uint64_t lineNumber, uint64_t frame = 0) {
  SwJsonDocument document;
  SwString error;
  EXPECT_TRUE(document.loadFromJson(SwString("{" + members + "}"), error)) << members;
  DetectionLine line;
  line.frame = frame;
  line.lineNumber = lineNumber;
  line.payload.object = std::make_shared<const SwJsonObject>(document.object());
  return line;
}

/// The warnings of a file of lines with these members, for frames of 1920 x 1080.
Texts warningsOf(const Texts& lines, uint64_t firstFrame = 0) {
  DetectionHints hints({1920, 1080});
  uint64_t number = 0;
  for (const std::string& members : lines) {
    ++number;
    hints.look(lineOf(members, number, firstFrame + number - 1));
  }
  return hints.warnings("d.jsonl", true);
}

std::string detections(const std::string& objects) {
  return "\"detections\": [" + objects + "]";
}

std::string box(const std::string& x, const std::string& y, const std::string& w, const std::string& h,
                const std::string& more = "") {
  return "{\"x\": " + x + ", \"y\": " + y + ", \"w\": " + w + ", \"h\": " + h + more + "}";
}

const std::string kGood = box("10", "20", "30", "60", R"(, "class_id": 3, "class_info": "SEG1|160|90|AA")");

TEST(DetectionHints, GoodLinesGiveNone) {
  EXPECT_EQ(warningsOf({detections(kGood), "\"producer\": \"p\"", detections("7, " + kGood)}), Texts{});
  EXPECT_EQ(warningsOf({}), Texts{});
  EXPECT_EQ(warningsOf({detections(box("0", "0", "1", "1"))}), Texts{}) << "one pixel in the corner";
}

TEST(DetectionHints, BoxesInFractionsOfTheFrame) {
  const std::string fractions = box("0.1", "0", "0.5", "1");
  const std::string said =
      "all boxes are within 0 to 1; they have to be in pixels of the frame, not in fractions of it";
  EXPECT_EQ(warningsOf({detections(fractions), detections(fractions + ",1")}),
            Texts{"d.jsonl:1: detections[0]: " + said + " (2 times)"});
  // A box of the whole frame is one of whole numbers, and networks' boxes may reach a little beyond it.
  EXPECT_EQ(warningsOf({detections(box("0", "0", "1", "1") + "," + box("-0.01", "0.2", "0.5", "0.81"))}),
            Texts{"d.jsonl:1: detections[0]: " + said + " (2 times)"});
  EXPECT_EQ(warningsOf({detections(fractions + "," + kGood)}), Texts{}) << "not all";
}

TEST(DetectionHints, BoxesForAnotherSize) {
  const std::string outside = box("3000", "100", "50", "60");
  const std::string across = box("1500", "900", "100", "300");
  const auto said = [](const std::string& place, const std::string& counts) {
    return "d.jsonl:" + place + ": " + counts +
           " boxes lie outside the 1920x1080 frame or end far outside; were they made for frames of another "
           "size?";
  };
  EXPECT_EQ(warningsOf({detections(kGood + "," + outside + "," + across)}),
            Texts{said("1: detections[1]", "2 of 3")});
  EXPECT_EQ(warningsOf({detections(kGood + "," + outside)}), Texts{}) << "one of few";
  const std::string five = outside + "," + across + "," + outside + "," + across + "," + outside;
  std::string good = kGood;
  for (int i = 1; i < 44; ++i) good += "," + kGood;
  EXPECT_EQ(warningsOf({detections(good), detections(five)}), Texts{said("2: detections[0]", "5 of 49")});
  EXPECT_EQ(warningsOf({detections(good + "," + kGood), detections(five)}), Texts{}) << "a tenth";
  for (const std::string& before : {box("-40", "0", "40", "9"), box("0", "-9", "40", "9")}) {
    EXPECT_EQ(warningsOf({detections(before)}), Texts{said("1: detections[0]", "1 of 1")}) << before;
  }
  EXPECT_EQ(warningsOf({detections(box("-40", "0", "41", "9"))}), Texts{}) << "one column is inside";
  EXPECT_EQ(warningsOf({detections(box("1500", "900", "100", "288"))}), Texts{}) << "a tenth of the frame";
  EXPECT_EQ(warningsOf({detections(box("-5", "0", "99999", "99999"))}), Texts{}) << "around the frame";
}

TEST(DetectionHints, TheSizeAndThePlaceAreThoseOfTheFirstInTheFile) {
  DetectionHints hints({33, 21});
  hints.look(lineOf(detections(box("50", "0", "5", "5")), 7));
  hints.setFrameSize({40, 30});
  hints.look(lineOf(detections(box("50", "0", "5", "5")), 3));
  hints.setFrameSize({90, 90});
  EXPECT_EQ(
      hints.warnings("d.jsonl", true),
      Texts{
          "d.jsonl:3: detections[0]: 2 of 2 boxes lie outside the 40x30 frame or end far outside; were they "
          "made for frames of another size?"});
}

TEST(DetectionHints, FramesThatCountFromOne) {
  EXPECT_EQ(warningsOf({detections(kGood)}, 1),
            Texts{"d.jsonl:1: the first frame number is 1 and none is 0; frames count from 0"});
  EXPECT_EQ(warningsOf({detections(kGood)}, 2), Texts{});
  DetectionHints hints({1920, 1080});
  hints.look(lineOf(detections(kGood), 1, 1));
  EXPECT_EQ(hints.warnings("d.jsonl", false), Texts{}) << "there may have been lines before";
}

TEST(DetectionHints, TextsInPlaceOfNumbers) {
  EXPECT_EQ(
      warningsOf({detections(box("1", "2", "\"3\"", "4", R"(, "class_id": "person")") + "," +
                             box("1", "2", "3", "4", R"(, "class_id": "dog")"))}),
      (Texts{"d.jsonl:1: detections[0]: \"class_id\" is a text, which counts as 0; write a number (2 times)",
             "d.jsonl:1: detections[0]: \"w\" is a text, which counts as 0; write a number"}));
}

TEST(DetectionHints, MembersByOtherNames) {
  const auto said = [](const std::string& place, const std::string& other, const std::string& name) {
    return "d.jsonl:" + place + ": \"" + other + "\" is not read; the name is \"" + name + "\"";
  };
  EXPECT_EQ(warningsOf({detections(""), "\"dets\": []", "\"dets\": []"}),
            Texts{said("2", "dets", "detections") + " (2 times)"});
  for (const char* other : {"detecions", "Detections", "boxes", "found"}) {
    EXPECT_EQ(warningsOf({"\"time\": 3, \"" + std::string(other) + "\": [{}]"}),
              Texts{said("1", other, "detections")});
  }
  EXPECT_EQ(warningsOf({R"("producer": "p", "time": 3, "found": [], "roi": [0, 0, 9, 9])"}), Texts{})
      << "nothing was found";
  for (const auto& [other, name] :
       {std::pair("class", "class_id"), std::pair("label", "class_id"), std::pair("classid", "class_id"),
        std::pair("scor", "score"), std::pair("width", "w"), std::pair("left", "x")}) {
    EXPECT_EQ(warningsOf({detections("{\"" + std::string(other) + "\": 1}")}),
              Texts{said("1: detections[0]", other, name)});
  }
  EXPECT_EQ(warningsOf({detections(R"({"segmentation": [[1, 2]]})")}),
            Texts{"d.jsonl:1: detections[0]: \"segmentation\" is not read; " + kWhereMasksGo});
  EXPECT_EQ(warningsOf({detections(R"({"class": 1}, {"class": 1, "conf": 0.5})")}),
            (Texts{said("1: detections[0]", "class", "class_id") + " (2 times)",
                   said("1: detections[1]", "conf", "score")}))
      << "each by itself";
  EXPECT_EQ(
      warningsOf({detections(R"({"class": "dog", "class_id": 1, "class_name": "dog", "class_conf": 1})")}),
      Texts{})
      << "additional members";
}

TEST(DetectionHints, NamesOfTheFileDoNotFillTheMemory) {
  std::string all;
  for (char other = 'A'; other <= 'Z'; ++other) {
    for (const char* name : {"class%id", "scor%"}) {
      std::string key = name;
      key[key.find('%')] = other;
      all += (all.empty() ? "{\"" : ",{\"") + key + "\": 1}";
    }
  }
  EXPECT_EQ(warningsOf({detections(all)}).size(), 32U) << "of 52";
}

TEST(DetectionHints, MasksOfOtherForms) {
  const auto of = [](const std::string& value) {
    const Texts texts = warningsOf({detections("{\"class_info\": " + value + "}")});
    return texts.empty() ? std::string() : texts[0];
  };
  const auto looks = [](const std::string& what) {
    return "d.jsonl:1: detections[0]: \"class_info\" looks like " + what + "; " + kWhereMasksGo;
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
  const std::string small = box("10", "20", "300", "600", R"(, "class_info": "SEG1|20|40|AA")");
  EXPECT_EQ(warningsOf({detections(small + "," + small)}), Texts{}) << "a network's masks of one size";
  const std::string other = box("10", "20", "300", "600", R"(, "class_info": "SEG1|30|60|AA")");
  EXPECT_EQ(warningsOf({detections(small + "," + other)}).size(), 1U) << "scaled crops";
  EXPECT_EQ(warningsOf({detections(box("10", "20", "5", "5", R"(, "class_info": "SEG1|5|5|AA")"))}), Texts{})
      << "too few pixels for proportions";
  EXPECT_EQ(warningsOf({detections(box("0", "0", "160", "90", R"(, "class_info": "SEG1|160|90|AA")"))}),
            Texts{});
  EXPECT_EQ(warningsOf({detections(box("0", "0", "5000", "5000", R"(, "class_info": "SEG1|28|28|AA")"))}),
            Texts{})
      << "a box around the frame";
}

}  // namespace
}  // namespace segmask
