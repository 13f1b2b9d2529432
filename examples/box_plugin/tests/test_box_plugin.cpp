#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/SwJsonValue.h"
#include "core/swcfg.h"
#include "render_base/settings.h"
#include "tests/box_host.h"

namespace {

const Picture kUntouched6x4 = {{"......", "......", "......", "......"}, {"...", "..."}};

TEST_F(BoxPluginTest, OutlinesLieInsideTheirBoxes) {
  EXPECT_EQ(drawn(10, 8, R"({"x": 2, "y": 0, "w": 8, "h": 8, "class_id": 5})"),
            (Picture{{"..ffffffff",  //
                      "..f......f",  //
                      "..f......f",  //
                      "..f......f",  //
                      "..f......f",  //
                      "..f......f",  //
                      "..f......f",  //
                      "..ffffffff"},
                     {".ffff",  //
                      ".f..f",  //
                      ".f..f",  //
                      ".ffff"}}));
}

// The chroma samples at odd corners reach one luma pixel beyond the outline.
TEST_F(BoxPluginTest, EveryChromaSampleThatAnEdgeTouchesIsColoured) {
  EXPECT_EQ(drawn(8, 8, R"({"x": 1, "y": 1, "w": 6, "h": 6})"),
            (Picture{{"........",  //
                      ".aaaaaa.",  //
                      ".a....a.",  //
                      ".a....a.",  //
                      ".a....a.",  //
                      ".a....a.",  //
                      ".aaaaaa.",  //
                      "........"},
                     {"aaaa",  //
                      "a..a",  //
                      "a..a",  //
                      "aaaa"}}));
}

TEST_F(BoxPluginTest, ThickEdgesGrowInwards) {
  plugin_->setConfig(R"({"thickness": 2})");
  EXPECT_EQ(drawn(8, 6, R"({"x": 0, "y": 0, "w": 7, "h": 6})"),
            (Picture{{"aaaaaaa.",  //
                      "aaaaaaa.",  //
                      "aa...aa.",  //
                      "aa...aa.",  //
                      "aaaaaaa.",  //
                      "aaaaaaa."},
                     {"aaaa",  //
                      "a.aa",  //
                      "aaaa"}}));
}

TEST_F(BoxPluginTest, ThickEdgesColourEveryLineOfChromaThatTheyTouch) {
  plugin_->setConfig(R"({"thickness": 2})");
  EXPECT_EQ(drawn(10, 10, R"({"x": 1, "y": 1, "w": 8, "h": 8})"),
            (Picture{{"..........",  //
                      ".aaaaaaaa.",  //
                      ".aaaaaaaa.",  //
                      ".aa....aa.",  //
                      ".aa....aa.",  //
                      ".aa....aa.",  //
                      ".aa....aa.",  //
                      ".aaaaaaaa.",  //
                      ".aaaaaaaa.",  //
                      ".........."},
                     {"aaaaa",  //
                      "aaaaa",  //
                      "aa.aa",  //
                      "aaaaa",  //
                      "aaaaa"}}));
}

TEST_F(BoxPluginTest, ABoxThinnerThanTwoEdgesIsFilled) {
  plugin_->setConfig(R"({"thickness": 64})");
  EXPECT_EQ(drawn(6, 4, R"({"x": 1, "y": 2, "w": 3, "h": 1}, {"x": 4, "y": 0, "w": 2, "h": 2})"),
            (Picture{{"....aa", "....aa", ".aaa..", "......"}, {"..a", "aa."}}));
}

TEST_F(BoxPluginTest, EdgesOutsideTheFrameAreNotDrawn) {
  EXPECT_EQ(drawn(6, 4, R"({"x": -2, "y": 1, "w": 5, "h": 9})"),
            (Picture{{"......", "aaa...", "..a...", "..a..."}, {"aa.", ".a."}}));
}

TEST_F(BoxPluginTest, OfAnEdgeAcrossTheFramesBorderTheInnerPartIsDrawn) {
  plugin_->setConfig(R"({"thickness": 2})");
  EXPECT_EQ(drawn(6, 4, R"({"x": -1, "y": -5, "w": 20, "h": 20})"),
            (Picture{{"a.....", "a.....", "a.....", "a....."}, {"a..", "a.."}}));
}

TEST_F(BoxPluginTest, OddFramesHaveALastChromaColumnAndRow) {
  EXPECT_EQ(drawn(5, 3, R"({"x": 0, "y": 0, "w": 5, "h": 3})"),
            (Picture{{"aaaaa", "a...a", "aaaaa"}, {"aaa", "aaa"}}));
  EXPECT_EQ(drawn(5, 3, R"({"x": 4, "y": 2, "w": 1, "h": 1})"),
            (Picture{{".....", ".....", "....a"}, {"...", "..a"}}));
  EXPECT_EQ(drawn(1, 1, R"({"x": 0, "y": 0, "w": 1, "h": 1})"), (Picture{{"a"}, {"a"}}));
}

TEST_F(BoxPluginTest, LaterBoxesLieOverEarlierOnes) {
  EXPECT_EQ(
      drawn(6, 4, R"({"x": 0, "y": 0, "w": 4, "h": 4}, {"x": 2, "y": 0, "w": 4, "h": 3, "class_id": 5})"),
      (Picture{{"aaffff", "a.fa.f", "a.ffff", "aaaa.."}, {"aff", "aff"}}));
}

TEST_F(BoxPluginTest, BoxesWithoutAPixelInTheFrameLeaveThePictureAlone) {
  const char* boxes[] = {R"({"x": 6, "y": 0, "w": 3, "h": 3})",
                         R"({"x": -3, "y": 0, "w": 3, "h": 3})",
                         R"({"x": 0, "y": 4, "w": 3, "h": 3})",
                         R"({"x": 1, "y": 1, "w": 0, "h": 2})",
                         R"({"x": 3, "y": 1, "w": -2, "h": 2})",
                         R"({"x": 1, "y": 1, "w": 2, "h": -2147483648})",
                         R"({"x": 2147483647, "y": 0, "w": 2147483647, "h": 2})"};
  for (const char* box : boxes) {
    Frame frame(6, 4, box, stream_);
    plugin_->render(frame.context);
    EXPECT_EQ(frame.picture(), kUntouched6x4) << box;
    EXPECT_EQ(frame.context.picture.writable, nullptr) << box;
  }
}

TEST_F(BoxPluginTest, TheLargestBoxesKeepTheirNearEdges) {
  EXPECT_EQ(drawn(6, 4, R"({"x": 2, "y": 1, "w": 2147483647, "h": 2147483647})"),
            (Picture{{"......", "..aaaa", "..a...", "..a..."}, {".aa", ".a."}}));
}

TEST_F(BoxPluginTest, TheSourceStaysAsItWas) {
  Frame frame(6, 4, R"({"x": 0, "y": 0, "w": 6, "h": 4})", stream_);
  plugin_->render(frame.context);
  ASSERT_NE(frame.context.picture.writable, nullptr);
  frame.context.picture.writable = nullptr;
  EXPECT_EQ(frame.picture(), kUntouched6x4);
}

TEST_F(BoxPluginTest, DrawsNothingWithoutABackend) {
  plugin_->init(RenderInit{});
  EXPECT_EQ(drawn(6, 4, R"({"x": 0, "y": 0, "w": 6, "h": 4})"), kUntouched6x4);
}

TEST_F(BoxPluginTest, SettingsDecideWhatIsDrawn) {
  const std::string points = R"({"x": 0, "y": 0, "w": 1, "h": 1, "score": 0.25},
                                {"x": 2, "y": 0, "w": 1, "h": 1, "score": 0.5},
                                {"x": 4, "y": 0, "w": 1, "h": 1, "score": 0.75})";
  EXPECT_EQ(drawn(6, 1, points).luma[0], "a.a.a.");
  plugin_->setConfig(R"({"min_score": 0.5})");
  EXPECT_EQ(drawn(6, 1, points).luma[0], "..a.a.");
  plugin_->setConfig(R"({"max_overlay_dets": 2})");
  EXPECT_EQ(drawn(6, 1, points).luma[0], "..a...");
  plugin_->setConfig(R"({"min_score": 0}, )");
  EXPECT_EQ(drawn(6, 1, points).luma[0], "..a...");
}

