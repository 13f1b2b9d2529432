#include <gtest/gtest.h>
#include <zlib.h>

#include <utility>

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
  static constexpr render_base::FrameSize kFrame{4, 2};

  DetectionStream open(const std::string& text) {
    return DetectionStream(folder_.write("d.jsonl", text), kFrame);
  }

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

TEST_F(DetectionStreamTest, ReadsLinesThatEndAsOnOtherSystemsOrNotAtAllAndLackDetections) {
  DetectionStream stream = open("{\"frame\":0,\"producer\":\"p\"}\r\n{\"frame\":0,\"producer\":\"q\"}");
  const std::vector<DetectionLine> lines = stream.take(0);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].detections, 0U) << "a producer that found nothing";
  EXPECT_EQ(lines[1].producer, "q");
}

TEST_F(DetectionStreamTest, PassesOverBlankLinesAndAByteOrderMarkAndCountsThem) {
  DetectionStream stream = open("\xEF\xBB\xBF" + line(0, "p") + "\n \t\r\n" + line(1, "p"));
  EXPECT_EQ(stream.take(0).size(), 1U);
  ASSERT_TRUE(stream.rest());
  EXPECT_EQ(stream.rest()->lineNumber, 4U);
}

TEST_F(DetectionStreamTest, TellsWhetherTheFileHeldNoLine) {
  DetectionStream blank = open("\n \r\n");
  EXPECT_FALSE(blank.heldNoLine()) << "not read yet";
  EXPECT_TRUE(blank.take(0).empty());
  EXPECT_TRUE(blank.heldNoLine());
  DetectionStream one = open(line(0, "p"));
  EXPECT_EQ(one.take(0).size(), 1U);
  EXPECT_FALSE(one.rest());
  EXPECT_FALSE(one.heldNoLine());
}

TEST_F(DetectionStreamTest, DropsLinesOfFramesThatWereNotAskedForAndTellsTheFirstThatIsLeft) {
  DetectionStream stream = open(line(0, "p") + line(1, "p") + line(2, "q") + line(5, "p") + line(6, "p"));
  const std::vector<DetectionLine> lines = stream.take(2);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].producer, "q");
  stream.take(3);
  ASSERT_TRUE(stream.rest());
  EXPECT_EQ(stream.rest()->frame, 5U);
  EXPECT_EQ(stream.rest()->lineNumber, 4U);
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

TEST_F(DetectionStreamTest, RefusesALineAndSaysWhy) {
  const char* notANumber = "\"frame\" is not a whole number from 0 on";
  const char* notAName = "\"producer\" is not a name";
  const std::pair<std::string, const char*> cases[] = {
      {"[1]", "not a JSON object"},
      {"17", "not a JSON object"},
      {R"({"producer":"p"})", "no \"frame\""},
      {R"({"frame":"1","producer":"p"})", notANumber},
      {R"({"frame":1.5,"producer":"p"})", notANumber},
      {R"({"frame":-1,"producer":"p"})", notANumber},
      {R"({"frame":null,"producer":"p"})", notANumber},
      {R"({"frame":1})", "no \"producer\""},
      {R"({"frame":1,"producer":""})", notAName},
      {R"({"frame":1,"producer":7})", notAName},
      {line(3, "p", "{}"), "\"detections\" is not an array"},
      {line(3, "p", "null"), "\"detections\" is not an array"},
      {line(2, "p"), "frame 2 comes after frame 3; lines must be in frame order"},
      {R"({"frame": 1,)", "not JSON: Unterminated JSON object (index 12) near \"{\"frame\": 1,\""},
      {"{} x",
       "not JSON: Unexpected characters at the end of JSON. (a line has to be one JSON object and nothing "
       "else)"}};
  for (const auto& [text, what] : cases) {
    EXPECT_EQ(errorOf(line(3, "p") + "\n" + text + "\n"), at(3, what)) << text;
  }
}

