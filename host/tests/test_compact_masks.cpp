#include <gtest/gtest.h>

#include "core/SwJsonArray.h"
#include "host/DetectionStream.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

/// Detection lines with compact masks, for a frame of 4 x 2 pixels.
class CompactMasks : public ::testing::Test {
 protected:
  /// The payload of a line with these detections.
  std::shared_ptr<const SwJsonObject> payloadOf(const std::string& detections) const {
    const std::string text = "{\"frame\":0,\"producer\":\"p\",\"detections\":" + detections + "}\n";
    DetectionStream stream(folder_.write("d.jsonl", text), {4, 2});
    return stream.take(0).at(0).payload.object;
  }

  /// "class_info" of a detection with this mask.
  std::string textOf(const std::string& mask) const {
    const std::shared_ptr<const SwJsonObject> payload = payloadOf("[{\"mask\":" + mask + "}]");
    return (*(*payload)["detections"].array())[0].object()->find("class_info")->text();
  }

  /// What reading the detections throws, without the file's name.
  std::string errorOf(const std::string& detections) const {
    try {
      payloadOf(detections);
    } catch (const UserError& error) {
      const std::string what = error.what();
      const std::string file = folder_.path("d.jsonl") + ":";
      EXPECT_EQ(what.find(file), 0U) << what;
      return what.substr(file.size());
    }
    return {};
  }

  void expectRefused(const std::string& mask, const std::string& what) const {
    EXPECT_EQ(errorOf("[{\"mask\":" + mask + "}]"), "1: detections[0]: " + what) << mask;
  }

  TempFolder folder_;
};

TEST_F(CompactMasks, BecomeThePayloadThatATextWouldBe) {
  const std::string others = "\"x\":1,\"y\":2,\"w\":3,\"h\":4,\"class_id\":5,\"score\":0.5,\"more\":[{}],";
  const auto compact =
      payloadOf("[{" + others + "\"mask\":{\"size\":[2,4],\"counts\":[0,1,1,1,1,1,1,1,1]}},7,{}]");
  const auto plain = payloadOf("[{" + others + "\"class_info\":\"SEG1|4|2|Dw==\"},7,{}]");
  EXPECT_TRUE(*compact == *plain);
}

TEST_F(CompactMasks, RunLengthsHaveTheirOwnSize) {
  EXPECT_EQ(textOf("{\"size\":[2,3],\"counts\":[1,2,3]}"), "SEG1|3|2|Cg==") << "pixels 1 and 3";
  EXPECT_EQ(textOf("{\"size\":[2,3],\"counts\":\"123\"}"), "SEG1|3|2|Cg==");
  EXPECT_EQ(textOf("{\"size\":[1,1],\"counts\":[0,1],\"area\":1}"), "SEG1|1|1|AQ==");
}

TEST_F(CompactMasks, ABackslashOfTheTextIsEscapedInJson) {
  // "\" is 44: 12 and more; with "2" it is 12 + 2 * 32.
  EXPECT_EQ(textOf("{\"size\":[1,76],\"counts\":\"\\\\2\"}"), "SEG1|76|1|AAAAAAAAAAAAAA==");
}

TEST_F(CompactMasks, PlacedOnesHaveTheFramesSize) {
  // One pixel, as the two columns in the middle of the first row: bits 1 and 2.
  EXPECT_EQ(textOf("{\"size\":[1,1],\"counts\":[0,1],\"at\":[1,0,2,1]}"), "SEG1|4|2|Bg==");
  EXPECT_EQ(textOf("{\"size\":[1,1],\"counts\":[0,1],\"at\":[-9,-9,2147483647,2147483647]}"),
            "SEG1|4|2|/w==");
}

TEST_F(CompactMasks, PolygonsHaveTheFramesSize) {
  EXPECT_EQ(textOf("{\"polygon\":[[1,0,3,0,3,1,1,1]]}"), "SEG1|4|2|Bg==");
  EXPECT_EQ(textOf("{\"polygon\":[[0,0,1,0,1,1.0,0,1],[3.0,1,4e0,1,4,2,3,2]]}"), "SEG1|4|2|gQ==");
}

TEST_F(CompactMasks, AndATextTogetherAreRefused) {
  EXPECT_EQ(errorOf("[{},{\"class_info\":\"SEG1|1|1|AQ==\",\"mask\":{\"size\":[1,1],\"counts\":[1]}}]"),
            "1: detections[1]: both \"class_info\" and \"mask\"");
  EXPECT_EQ(errorOf("[{\"class_info\":null,\"mask\":{\"size\":[1,1],\"counts\":[1]}}]"),
            "1: detections[0]: both \"class_info\" and \"mask\"");
}

