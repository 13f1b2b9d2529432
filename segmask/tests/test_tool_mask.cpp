#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "tests/run_tool.h"
#include "video/mask_picture.h"

namespace {

/// The first of two rows of four pixels is inside.
const char kText[] = "SEG1|4|2|Dw==\n";
const char kCompact[] = R"({"size": [2, 4], "counts": "011000000"})";

class ToolMask : public ::testing::Test {
 protected:
  ToolMask() {
    folder_.write("m.png", segmask::encodeGreyPng({1, 200, 3, 255, 0, 0, 0, 0}, 4, 2));
    folder_.write("m.txt", kText);
    folder_.write("m.json", kCompact);
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  static ToolResult mask(const std::vector<std::string>& arguments,
                         const std::function<void()>& prepare = {}) {
    std::vector<std::string> all{"mask"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runTool(all, prepare);
  }

  static std::string infoOf(const std::string& form) {
    return "form          " + form +
           "\nsize          4x2\ninside        4 of 8 pixels\nbox           x 0, y 0, w 4, h 1\n";
  }

  void expectRefused(const std::vector<std::string>& arguments, const std::string& what) const {
    const std::vector<std::string> before = folder_.names();
    const ToolResult result = mask(arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find("segmask: " + what), 0U) << result.err << "\nlacks: " << what;
    EXPECT_EQ(lineCount(result.err), 1U);
    EXPECT_EQ(folder_.names(), before);
  }

  TempFolder folder_;
};

TEST_F(ToolMask, EncodeGivesTheMaskTextOfAMaskInAnyForm) {
  const ToolResult result = mask({"encode", path("m.png")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, kText);
  EXPECT_EQ(mask({"encode", path("m.json")}).out, kText);
  EXPECT_EQ(mask({"encode", path("m.txt")}).out, kText);
  EXPECT_EQ(mask({"encode", path("m.png"), "-o", path("out.txt")}).out, "");
  EXPECT_EQ(readFile(path("out.txt")), kText);
}

TEST_F(ToolMask, DecodeGivesAPngFileOfAMaskInAnyForm) {
  for (const char* name : {"m.txt", "m.json", "m.png"}) {
    const ToolResult result = mask({"decode", path(name)});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const segmask::MaskPicture picture = segmask::decodeMaskPicture(result.out);
    EXPECT_EQ(picture.width, 4) << name;
    EXPECT_EQ(picture.height, 2) << name;
    EXPECT_EQ(picture.values, (std::vector<uint8_t>{255, 255, 255, 255, 0, 0, 0, 0})) << name;
  }
}

TEST_F(ToolMask, InfoSaysFormSizePixelsAndBox) {
  EXPECT_EQ(mask({"info", path("m.txt")}).out, infoOf("mask text SEG1"));
  EXPECT_EQ(mask({"info", path("m.png")}).out, infoOf("PNG"));
  EXPECT_EQ(mask({"info", path("m.json")}).out, infoOf("compressed run lengths"));
  folder_.write("m.json", R"({"size": [2, 4], "counts": [0, 1, 1, 1, 1, 1, 1, 1, 1]})");
  EXPECT_EQ(mask({"info", path("m.json")}).out, infoOf("run lengths"));
  folder_.write("m.json", R"({"polygon": [[0, 0, 4, 0, 4, 1, 0, 1]]})");
  EXPECT_EQ(mask({"info", path("m.json"), "--size", "4x2"}).out, infoOf("polygons"));
  folder_.write("m.txt", "SEG1|2|1|AA==");
  EXPECT_EQ(
      mask({"info", path("m.txt")}).out,
      "form          mask text SEG1\nsize          2x1\ninside        0 of 2 pixels\nbox           none\n");
}

TEST_F(ToolMask, ReadsStandardInput) {
  const segmask::FileDescriptor input(open(path("m.png").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(mask({"encode", "-", "-o", "-"}, [&] { dup2(input.get(), STDIN_FILENO); }).out, kText);
}

TEST_F(ToolMask, RefusesWhatIsNoMask) {
  const auto refused = [this](const std::string& text, const std::string& what) {
    folder_.write("bad", text);
    expectRefused({"decode", path("bad"), "-o", path("out.png")}, path("bad") + ": " + what);
    expectRefused({"info", path("bad")}, path("bad") + ": " + what);
  };
  refused("", "is no mask: neither a PNG file, a text \"SEG1|...\" nor a JSON object");
  refused("[1]", "is no mask: ");
  refused("SEG1|4", "the mask text ends before its height");
  refused("SEG1|4|0|Dw==", "the mask text's height is not 1 or more");
  refused("SEG1|400|200|Dw==", "the mask text's data has 1 bytes, 10,000 are needed for 400x200");
  refused("{\"size\": [2, 4]}", "\"mask\" has neither \"counts\" nor \"polygon\"");
  refused("{\"size\": [2, 4], \"counts\": [7]}", "\"counts\" is for fewer pixels");
  refused("{\"size\": [2, 4]", "not JSON: ");
  refused("{\"polygon\": [[0, 0, 4, 0, 4, 1]]}",
          "polygons, and masks of a part of the frame, need the frame's");
  refused("\x89PNG\r\n\x1A\n and no more", "the PNG file is cut off");
  expectRefused({"info", path("none")}, path("none") + ": No such file");
  expectRefused({"info", path("")}, path("") + ": Is a directory");
}

TEST_F(ToolMask, RefusesOutputsThatCannotBe) {
  expectRefused({"encode", path("m.png"), "-o", path("m.png")}, path("m.png") + ": --output would replace");
  expectRefused({"encode", path("m.png"), "-o", path("")}, path("") + ": is a folder");
  expectRefused({"encode", path("m.png"), "-o", path("none/x")}, path("none/x") + ": cannot write into");
  expectRefused({"decode", path("m.json"), "--size", "4"}, path("m.json") + ": ");
  expectRefused({}, "");
}

}  // namespace
