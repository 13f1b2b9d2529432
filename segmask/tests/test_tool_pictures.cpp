// Pictures drawn as pictures: a folder of them, or one.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "test_support/TempFolder.h"
#include "test_support/media.h"
#include "tests/run_tool.h"

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

class ToolPictures : public ::testing::Test {
 protected:
  ToolPictures() {
    fs::create_directory(path("in"));
    make("in/b.png", "png", AV_PIX_FMT_RGB24, 40, 30);
    make("in/a.jpg", "mjpeg", AV_PIX_FMT_YUVJ420P, 64, 48);
    make("in/c.JPEG", "mjpeg", AV_PIX_FMT_YUVJ444P, 33, 71);
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  void make(const std::string& name, const std::string& encoder, AVPixelFormat format, int width,
            int height) const {
    MediaVideo picture;
    picture.encoder = encoder;
    picture.width = width;
    picture.height = height;
    picture.pixelFormat = format;
    picture.fill = [](int, AVFrame& frame) {
      for (int y = 0; y < frame.height; ++y)
        for (int x = 0; x < frame.width; ++x)
          frame.data[0][y * frame.linesize[0] + x] = static_cast<uint8_t>(3 * x + 2 * y);
    };
    writePicture(path(name), std::move(picture));
  }

  /// A line with one detection, a rectangle that reaches over the edge of each picture.
  static std::string line(const std::string& place, int x = 5) {
    return "{" + place +
           R"(, "producer": "p", "detections": [{"x": 0, "y": 0, "w": 99, "h": 99, "class_id": 4,)" +
           R"( "score": 1, "mask": {"polygon": [[)" + std::to_string(x) + ", 10, 99, 10, 99, 99, " +
           std::to_string(x) + ", 99]]}}]}\n";
  }

  ToolResult render(const std::string& input, const std::string& output, const std::string& detections,
                    const std::vector<std::string>& more = {}) const {
    std::vector<std::string> all{"render",
                                 "--input",
                                 path(input),
                                 "--output",
                                 path(output),
                                 "--detections",
                                 folder_.write("d.jsonl", detections)};
    all.insert(all.end(), more.begin(), more.end());
    return runTool(all);
  }

  /// What is said of the third picture.
  std::string chromaNote() const {
    return "segmask: note: " + path("in/c.JPEG") +
           ": its chroma is reduced to one sample for 2x2 pixels (yuvj444p)\n";
  }

  Names namesIn(const std::string& folder) const {
    Names names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path(folder)))
      names.push_back(entry.path().lexically_relative(path(folder)).string());
    std::sort(names.begin(), names.end());
    return names;
  }

  /// The PNG file that a picture becomes as a video of one frame.
  std::string asVideo(const std::string& input, const std::string& detections) const {
    EXPECT_EQ(render(input, "video_%d.png", detections).exitCode, 0);
    return readFile(path("video_0.png"));
  }

  TempFolder folder_;
};

TEST_F(ToolPictures, OfAFolderAreDrawnEachInItsSizeAndNamedAsTheyAre) {
  // In the order of their names: a.jpg, b.png, c.JPEG; the file has another.
  const ToolResult result =
      render("in", "out",
             line(R"("image": "c.JPEG")", 7) + line(R"("frame": 0)") + line(R"("image": "in/b.png")", 9));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, chromaNote());
  EXPECT_NE(result.out.find("frames        3\nframes drawn  3\ndetections    3\n"), std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("drawn         3 detections\ndropped       0 detections\n"), std::string::npos);
  EXPECT_EQ(namesIn("out"), (Names{"a.png", "b.png", "c.png"}));
  EXPECT_EQ(readFile(path("out/a.png")), asVideo("in/a.jpg", line(R"("frame": 0)")));
  EXPECT_EQ(readFile(path("out/b.png")), asVideo("in/b.png", line(R"("frame": 0)", 9)));
  EXPECT_EQ(readFile(path("out/c.png")), asVideo("in/c.JPEG", line(R"("frame": 0)", 7)));
  EXPECT_NE(readFile(path("out/c.png")), asVideo("in/c.JPEG", line(R"("frame": 0)")));
}

TEST_F(ToolPictures, EitherPluginDrawsTheSame) {
  const std::string lines = line(R"("frame": 0)") + line(R"("frame": 1)") + line(R"("frame": 2)");
  EXPECT_EQ(render("in", "out", lines).exitCode, 0);
  EXPECT_EQ(render("in", "fast", lines, {"--fast"}).exitCode, 0);
  for (const char* name : {"a.png", "b.png", "c.png"})
    EXPECT_EQ(readFile(path(std::string("fast/") + name)), readFile(path(std::string("out/") + name)));
}