TEST_F(BoxPluginTest, ThicknessKeepsToItsRange) {
  const auto edge = [&](const std::string& configuration) {
    plugin_->setConfig(configuration);
    const std::string row = drawn(400, 2, R"({"x": 0, "y": -150, "w": 400, "h": 300})").luma[0];
    return row.find('.');
  };
  EXPECT_EQ(edge(R"({"thickness": 3})"), 3U);
  EXPECT_EQ(edge("{}"), 3U);
  EXPECT_EQ(edge(R"({"thickness": 0})"), 1U);
  EXPECT_EQ(edge(R"({"thickness": 65})"), 64U);
}

TEST_F(BoxPluginTest, TheSchemaTellsRangesAndDefaults) {
  const auto schema = render_base::parseConfiguration(plugin_->getConfigList());
  ASSERT_TRUE(schema);
  const auto number = [&](const std::string& path) {
    SwJsonValue value;
    EXPECT_TRUE(swcfg::getValue(*schema, "properties/" + path, value)) << path;
    return value.isDouble() ? value.number() : static_cast<double>(value.integer());
  };
  EXPECT_EQ(number("thickness/minimum"), 1);
  EXPECT_EQ(number("thickness/maximum"), 64);
  EXPECT_EQ(number("thickness/default"), 2);
  EXPECT_EQ(number("min_score/default"), 0);
  EXPECT_EQ(number("max_overlay_dets/default"), 256);

  plugin_ = loader_->createUniqueInstance<IRenderPlugin>("BoxPlugin");  // one that nobody configured
  plugin_->init(RenderInit{&*backend_});
  EXPECT_EQ(drawn(6, 1, R"({"x": 0, "y": -9, "w": 6, "h": 20})").luma[0], "aa..aa");
}

