#include <gtest/gtest.h>

#include "host/PictureDetections.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

using Numbers = std::vector<uint64_t>;

class PictureDetectionsTest : public ::testing::Test {
 protected:
  std::string write(const std::string& text) const { return folder_.write("d.jsonl", text); }

  static std::string line(const std::string& place, const std::string& detections = "[]") {
    return "{" + place + R"(, "producer": "p", "detections": )" + detections + "}\n";
  }

  /// The line numbers that each of three pictures gets.
  std::vector<Numbers> linesOf(const std::string& text) const {
    PictureDetections detections(write(text), {"a.jpg", "b.png", "c.jpg"});
    std::vector<Numbers> all;
    for (uint64_t picture = 0; picture < 3; ++picture) {
      Numbers numbers;
      for (const DetectionLine& line : detections.take(picture, {8, 6})) {
        EXPECT_EQ(line.frame, picture);
        numbers.push_back(line.lineNumber);
      }
      all.push_back(numbers);
    }
    return all;
  }

  std::string refusal(const std::string& text) const {
    try {
      linesOf(text);
    } catch (const UserError& error) {
      return error.what();
    }
    return "no error";
  }

  TempFolder folder_;
};

TEST_F(PictureDetectionsTest, NameTheirPicturesInAnyOrder) {
  EXPECT_EQ(linesOf(line(R"("image": "c.jpg")") + line(R"("image": "a.jpg")") + line(R"("frame": 2)") +
                    line(R"("image": "photos/b.png")") + line(R"("image": "/some/where/c.jpg")") +
                    line(R"("frame": 0)")),
            (std::vector<Numbers>{{2, 6}, {4}, {1, 3, 5}}));
}

TEST_F(PictureDetectionsTest, TheNameDecidesWhereBothAreGiven) {
  EXPECT_EQ(linesOf(line(R"("frame": 0, "image": "b.png")") + line(R"("frame": "x", "image": "c.jpg")")),
            (std::vector<Numbers>{{}, {1}, {2}}));
}

TEST_F(PictureDetectionsTest, WhatNamesNoPictureIsRefused) {
  const std::string good = line(R"("frame": 1)");
  const std::string file = folder_.path("d.jsonl");
  EXPECT_EQ(refusal(good + line(R"("image": "d.png")")), file + ":2: there is no picture \"d.png\"");
  EXPECT_EQ(refusal(good + line(R"("image": "photos/")")), file + ":2: there is no picture \"photos/\"");
  EXPECT_EQ(refusal(good + line(R"("image": "")")), file + ":2: \"image\" is not a name");
  EXPECT_EQ(refusal(good + line(R"("image": 3)")), file + ":2: \"image\" is not a name");
  EXPECT_EQ(refusal(good + line(R"("picture": "a.jpg")")), file + ":2: no \"image\" and no \"frame\"");
}

TEST_F(PictureDetectionsTest, ANumberPastTheLastPictureIsLeftOver) {
  PictureDetections detections(write(line(R"("frame": 2)") + line(R"("frame": 3)") + line(R"("frame": 9)")),
                               {"a.jpg", "b.png", "c.jpg"});
  ASSERT_TRUE(detections.rest());
  EXPECT_EQ(detections.rest()->lineNumber, 2U);
  EXPECT_FALSE(detections.heldNoLine());
  EXPECT_TRUE(PictureDetections(write("\n"), {"a.jpg"}).heldNoLine());
}

/// A polygon fills the size of its own picture.
TEST_F(PictureDetectionsTest, MasksAreOfTheirPicturesSize) {
  const std::string polygon = R"([{"mask": {"polygon": [[0, 0, 99, 0, 99, 99, 0, 99]]}}])";
  PictureDetections detections(write(line(R"("frame": 1)", polygon) + line(R"("frame": 0)", polygon)),
                               {"a.jpg", "b.png"});
  const auto textOf = [&detections](uint64_t picture, render_base::FrameSize size) {
    const std::vector<DetectionLine> lines = detections.take(picture, size);
    return (*lines.at(0).payload.object)["detections"].array()->at(0).object()->find("class_info")->text();
  };
  EXPECT_EQ(textOf(0, {4, 2}), "SEG1|4|2|/w==");
  EXPECT_EQ(textOf(1, {2, 2}), "SEG1|2|2|Dw==");
  EXPECT_TRUE(detections.take(1, {2, 2}).empty());
  const std::string bad = write(line(R"("frame": 0)") + line(R"("frame": 0)", R"([{}, {"mask": 1}])"));
  PictureDetections broken(bad, {"a.jpg"});
  try {
    broken.take(0, {2, 2});
    FAIL();
  } catch (const UserError& error) {
    EXPECT_EQ(std::string(error.what()).find(bad + ":2: detections[1]: \"mask\" is not an object"), 0U)
        << error.what();
  }
}

}  // namespace
}  // namespace segmask