TEST_F(ToolPictures, OneBecomesOneOrGoesIntoAFolder) {
  const std::string detections = line(R"("image": "b.png")");
  const std::string expected = asVideo("in/b.png", line(R"("frame": 0)"));
  EXPECT_EQ(render("in/b.png", "one.png", detections).exitCode, 0);
  EXPECT_EQ(readFile(path("one.png")), expected);
  EXPECT_EQ(render("in/b.png", "made", detections).exitCode, 0);
  EXPECT_EQ(readFile(path("made/b.png")), expected);
  EXPECT_EQ(render("in/b.png", "with.dot/", detections).exitCode, 0);
  EXPECT_EQ(readFile(path("with.dot/b.png")), expected);
}

TEST_F(ToolPictures, OfAPartKeepTheirNumbersAndNames) {
  EXPECT_EQ(render("in", "out", line(R"("frame": 1)"), {"--start", "1", "--frames", "1"}).exitCode, 0);
  EXPECT_EQ(namesIn("out"), Names{"b.png"});
  EXPECT_EQ(readFile(path("out/b.png")), asVideo("in/b.png", line(R"("frame": 0)")));
}

TEST_F(ToolPictures, ReplaceWhatIsThereUnlessTheyMayNot) {
  fs::create_directory(path("out"));
  folder_.write("out/b.png", "old");
  folder_.write("out/other.png", "stays");
  EXPECT_EQ(render("in", "out", line(R"("frame": 0)"), {"-n"}).exitCode, 2);
  EXPECT_EQ(readFile(path("out/b.png")), "old");
  EXPECT_EQ(render("in", "out", line(R"("frame": 0)")).exitCode, 0);
  EXPECT_NE(readFile(path("out/b.png")), "old");
  EXPECT_EQ(readFile(path("out/other.png")), "stays");
  EXPECT_EQ(render("in", "new", line(R"("frame": 0)"), {"-n"}).exitCode, 0);
}

TEST_F(ToolPictures, ThatLoseTheirAlphaAreNamed) {
  make("in/d.png", "png", AV_PIX_FMT_RGBA, 32, 32);
  EXPECT_EQ(render("in/d.png", "d.png", line(R"("frame": 0)")).err,
            "segmask: note: " + path("in/d.png") + ": its alpha is dropped (rgba)\n");
}

TEST_F(ToolPictures, LinesPastTheLastPictureAreWarnedOf) {
  const ToolResult result = render("in", "out", line(R"("frame": 0)") + line(R"("frame": 3)"), {"--strict"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err, chromaNote() + "segmask: warning: " + path("d.jsonl") +
                            ":2: frame 3 is past the last picture; there are 3\n");
}

TEST_F(ToolPictures, ALinkInTheFolderIsReplacedAndNotFollowed) {
  fs::create_directory(path("out"));
  fs::create_symlink("../in/b.png", path("out/a.png"));
  const std::string before = readFile(path("in/b.png"));
  EXPECT_EQ(render("in", "out", line(R"("frame": 0)")).exitCode, 0);
  EXPECT_EQ(namesIn("out"), (Names{"a.png", "b.png", "c.png"}));
  EXPECT_FALSE(fs::is_symlink(path("out/a.png")));
  EXPECT_EQ(namesIn("in"), (Names{"a.jpg", "b.png", "c.JPEG"}));
  EXPECT_TRUE(readFile(path("in/b.png")) == before);
}

TEST_F(ToolPictures, AreExplainedEachInItsSize) {
  const auto explain = [&](const std::vector<std::string>& more) {
    std::vector<std::string> all{"explain", "--detections", path("d.jsonl"), "--images", path("in")};
    all.insert(all.end(), more.begin(), more.end());
    return runTool(all);
  };
  folder_.write("d.jsonl",
                line(R"("image": "in/b.png")") + line(R"("frame": 0)", 63) + line(R"("frame": 2)", 40));
  const auto drawn = [&](const std::string& place, int pixels) {
    return path("d.jsonl") + ":" + place +
           ", p, detections[0]: drawn, class 4 in red 207, green 210, blue 49, " + std::to_string(pixels) +
           (pixels == 1 ? " pixel\n" : " pixels\n");
  };
  EXPECT_EQ(explain({}).out,
            drawn("2: a.jpg", 38) + drawn("1: b.png", 35 * 20) + path("d.jsonl") +
                ":3: c.JPEG, p, detections[0]: not drawn: its mask has no pixel inside its box (x 0, y "
                "0, w 99, h 99); the mask spans the whole frame, the box only limits it\n");
  EXPECT_EQ(explain({"--frame", "1"}).out, drawn("1: b.png", 35 * 20));
  const std::string object = explain({"--frame", "1", "--json"}).out;
  EXPECT_NE(object.find(R"("frame": 1,"image": "b.png",)"), std::string::npos) << object;
  EXPECT_EQ(runTool({"explain", "--detections", path("d.jsonl")}).err,
            "segmask: --size or --images is required, because the frames' size decides what is drawn\n");
}

}  // namespace