TEST_F(CompactMasks, OfNoFormAreRefused) {
  const std::string neither = "\"mask\" has neither \"counts\" nor \"polygon\"";
  const std::string noObject = "\"mask\" is not an object";
  const std::string takesNothing = "\"polygon\" takes no \"counts\", \"size\" or \"at\"";
  expectRefused("{}", neither);
  expectRefused("{\"size\":[1,1]}", neither);
  for (const char* mask : {"null", "1", "\"SEG1|1|1|AQ==\"", "[[0,0,1,1,2,2]]"})
    expectRefused(mask, noObject);
  expectRefused("{\"polygon\":[[0,0,1,1,2,2]],\"at\":[0,0,1,1]}", takesNothing);
  expectRefused("{\"polygon\":[[0,0,1,1,2,2]],\"size\":[2,4]}", takesNothing);
  expectRefused("{\"polygon\":[[0,0,1,1,2,2]],\"counts\":[8]}", takesNothing);
}

TEST_F(CompactMasks, WithSizesThatAreNoneAreRefused) {
  const std::string noSize = "\"size\" is not [height, width] in whole numbers from 1 on";
  expectRefused("{\"counts\":[8]}", "\"counts\" needs \"size\"");
  for (const char* size : {"null", "8", "[]", "[8]", "[2,2,2]", "[2,\"4\"]", "[2.0,4]", "[0,8]", "[8,-1]",
                           "[-1,-8]", "[2147483648,1]", "[4294967297,1]", "{}"}) {
    expectRefused("{\"size\":" + std::string(size) + ",\"counts\":[8]}", noSize);
  }
}

TEST_F(CompactMasks, HaveAtMostTwoToTheTwentyEighthPixels) {
  const std::string tooMany = "\"size\" has more than 268435456 pixels";
  expectRefused("{\"size\":[16384,16385],\"counts\":[1]}", tooMany);
  expectRefused("{\"size\":[2147483647,2147483647],\"counts\":[1]}", tooMany);
  expectRefused("{\"size\":[16384,16384],\"counts\":[1]}",
                "\"counts\" is for fewer pixels than \"size\" has");
}

TEST_F(CompactMasks, OfTooLargeAFrameAreRefused) {
  const auto errorIn = [&](render_base::FrameSize frame, const std::string& mask) -> std::string {
    const std::string text = "{\"frame\":0,\"producer\":\"p\",\"detections\":[{\"mask\":" + mask + "}]}";
    DetectionStream stream(folder_.write("d.jsonl", text), frame);
    try {
      stream.take(0);
    } catch (const UserError& error) {
      return error.what();
    }
    return {};
  };
  const std::string refusal =
      folder_.path("d.jsonl") + ":1: detections[0]: the frame has more than 268435456 pixels";
  EXPECT_EQ(errorIn({65535, 65535}, "{\"polygon\":[[0,0,1,0,1,1]]}"), refusal);
  EXPECT_EQ(errorIn({65535, 65535}, "{\"size\":[1,1],\"counts\":[1],\"at\":[0,0,1,1]}"), refusal);
  EXPECT_EQ(errorIn({65535, 65535}, "{\"size\":[1,1],\"counts\":[1]}"), "");
}

TEST_F(CompactMasks, OfOneFrameHaveTogetherAsManyPixelsAsSixteenOfTheLargest) {
  // Refused before the first is made: these counts would be refused as well.
  const std::string mask = "{\"mask\":{\"size\":[16384,16384],\"counts\":[1]}}";
  std::string masks = mask;
  for (int i = 1; i < 16; ++i) masks += "," + mask;
  EXPECT_EQ(errorOf("[" + masks + "]"), "1: detections[0]: \"counts\" is for fewer pixels than \"size\" has");
  EXPECT_EQ(errorOf("[" + masks + ",{\"mask\":{\"size\":[1,1],\"counts\":[1]}}]"),
            "1: detections[16]: the frame's masks have more than 4294967296 pixels together");
}

