// Bad input to `segmask mask`.

#include <filesystem>

#include "tests/BadInput.h"
#include "video/mask_picture.h"

namespace {

class BadMasks : public BadInput {
 protected:
  /// Every command refuses a mask of these bytes.
  void mask(const std::string& bytes) const {
    folder_.write("bad", bytes);
    for (const char* command : {"encode", "decode", "info"}) run({"mask", command, path("bad")});
    run({"mask", "decode", path("bad"), "--output", path("out.png")});
  }

  /// A PNG file of four by two pixels.
  static std::string png() { return segmask::encodeGreyPng({1, 200, 3, 255, 0, 0, 0, 0}, 4, 2); }

  void encode(const std::string& output) const {
    run({"mask", "encode", folder_.write("m.png", png()), "--output", output});
    EXPECT_EQ(readFile(path("m.png")), png());
  }
};

TEST_F(BadMasks, Missing) {
  run({"mask", "info", path("none")});
}

TEST_F(BadMasks, IsAFolder) {
  std::filesystem::create_directory(path("folder"));
  run({"mask", "info", path("folder")});
}

TEST_F(BadMasks, OfNoForm) {
  for (const char* bytes : {"", "[1]", "SEG2|4|2|Dw==", "mask"}) mask(bytes);
}

TEST_F(BadMasks, PngCutOff) {
  mask("\x89PNG\r\n\x1A\n and no more");
}

TEST_F(BadMasks, PngDamaged) {
  const std::string whole = png();
  mask(whole.substr(0, whole.size() - 20));
}

TEST_F(BadMasks, TextThatEnds) {
  mask("SEG1|4");
}

TEST_F(BadMasks, TextWithASideOf0) {
  mask("SEG1|4|0|Dw==");
}

TEST_F(BadMasks, TextOfTooFewBytes) {
  mask("SEG1|400|200|Dw==");
}

TEST_F(BadMasks, JsonCutOff) {
  mask("{\"size\": [2, 4]");
}

TEST_F(BadMasks, JsonOfNoForm) {
  mask("{\"size\": [2, 4]}");
}

TEST_F(BadMasks, CountsTooFew) {
  mask("{\"size\": [2, 4], \"counts\": [7]}");
}

TEST_F(BadMasks, CountsTooMany) {
  mask("{\"size\": [2, 4], \"counts\": [7, 2]}");
}

TEST_F(BadMasks, TooLargeForAPng) {
  const std::string file = folder_.write("bad", R"({"size": [16384, 4097], "counts": [67125248]})");
  run({"mask", "decode", file, "--output", path("out.png")});
}

TEST_F(BadMasks, SizeBeyondTheLargest) {
  mask("{\"size\": [16385, 16384], \"counts\": [1]}");
}

TEST_F(BadMasks, PolygonWithoutSize) {
  mask("{\"polygon\": [[0, 0, 4, 0, 4, 1]]}");
}

TEST_F(BadMasks, SizeMalformed) {
  run({"mask", "info", folder_.write("bad", R"({"polygon": [[0, 0, 4, 0, 4, 1]]})"), "--size", "4"});
}

TEST_F(BadMasks, OutputIsTheInput) {
  encode(path("./m.png"));
}

TEST_F(BadMasks, OutputIsAFolder) {
  std::filesystem::create_directory(path("folder"));
  encode(path("folder"));
}

TEST_F(BadMasks, OutputInAMissingFolder) {
  encode(path("none/m.txt"));
}

TEST_F(BadMasks, NoCommand) {
  run({"mask"});
}

}  // namespace
