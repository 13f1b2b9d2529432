// Bad input in detection files.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>

#include "io/FileDescriptor.h"
#include "test_support/frames.h"
#include "tests/BadInput.h"

namespace fs = std::filesystem;

namespace {

std::string utf16(const std::string& text, bool isLittle) {
  std::string wide;
  for (const char letter : text) wide += isLittle ? std::string{letter, '\0'} : std::string{'\0', letter};
  return wide;
}

std::string lineWith(const std::string& detections) {
  return R"({"frame": 1, "producer": "p", "detections": [)" + detections + "]}\n";
}

const std::string kFull =
    R"({"x": 0, "y": 0, "w": 9999, "h": 9999, "score": 1, "class_info": "SEG1|1|1|AQ=="})";

class BadDetections : public BadInput {
 protected:
  /// A line of these detections for the first frame.
  void of(const std::vector<std::string>& objects) const {
    std::string list;
    for (const std::string& object : objects) list += (list.empty() ? "" : ", ") + object;
    detections(R"({"frame": 0, "producer": "p", "detections": [)" + list + "]}\n");
  }

  void detections(const std::string& text) const { option("--detections", folder_.write("bad.jsonl", text)); }

  /// A line with this mask, after a good one.
  void mask(const std::string& mask) const {
    detections(fullMaskLine(0, "p") + lineWith(R"({}, {"mask": )" + mask + "}"));
  }
};

TEST_F(BadDetections, DetectionsMissing) {
  option("--detections", path("none.jsonl"));
}

TEST_F(BadDetections, DetectionsAreAFolder) {
  fs::create_directory(path("folder"));
  option("--detections", path("folder"));
}

TEST_F(BadDetections, DetectionsWithoutPermission) {
  fs::permissions(folder_.write("bad.jsonl", kNothingFoundLine), fs::perms::none);
  run(rendering({{"--detections", path("bad.jsonl")}}), giveUpPrivileges);
}

TEST_F(BadDetections, DetectionsEmpty) {
  detections("");
  folder_.write("out.nv12", "old");
  detections("\n");
}

TEST_F(BadDetections, DetectionsCutOff) {
  detections(kNothingFoundLine + fullMaskLine(1, "p").substr(0, 30));
}

TEST_F(BadDetections, DetectionsPipeClosesWithinALine) {
  pipe("--detections", "bad.jsonl", "{\"frame\": 0");
}

TEST_F(BadDetections, DetectionsPipeClosesAtOnce) {
  pipe("--detections", "bad.jsonl", "");
}

TEST_F(BadDetections, GzipCutOff) {
  const std::string lines = lineWith(std::string(10'000, ' '));
  gzFile packed = gzopen(path("whole.gz").c_str(), "wb");
  ASSERT_EQ(gzwrite(packed, lines.data(), static_cast<unsigned>(lines.size())),
            static_cast<int>(lines.size()));
  gzclose(packed);
  const std::string whole = readFile(path("whole.gz"));
  detections(whole.substr(0, whole.size() - 10));
}

TEST_F(BadDetections, GzipDamaged) {
  detections("\x1F\x8B\x08 and nothing that gzip wrote");
}

TEST_F(BadDetections, JsonArray) {
  detections("[\n" + kNothingFoundLine + "]\n");
}

TEST_F(BadDetections, JsonOverSeveralLines) {
  detections("{\n  \"frame\": 0,\n  \"producer\": \"p\"\n}\n");
}

TEST_F(BadDetections, Coco) {
  detections(R"({"info": {}, "images": [], "annotations": []})");
}

TEST_F(BadDetections, CocoResults) {
  detections(R"([{"image_id": 1, "category_id": 2, "bbox": [1, 2, 3, 4]}])");
}

TEST_F(BadDetections, Utf16LittleWithMark) {
  detections("\xFF\xFE" + utf16(kNothingFoundLine, true));
}

TEST_F(BadDetections, Utf16BigWithMark) {
  detections("\xFE\xFF" + utf16(kNothingFoundLine, false));
}

TEST_F(BadDetections, Utf16LittleWithoutMark) {
  detections(utf16(kNothingFoundLine, true));
}

TEST_F(BadDetections, Utf16BigWithoutMark) {
  detections(utf16(kNothingFoundLine, false));
}

TEST_F(BadDetections, Utf32WithAndWithoutMark) {
  std::string wide;
  for (const char letter : kNothingFoundLine) wide += std::string{letter, '\0', '\0', '\0'};
  detections(std::string("\xFF\xFE\0\0", 4) + wide);
  detections(wide);
}

TEST_F(BadDetections, Utf16Array) {
  detections(utf16("[" + kNothingFoundLine + "]", true));
}

TEST_F(BadDetections, TextThatIsNoJson) {
  detections("frame,x,y,w,h\n0,1,2,3,4\n");
}

TEST_F(BadDetections, Zip) {
  detections("PK\x03\x04\x14");
}

TEST_F(BadDetections, ALineOf300MiB) {
  const std::string file = folder_.write("bad.jsonl", kNothingFoundLine);
  fs::resize_file(file, std::uintmax_t{300} << 20);  // zeros, which take no room on the disk
  run(rendering({{"--detections", file}}));
#ifndef SEG_MASK_FOREIGN_MEMORY
  // The longest line that is read has 256 MiB; when it grows it is there twice.
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  EXPECT_LT(usage.ru_maxrss, 600 << 10) << "KiB";
#endif
}

TEST_F(BadDetections, NestedWithoutEnd) {
  detections("{\"frame\": " + std::string(200'000, '[') + "\n");
}

TEST_F(BadDetections, NestedTooDeepForANumber) {
  detections("{\"frame\": " + std::string(200'000, '[') + std::string(200'000, ']') +
             ", \"producer\": \"p\"}\n");
}

TEST_F(BadDetections, NotANumber) {
  detections(lineWith("{\"score\": NaN}"));
}

TEST_F(BadDetections, Infinity) {
  detections(lineWith("{\"score\": -Infinity}"));
}

TEST_F(BadDetections, SingleQuotes) {
  detections("{'frame': 0, 'producer': 'p'}\n");
}

TEST_F(BadDetections, TwoObjectsOnALine) {
  detections(R"({"frame": 0, "producer": "p"} {"frame": 1, "producer": "p"})");
}

TEST_F(BadDetections, ControlBytes) {
  detections("{\"a\": \x1b[2J\r}\n");
}

TEST_F(BadDetections, LineThatIsNoObject) {
  detections(kNothingFoundLine + "\n[1]\n");
}

TEST_F(BadDetections, NoFrame) {
  detections(R"({"producer": "p"})");
}

TEST_F(BadDetections, FrameThatIsNoNumber) {
  for (const char* frame : {"\"0\"", "1.5", "0.0", "-1", "null", "true"}) {
    detections(R"({"producer": "p", "frame": )" + std::string(frame) + "}");
  }
}

TEST_F(BadDetections, FrameBeyond64Bits) {
  detections(R"({"frame": 99999999999999999999, "producer": "p"})");
}

TEST_F(BadDetections, NoProducer) {
  detections(R"({"frame": 0})");
}

TEST_F(BadDetections, ProducerThatIsNoName) {
  for (const char* producer : {"\"\"", "7", "null"}) {
    detections(R"({"frame": 0, "producer": )" + std::string(producer) + "}");
  }
}

TEST_F(BadDetections, DetectionsThatAreNoArray) {
  detections(R"({"frame": 0, "producer": "p", "detections": {}})");
}

// Late, when frames have been drawn and written.
TEST_F(BadDetections, FramesOutOfOrder) {
  detections(fullMaskLine(0, "p") + fullMaskLine(4, "p") + fullMaskLine(2, "p"));
}

TEST_F(BadDetections, FramesPastTheEnd) {
  detections(fullMaskLine(5, "p") + fullMaskLine(6, "p"));
}

TEST_F(BadDetections, FramesPastTheEndWhenStrict) {
  Arguments arguments = rendering({{"--detections", folder_.write("bad.jsonl", fullMaskLine(6, "p"))}});
  arguments.emplace_back("--strict");
  run(arguments);
}

TEST_F(BadDetections, FramesCountedFrom1) {
  detections(fullMaskLine(1, "p"));
}

// ---- What is read, and was hardly meant so

TEST_F(BadDetections, BoxesInFractions) {
  of({R"({"x": 0, "y": 0, "w": 1, "h": 1, "score": 1, "class_info": "SEG1|1|1|AQ=="})",
      R"({"x": 0.1, "y": 0, "w": 0.5, "h": 1, "score": 1, "class_info": "SEG1|1|1|AQ=="})"});
}

TEST_F(BadDetections, BoxesOutside) {
  const std::string outside =
      R"({"x": 900, "y": 0, "w": 9, "h": 9, "score": 1, "class_info": "SEG1|1|1|AQ=="})";
  of({kFull, outside, outside});
}

TEST_F(BadDetections, NumberThatIsAText) {
  of({kFull,
      R"({"class_id": "person", "x": 0, "y": 0, "w": 9, "h": 9, "score": 1, "class_info": "SEG1|1|1|AQ=="})"});
}

TEST_F(BadDetections, MemberMisspelt) {
  of({kFull, R"({"scor": 1, "x": 0, "y": 0, "w": 9, "h": 9, "class_info": "SEG1|1|1|AQ=="})"});
}

TEST_F(BadDetections, MaskByAnotherName) {
  of({kFull, R"({"x": 0, "y": 0, "w": 9, "h": 9, "score": 1, "segmentation": [[1, 2, 3, 4, 5, 6]]})"});
}

TEST_F(BadDetections, MaskTextThatLooksLikeRunLengths) {
  of({kFull, R"({"x": 0, "y": 0, "w": 9, "h": 9, "score": 1, "class_info": "oW14e01O0kN"})"});
}

TEST_F(BadDetections, MaskCroppedToItsBox) {
  of({R"({"x": 1, "y": 0, "w": 8, "h": 8, "score": 1, "class_info": "SEG1|8|8|//////////8="})"});
}

TEST_F(BadDetections, ListByAnotherName) {
  detections(R"({"frame": 0, "producer": "p", "dets": [)" + kFull + "]}\n" + fullMaskLine(1, "p"));
}

TEST_F(BadDetections, NothingVisible) {
  of({R"({"x": 0, "y": 0, "w": 0, "h": 8, "score": 1, "class_info": "SEG1|1|1|AQ=="})"});
}

// ---- Compact masks

TEST_F(BadDetections, MaskBesideText) {
  detections(lineWith(R"({"class_info": "SEG1|1|1|AQ==", "mask": {"size": [1, 1], "counts": [1]}})"));
}

TEST_F(BadDetections, MaskThatIsNoObject) {
  mask("\"SEG1|1|1|AQ==\"");
}

TEST_F(BadDetections, MaskOfNoForm) {
  mask("{\"size\": [2, 2], \"rle\": [4]}");
}

TEST_F(BadDetections, CountsWithoutSize) {
  mask("{\"counts\": [4]}");
}

TEST_F(BadDetections, SizeThatIsNone) {
  for (const char* size :
       {"4", "[4]", "[2, 2, 1]", "[2.5, 2]", "[2.0, 2]", "[0, 4]", "[-2, -2]", "[2147483648, 1]"}) {
    mask("{\"counts\": [4], \"size\": " + std::string(size) + "}");
  }
}

TEST_F(BadDetections, SizeBeyondTheLargest) {
  mask(R"({"size": [2147483647, 2147483647], "counts": [1]})");
  mask(R"({"size": [16385, 16384], "counts": [1]})");
}

TEST_F(BadDetections, CountsThatAreNone) {
  for (const char* counts : {"4", "{}", "[4.5]", "[4.0]", "[\"4\"]", "[null]"}) {
    mask("{\"size\": [2, 2], \"counts\": " + std::string(counts) + "}");
  }
}

TEST_F(BadDetections, CountsTooMany) {
  mask(R"({"size": [2, 2], "counts": [1, 4]})");
  mask(R"({"size": [2, 2], "counts": "14"})");
}

TEST_F(BadDetections, CountsTooFew) {
  mask(R"({"size": [2, 2], "counts": [1, 2]})");
  mask(R"({"size": [2, 2], "counts": []})");
  mask(R"({"size": [2, 2], "counts": ""})");
}

TEST_F(BadDetections, CountsThatWrap) {
  mask(R"({"size": [2, 2], "counts": [9223372036854775807, 9223372036854775807, 6]})");
}

TEST_F(BadDetections, CountsBelow0) {
  mask(R"({"size": [2, 2], "counts": [-1, 5]})");
}

TEST_F(BadDetections, CompressedCountsBelow0) {
  mask(R"({"size": [2, 2], "counts": "O5"})");
}

TEST_F(BadDetections, CompressedCountsWithForeignCharacters) {
  for (const char* counts : {"1 3", "1!", "1\xC3\xA9", "13~"}) {
    mask(R"({"size": [2, 2], "counts": ")" + std::string(counts) + "\"}");
  }
}

TEST_F(BadDetections, CompressedCountsCutOff) {
  mask(R"({"size": [2, 2], "counts": "1P"})");
}

TEST_F(BadDetections, CompressedCountsBeyond60Bits) {
  mask(R"({"size": [2, 2], "counts": "oooooooooooooooo0"})");
}

TEST_F(BadDetections, PlaceThatIsNone) {
  for (const char* at : {"[0, 0, 0, 4]", "[0, 0, 4, 0]", "[0, 0, -4, 4]", "[0, 0, 4]", "[0.5, 0, 4, 4]",
                         "[0.0, 0, 4, 4]", "\"0\""}) {
    mask(R"({"size": [2, 2], "counts": [4], "at": )" + std::string(at) + "}");
  }
}

TEST_F(BadDetections, PolygonThatIsNone) {
  for (const char* polygon : {"[]", "[[]]", "[0, 0, 1, 0, 1, 1]", "[[0, 0, 1, 1]]", "[[0, 0, 1, 0, 1, 1, 2]]",
                              "[[[0, 0], [1, 0], [1, 1]]]", "[[0, 0, 1, 0, 1, null]]", "\"0 0 1 1\""}) {
    mask("{\"polygon\": " + std::string(polygon) + "}");
  }
}

TEST_F(BadDetections, PolygonFarAway) {
  mask(R"({"polygon": [[0, 0, 268435457, 0, 1, -1e300]]})");
}

TEST_F(BadDetections, NumberBeyondAllDoubles) {
  mask(R"({"polygon": [[0, 0, 1, -1e999, 1, 1]]})");
}

TEST_F(BadDetections, PolygonBesideAnotherForm) {
  for (const char* more : {"\"at\": [0, 0, 1, 1]", "\"size\": [2, 2]", "\"counts\": [4]"}) {
    mask(R"({"polygon": [[0, 0, 1, 0, 1, 1]], )" + std::string(more) + "}");
  }
}

TEST_F(BadDetections, MasksTooLargeTogether) {
  const std::string largest = R"({"mask": {"size": [16384, 16384], "counts": [268435456]}})";
  std::string sixteen = largest;
  for (int i = 1; i < 16; ++i) sixteen += "," + largest;
  detections(lineWith(largest) + lineWith(sixteen));
}

TEST_F(BadDetections, PolygonsInFramesBeyondTheLargest) {
  const std::string line = lineWith(R"({"mask": {"polygon": [[0, 0, 1, 0, 1, 1]]}})");
  run({"explain", "--size", "65535x65535", "--detections", folder_.write("bad.jsonl", line)});
}

}  // namespace