TEST_F(BoxPluginTest, SkippedFramesAreToldOfWhileDiagnosticsAreOn) {
  const auto errorsOf = [&](const std::string& detections) {
    ::testing::internal::CaptureStderr();
    drawn(6, 4, detections);
    return ::testing::internal::GetCapturedStderr();
  };
  const std::string line =
      "[Box][Fallback] frame=7 decision=skip providers_missing=1 providers_using_lookback=0\n";
  EXPECT_EQ(errorsOf(""), "");
  plugin_->enableDebug(true);
  EXPECT_EQ(errorsOf(R"({"x": 0, "y": 0, "w": 6, "h": 4})"), "");
  EXPECT_EQ(errorsOf(""), line);
  EXPECT_EQ(errorsOf(""), "");
  EXPECT_EQ(errorsOf(R"({"x": 0, "y": 0, "w": 6, "h": 4})"), "");
  EXPECT_EQ(errorsOf(""), line) << "a new run of skipped frames";
}

TEST_F(BoxPluginTest, SaysWhoItIs) {
  EXPECT_EQ(loader_->getAvailableClasses<IRenderPlugin>(), std::vector<std::string>{"BoxPlugin"});
  EXPECT_STREQ(plugin_->getName(), "BoxPlugin");
  EXPECT_EQ(plugin_->getUuid(), "box-" + std::to_string(reinterpret_cast<uintptr_t>(plugin_.get())));
  EXPECT_EQ(plugin_->input_types(), std::vector<std::string>{"detection.v1"});
}

TEST_F(BoxPluginTest, LeavesMemoryAfterDrawing) {
#ifdef SEG_MASK_SANITIZED
  GTEST_SKIP() << "sanitizer builds keep plug-ins mapped on purpose";
#endif
  const auto isMapped = [] {
    std::ifstream maps("/proc/self/maps");
    const std::string text{std::istreambuf_iterator<char>(maps), {}};
    return text.find("libbox_plugin.so") != std::string::npos;
  };
  EXPECT_EQ(drawn(1, 1, R"({"x": 0, "y": 0, "w": 1, "h": 1})"), (Picture{{"a"}, {"a"}}));
  EXPECT_TRUE(isMapped());
  plugin_.reset();
  loader_.reset();
  EXPECT_FALSE(isMapped());
}

TEST_F(BoxPluginTest, DrawsInTheTool) {
  const std::string folder = ::testing::TempDir() + "box_plugin_" + std::to_string(getpid());
  std::filesystem::create_directory(folder);
  const std::string input = folder + "/in.nv12";
  const std::string output = folder + "/out.nv12";
  const std::string lines = folder + "/d.jsonl";
  const std::vector<unsigned char> grey = greyFrame(6, 4);
  std::ofstream(input).write(reinterpret_cast<const char*>(grey.data()),
                             static_cast<std::streamsize>(grey.size()));
  std::ofstream(lines) << R"({"frame": 0, "producer": "p", "detections": [{"x": 1, "y": 0, "w": 4, "h": 3}]})"
                       << '\n';
  std::vector<std::string> words{SEGMASK,        "render", "--plugin", BOX_PLUGIN,
                                 "--input",      input,    "--size",   "6x4",
                                 "--detections", lines,    "--config", R"({"thickness": 1})",
                                 "--output",     output};
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const pid_t tool = fork();
  if (tool == 0) {
    execv(SEGMASK, arguments.data());  // by this function a cross build's emulator runs the program
    _exit(127);
  }
  int status = -1;
  ASSERT_EQ(waitpid(tool, &status, 0), tool);
  EXPECT_EQ(status, 0);
  std::ifstream file(output);
  const std::vector<unsigned char> nv12{std::istreambuf_iterator<char>(file), {}};
  std::filesystem::remove_all(folder);
  ASSERT_EQ(nv12.size(), grey.size());
  EXPECT_EQ(lettersOf(nv12, 6, 4), (Picture{{".aaaa.", ".a..a.", ".aaaa.", "......"}, {"aaa", "aaa"}}));
}

}  // namespace
