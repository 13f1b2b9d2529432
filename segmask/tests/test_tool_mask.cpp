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

}  // namespace
