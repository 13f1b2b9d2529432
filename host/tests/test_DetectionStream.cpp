#include <gtest/gtest.h>

#include "host/DetectionStream.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

std::string line(int frame, const std::string& producer, const std::string& detections = "[]") {
  return "{\"frame\":" + std::to_string(frame) + ",\"producer\":\"" + producer +
         "\",\"detections\":" + detections + "}\n";
}

class DetectionStreamTest : public ::testing::Test {
 protected:
  DetectionStream open(const std::string& text) { return DetectionStream(folder_.write("d.jsonl", text)); }

  /// The message of the error that reading frame 0 to 99 ends in; empty when there is none.
  std::string errorOf(const std::string& text) {
    DetectionStream stream = open(text);
    try {
      for (uint64_t frame = 0; frame < 100; ++frame) stream.take(frame);
    } catch (const UserError& error) {
      return error.what();
    }
    return {};
  }

  std::string at(int lineNumber, const std::string& what) const {
    return folder_.path("d.jsonl") + ":" + std::to_string(lineNumber) + ": " + what;
  }

  TempFolder folder_;
};

TEST_F(DetectionStreamTest, GivesEachFrameItsLinesInTheFilesOrder) {
  DetectionStream stream = open(line(0, "b", "[{\"x\":1},{\"x\":2}]") + line(0, "a") + line(2, "b", "[{}]"));
  const std::vector<DetectionLine> first = stream.take(0);
  ASSERT_EQ(first.size(), 2U);
  EXPECT_EQ(first[0].producer, "b");
  EXPECT_EQ(first[0].detections, 2U);
  EXPECT_EQ(first[0].lineNumber, 1U);
  EXPECT_TRUE(first[0].payload.object->contains("detections"));
  EXPECT_EQ(first[1].producer, "a");
  EXPECT_EQ(first[1].detections, 0U);
  EXPECT_TRUE(stream.take(1).empty());
  ASSERT_EQ(stream.take(2).size(), 1U);
  EXPECT_FALSE(stream.rest());
}

TEST_F(DetectionStreamTest, ALineWithoutDetectionsIsAProducerThatFoundNothing) {
  DetectionStream stream = open("{\"frame\":0,\"producer\":\"p\"}");
  const std::vector<DetectionLine> lines = stream.take(0);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].detections, 0U);
}

TEST_F(DetectionStreamTest, PassesOverBlankLinesAndAByteOrderMarkAndCountsThem) {
  DetectionStream stream = open("\xEF\xBB\xBF" + line(0, "p") + "\n \t\r\n" + line(1, "p"));
  EXPECT_EQ(stream.take(0).size(), 1U);
  ASSERT_TRUE(stream.rest());
  EXPECT_EQ(stream.rest()->lineNumber, 4U);
}

TEST_F(DetectionStreamTest, ReadsLinesThatEndAsOnOtherSystemsOrNotAtAll) {
  DetectionStream stream = open("{\"frame\":0,\"producer\":\"p\"}\r\n{\"frame\":0,\"producer\":\"q\"}");
  EXPECT_EQ(stream.take(0).size(), 2U);
}

TEST_F(DetectionStreamTest, TellsTheFirstLineThatIsLeft) {
  DetectionStream stream = open(line(0, "p") + line(5, "p") + line(6, "p"));
  stream.take(0);
  stream.take(1);
  ASSERT_TRUE(stream.rest());
  EXPECT_EQ(stream.rest()->frame, 5U);
  EXPECT_EQ(stream.rest()->lineNumber, 2U);
}

TEST_F(DetectionStreamTest, DropsLinesOfFramesThatWereNotAskedFor) {
  DetectionStream stream = open(line(0, "p") + line(1, "p") + line(2, "q"));
  const std::vector<DetectionLine> lines = stream.take(2);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].producer, "q");
}

TEST_F(DetectionStreamTest, ReadsLinesLongerThanABlock) {
  const std::string longName(200'000, 'n');
  DetectionStream stream = open(line(0, longName) + line(0, "p"));
  const std::vector<DetectionLine> lines = stream.take(0);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].producer, longName);
}

TEST_F(DetectionStreamTest, ReadsNoFurtherThanItHasTo) {
  // The bad line is the third one, and frame 0 needs a look at the second only.
  DetectionStream stream = open(line(0, "p") + line(1, "p") + "rubbish\n");
  EXPECT_EQ(stream.take(0).size(), 1U);
  EXPECT_THROW(stream.take(1), UserError);
}

TEST_F(DetectionStreamTest, RefusesWhatIsNotJson) {
  const std::string error = errorOf(line(0, "p") + "{\"frame\": 1,\n");
  EXPECT_EQ(error.find(at(2, "not JSON: ")), 0U) << error;
  EXPECT_EQ(errorOf(line(0, "p") + "{} x\n").find(at(2, "not JSON: ")), 0U);
}

TEST_F(DetectionStreamTest, RefusesWhatIsNotAnObject) {
  EXPECT_EQ(errorOf("[1]\n"), at(1, "not a JSON object"));
  EXPECT_EQ(errorOf("17\n"), at(1, "not a JSON object"));
}

TEST_F(DetectionStreamTest, RefusesALineWithoutAFrameNumber) {
  const std::string notANumber = "\"frame\" is not a whole number from 0 on";
  EXPECT_EQ(errorOf("{\"producer\":\"p\"}\n"), at(1, "no \"frame\""));
  EXPECT_EQ(errorOf("{\"frame\":\"1\",\"producer\":\"p\"}\n"), at(1, notANumber));
  EXPECT_EQ(errorOf("{\"frame\":1.5,\"producer\":\"p\"}\n"), at(1, notANumber));
  EXPECT_EQ(errorOf("{\"frame\":-1,\"producer\":\"p\"}\n"), at(1, notANumber));
  EXPECT_EQ(errorOf("{\"frame\":null,\"producer\":\"p\"}\n"), at(1, notANumber));
}

TEST_F(DetectionStreamTest, RefusesALineWithoutAProducersName) {
  const std::string notAName = "\"producer\" is not a name";
  EXPECT_EQ(errorOf("{\"frame\":1}\n"), at(1, "no \"producer\""));
  EXPECT_EQ(errorOf("{\"frame\":1,\"producer\":\"\"}\n"), at(1, notAName));
  EXPECT_EQ(errorOf("{\"frame\":1,\"producer\":7}\n"), at(1, notAName));
}

TEST_F(DetectionStreamTest, RefusesDetectionsThatAreNoArray) {
  EXPECT_EQ(errorOf(line(0, "p", "{}")), at(1, "\"detections\" is not an array"));
  EXPECT_EQ(errorOf(line(0, "p", "null")), at(1, "\"detections\" is not an array"));
}

TEST_F(DetectionStreamTest, RefusesLinesThatRunBackwards) {
  EXPECT_EQ(errorOf(line(3, "p") + "\n" + line(2, "p")),
            at(3, "frame 2 comes after frame 3; lines must be in frame order"));
}

TEST_F(DetectionStreamTest, RefusesAFileThatCannotBeRead) {
  EXPECT_THROW(DetectionStream(folder_.path("none.jsonl")), UserError);
  EXPECT_THROW(DetectionStream(folder_.path("")), UserError);
}

}  // namespace
}  // namespace segmask