TEST_F(CompactMasks, OfAFrameAreCountedOverItsLinesAndAnewForTheNextFrame) {
  const auto line = [](int frame, const std::string& counts, int masks) {
    const std::string mask = "{\"mask\":{\"size\":[16384,16384],\"counts\":" + counts + "}}";
    std::string all = mask;
    for (int i = 1; i < masks; ++i) all += "," + mask;
    return "{\"frame\":" + std::to_string(frame) + ",\"producer\":\"p\",\"detections\":[" + all + "]}\n";
  };
  const auto errorIn = [&](const std::string& lines) -> std::string {
    DetectionStream stream(folder_.write("d.jsonl", lines), {4, 2});
    try {
      for (uint64_t frame = 0; frame < 2; ++frame) stream.take(frame);
    } catch (const UserError& error) {
      return error.what();
    }
    return {};
  };
  const std::string good = line(0, "[268435456]", 1);
  EXPECT_EQ(errorIn(good + line(0, "[1]", 16)),
            folder_.path("d.jsonl") +
                ":2: detections[15]: the frame's masks have more than 4294967296 pixels together");
  EXPECT_EQ(errorIn(good + line(1, "[1]", 16)),
            folder_.path("d.jsonl") + ":2: detections[0]: \"counts\" is for fewer pixels than \"size\" has");
}

TEST_F(CompactMasks, WithCountsThatLieAreRefused) {
  const auto refused = [&](const std::string& counts, const std::string& what) {
    expectRefused("{\"size\":[2,2],\"counts\":" + counts + "}", "\"counts\" " + what);
  };
  refused("[1,2]", "is for fewer pixels than \"size\" has");
  refused("[]", "is for fewer pixels than \"size\" has");
  refused("\"\"", "is for fewer pixels than \"size\" has");
  refused("[1,4]", "is for more pixels than \"size\" has");
  refused("[9223372036854775807,1]", "is for more pixels than \"size\" has");
  refused("[5,-1]", "is for more pixels than \"size\" has");
  refused("[4,-1]", "has a run below 0");
  refused("\"1O\"", "has a run below 0");
  refused("\"1 3\"", "has a character that no run length has");
  refused("\"1T\"", "ends within a number");
  refused("\"PPPPPPPPPPPP0\"", "has a number beyond 60 bits");
  for (const char* counts : {"null", "4", "{}", "[4.0]", "[\"4\"]", "[[4]]", "true"}) {
    refused(counts, "is neither a text nor a list of whole numbers");
  }
}

TEST_F(CompactMasks, WithPlacesThatAreNoneAreRefused) {
  const std::string noPlace = "\"at\" is not [x, y, w, h] in whole numbers, w and h from 1 on";
  for (const char* at : {"null", "[0,0,1]", "[0,0,1,1,1]", "[0,0,0,1]", "[0,0,1,-1]", "[0.5,0,1,1]",
                         "[2147483648,0,1,1]", "[0,-2147483649,1,1]", "\"0,0,1,1\""}) {
    expectRefused("{\"size\":[1,1],\"counts\":[1],\"at\":" + std::string(at) + "}", noPlace);
  }
}

TEST_F(CompactMasks, WithPolygonsThatAreNoneAreRefused) {
  const std::string noPolygon = "\"polygon\" is not a list of lists x, y, x, y, ... of three points or more";
  for (const char* polygon :
       {"null", "[]", "[0,0,1,1,2,2]", "[[]]", "[[0,0,1,1]]", "[[0,0,1,1,2]]", "[[0,0,1,1,2,2,3]]",
        "[[[0,0],[1,1],[2,2]]]", "[[0,0,1,1,2,\"2\"]]", "[[0,0,1,1,2,null]]", "[[0,0,1,1,2,2],7]"}) {
    expectRefused("{\"polygon\":" + std::string(polygon) + "}", noPolygon);
  }
  const std::string tooFar = "\"polygon\" has a coordinate beyond 268435456";
  for (const char* number : {"268435457", "-268435457", "1e300", "-9223372036854775808", "268435456.5"}) {
    expectRefused("{\"polygon\":[[0,0,1,0,1," + std::string(number) + "]]}", tooFar);
  }
  EXPECT_EQ(errorOf("[{\"mask\":{\"polygon\":[[0,0,268435456,0,-268435456.0,1]]}}]"), "");
}

TEST_F(CompactMasks, TheRefusalNamesTheLineAndTheDetection) {
  const std::string good = "{\"mask\":{\"size\":[1,1],\"counts\":[0,1]}}";
  const std::string text = "{\"frame\":0,\"producer\":\"p\",\"detections\":[" + good +
                           "]}\n\n{\"frame\":1,\"producer\":\"p\",\"detections\":[7," + good +
                           ",{\"mask\":{\"size\":[1,1],\"counts\":[2]}}]}\n";
  DetectionStream stream(folder_.write("d.jsonl", text), {4, 2});
  try {
    stream.take(0);
    FAIL() << "nothing was refused";
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(),
              folder_.path("d.jsonl") + ":3: detections[2]: \"counts\" is for more pixels than \"size\" has");
  }
}

}  // namespace
}  // namespace segmask