TEST_F(DetectionStreamTest, NamesWhatOtherProgramsWriteInThePlaceOfJson) {
  const std::string little("{\0\"\0", 4);
  const std::string big("\0{\0\"", 4);
  const std::string noObject = " (a line has to be one JSON object and nothing else)";
  const std::string notANumber = " (JSON has no NaN and no Infinity)";
  const std::pair<std::string, std::string> cases[] = {
      {little, " (the text is UTF-16LE and has to be UTF-8)"},
      {"\xFF\xFE" + little, " (the text is UTF-16LE and has to be UTF-8)"},
      {big, " (the text is UTF-16BE and has to be UTF-8)"},
      {"\xFE\xFF" + big, " (the text is UTF-16BE and has to be UTF-8)"},
      {std::string("\0\1", 2), noObject},
      {"frame,x,y", noObject},
      {R"({"x": NaN})", notANumber},
      {R"({"x": -Infinity})", notANumber},
      {R"({"NaN": x})", ""},
      {"{'x': 1}", " (JSON has double quotes)"},
      {R"({"x": '})", " (JSON has double quotes)"}};
  for (const auto& [text, hint] : cases) {
    const std::string error = errorOf(text);
    EXPECT_EQ(error.find(at(1, "not JSON: ")), 0U) << error;
    const std::size_t quoted = error.rfind('"') + 1;  // the parser's excerpt ends so
    EXPECT_EQ(error.substr(quoted), hint) << error;
  }
}

TEST_F(DetectionStreamTest, NamesFilesThatAreEasilyTakenForDetectionLines) {
  const std::string path = folder_.path("d.jsonl");
  const std::string coco = "is a COCO file; segmask import coco makes lines of it: segmask import coco " +
                           path + " -o lines.jsonl";
  const std::string array = "is a JSON array; each element has to be a line of its own: jq -c '.[]' ";
  const std::string pretty = "is JSON over several lines; each object has to be one line: jq -c . ";
  const std::string toLines = path + " > lines.jsonl";
  const std::pair<std::string, std::string> cases[] = {
      {"[" + line(0, "p") + "]", array + toLines},
      {"{\n  \"frame\": 0\n}\n", pretty + toLines},
      {"{\"frame\": 0,\n\"producer\": \"p\"}\n", pretty + toLines},
      {R"({"info": {"description": ")" + std::string(70'000, 'x') + "\"}, \"images\": []}", coco},
      {R"({"images": [], "annotations": []})", coco},
      {R"([{"image_id": 7, "score": 0.5}])", coco}};
  for (const auto& [text, what] : cases) EXPECT_EQ(errorOf(text), path + ": " + what);
  EXPECT_EQ(errorOf(line(0, "p") + R"({"images": []})"), at(2, "no \"frame\"")) << "not at the beginning";
}

TEST_F(DetectionStreamTest, TakesNoLineForAnotherFileThatIsOne) {
  const std::string filler(70'000, 'x');
  for (const std::string& members :
       {std::string(R"("info": "cam1")"), std::string(R"("categories": ["a"], "images": 2)"),
        R"("detections": [{"image_id": 7, "note": ")" + filler + "\"}]"}) {
    EXPECT_EQ(errorOf("{" + members + R"(, "frame": 0, "producer": "p"})"), "") << members.substr(0, 40);
  }
}

TEST_F(DetectionStreamTest, NamesThemThroughGzipToo) {
  const std::string path = folder_.path("d.gz");
  const gzFile packed = gzopen(path.c_str(), "wb");
  ASSERT_EQ(gzputs(packed, "[{}]"), 4);
  ASSERT_EQ(gzclose(packed), Z_OK);
  DetectionStream stream(path, kFrame);
  try {
    stream.rest();
    FAIL() << "read as lines";
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(), path + ": is a JSON array; each element has to be a line of its own: gzip -dc " +
                                path + " | jq -c '.[]' > lines.jsonl");
  }
}

TEST_F(DetectionStreamTest, RefusesAFileThatCannotBeRead) {
  EXPECT_THROW(DetectionStream(folder_.path("none.jsonl"), kFrame), UserError);
  EXPECT_THROW(DetectionStream(folder_.path(""), kFrame), UserError);
}

}  // namespace
}  // namespace segmask
