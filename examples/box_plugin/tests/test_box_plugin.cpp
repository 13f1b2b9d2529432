#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/SwJsonValue.h"
#include "core/swcfg.h"
#include "render_base/settings.h"
#include "test_support/TempFolder.h"
#include "test_support/process_facts.h"
#include "tests/box_fixture.h"

namespace {

constexpr int32_t kMin = INT32_MIN;
constexpr int32_t kMax = INT32_MAX;
const std::string kUntouched6x4 = "....../....../....../...... .../...";

TEST_F(BoxPluginTest, OutlinesLieInsideTheirBoxes) {
  EXPECT_EQ(drawn(10, 8, {box(2, 0, 8, 8, 5)}),
            "..ffffffff/..f......f/..f......f/..f......f/..f......f/..f......f/..f......f/..ffffffff "
            ".ffff/.f..f/.f..f/.ffff");
}

// The chroma samples at odd corners reach one luma pixel beyond the outline.
TEST_F(BoxPluginTest, EveryChromaSampleThatAnEdgeTouchesIsColoured) {
  EXPECT_EQ(drawn(8, 8, {box(1, 1, 6, 6)}),
            "......../.aaaaaa./.a....a./.a....a./.a....a./.a....a./.aaaaaa./........ "
            "aaaa/a..a/a..a/aaaa");
}

TEST_F(BoxPluginTest, ThickEdgesGrowInwardsAndColourEveryLineOfChromaThatTheyTouch) {
  plugin()->setConfig(R"({"thickness": 2})");
  EXPECT_EQ(drawn(8, 6, {box(0, 0, 7, 6)}),
            "aaaaaaa./aaaaaaa./aa...aa./aa...aa./aaaaaaa./aaaaaaa. aaaa/a.aa/aaaa");
  EXPECT_EQ(
      drawn(10, 10, {box(1, 1, 8, 8)}),
      "........../.aaaaaaaa./.aaaaaaaa./.aa....aa./.aa....aa./.aa....aa./.aa....aa./.aaaaaaaa./.aaaaaaaa./"
      ".......... aaaaa/aaaaa/aa.aa/aaaaa/aaaaa");
  plugin()->setConfig(R"({"thickness": 64})");
  EXPECT_EQ(drawn(6, 4, {box(1, 2, 3, 1), box(4, 0, 2, 2)}), "....aa/....aa/.aaa../...... ..a/aa.")
      << "a box thinner than two edges is filled";
}

TEST_F(BoxPluginTest, OfEdgesAcrossTheFramesBorderTheInnerPartIsDrawnAndOthersAreNot) {
  EXPECT_EQ(drawn(6, 4, {box(-2, 1, 5, 9)}), "....../aaa.../..a.../..a... aa./.a.");
  EXPECT_EQ(drawn(6, 4, {box(2, 1, kMax, kMax)}), "....../..aaaa/..a.../..a... .aa/.a.");
  plugin()->setConfig(R"({"thickness": 2})");
  EXPECT_EQ(drawn(6, 4, {box(-1, -5, 20, 20)}), "a...../a...../a...../a..... a../a..");
}

TEST_F(BoxPluginTest, OddFramesHaveALastChromaColumnAndRow) {
  EXPECT_EQ(drawn(5, 3, {box(0, 0, 5, 3)}), "aaaaa/a...a/aaaaa aaa/aaa");
  EXPECT_EQ(drawn(5, 3, {box(4, 2, 1, 1)}), "...../...../....a .../..a");
  EXPECT_EQ(drawn(1, 1, {box(0, 0, 1, 1)}), "a a");
}

TEST_F(BoxPluginTest, LaterBoxesLieOverEarlierOnes) {
  EXPECT_EQ(drawn(6, 4, {box(0, 0, 4, 4), box(2, 0, 4, 3, 5)}), "aaffff/a.fa.f/a.ffff/aaaa.. aff/aff");
}

TEST_F(BoxPluginTest, BoxesWithoutAPixelInTheFrameLeaveThePictureAlone) {
  for (const scene::Detection& outside : {box(6, 0, 3, 3), box(-3, 0, 3, 3), box(0, 4, 3, 3), box(1, 1, 0, 2),
                                          box(3, 1, -2, 2), box(1, 1, 2, kMin), box(kMax, 0, kMax, 2)}) {
    const scene::Scene scene = sceneOf(6, 4, {outside});
    plugin_test::Frame frame(scene, host_->stream());
    host_->render(frame);
    EXPECT_EQ(lettersOf(frame.pixels(), 6, 4), kUntouched6x4) << scene;
    EXPECT_EQ(frame.context().picture.writable, nullptr) << scene;
  }
}

TEST_F(BoxPluginTest, TheSourceStaysAsItWasAndWithoutABackendNothingIsDrawn) {
  plugin_test::Frame frame(sceneOf(6, 4, {box(0, 0, 6, 4)}), host_->stream());
  host_->render(frame);
  EXPECT_NE(lettersOf(frame.pixels(), 6, 4), kUntouched6x4);
  EXPECT_EQ(lettersOf(frame.sourcePixels(), 6, 4), kUntouched6x4);
  plugin()->init(RenderInit{});
  EXPECT_EQ(drawn(6, 4, {box(0, 0, 6, 4)}), kUntouched6x4);
}

TEST_F(BoxPluginTest, SettingsDecideWhatIsDrawn) {
  const auto points = [&] {
    return drawn(6, 1, {box(0, 0, 1, 1, 0, 0.25F), box(2, 0, 1, 1, 0, 0.5F), box(4, 0, 1, 1, 0, 0.75F)})
        .substr(0, 6);
  };
  EXPECT_EQ(points(), "a.a.a.");
  plugin()->setConfig(R"({"min_score": 0.5})");
  EXPECT_EQ(points(), "..a.a.");
  plugin()->setConfig(R"({"max_overlay_dets": 2})");
  EXPECT_EQ(points(), "..a...");
  plugin()->setConfig(R"({"min_score": 0}, )");
  EXPECT_EQ(points(), "..a...");
}

TEST_F(BoxPluginTest, ThicknessKeepsToItsRange) {
  const auto edge = [&](const std::string& configuration) {
    plugin()->setConfig(configuration);
    return drawn(400, 2, {box(0, -150, 400, 300)}).find('.');
  };
  EXPECT_EQ(edge(R"({"thickness": 3})"), 3U);
  EXPECT_EQ(edge("{}"), 3U);
  EXPECT_EQ(edge(R"({"thickness": 0})"), 1U);
  EXPECT_EQ(edge(R"({"thickness": 65})"), 64U);
}

TEST_F(BoxPluginTest, TheSchemaTellsRangesAndDefaults) {
  const auto schema = render_base::parseConfiguration(plugin()->getConfigList());
  ASSERT_TRUE(schema);
  const std::pair<const char*, double> numbers[] = {{"thickness/minimum", 1},
                                                    {"thickness/maximum", 64},
                                                    {"thickness/default", 2},
                                                    {"min_score/default", 0},
                                                    {"max_overlay_dets/default", 256}};
  for (const auto& [path, number] : numbers) {
    SwJsonValue value;
    EXPECT_TRUE(swcfg::getValue(*schema, std::string("properties/") + path, value)) << path;
    EXPECT_EQ(value.isDouble() ? value.number() : static_cast<double>(value.integer()), number) << path;
  }
  host_.emplace(plugin_test::PluginFile{BOX_PLUGIN, "BoxPlugin"});  // one that nobody configured
  EXPECT_EQ(drawn(6, 1, {box(0, -9, 6, 20)}), "aa..aa a.a");
}

TEST_F(BoxPluginTest, SkippedFramesAreToldOfWhileDiagnosticsAreOn) {
  const auto errorsOf = [&](const std::vector<scene::Detection>& boxes) {
    return plugin_test::standardErrorOf([&] { drawn(6, 4, boxes); });
  };
  const std::string line =
      "[Box][Fallback] frame=1 decision=skip providers_missing=1 providers_using_lookback=0\n";
  EXPECT_EQ(errorsOf({}), "");
  plugin()->enableDebug(true);
  EXPECT_EQ(errorsOf({box(0, 0, 6, 4)}), "");
  EXPECT_EQ(errorsOf({}), line);
  EXPECT_EQ(errorsOf({}), "");
  EXPECT_EQ(errorsOf({box(0, 0, 6, 4)}), "");
  EXPECT_EQ(errorsOf({}), line) << "a new run of skipped frames";
}

TEST_F(BoxPluginTest, SaysWhoItIs) {
  EXPECT_EQ(plugin_test::PluginLibrary({BOX_PLUGIN, "BoxPlugin"}).classes(),
            std::vector<std::string>{"BoxPlugin"});
  EXPECT_STREQ(plugin()->getName(), "BoxPlugin");
  EXPECT_EQ(plugin()->getUuid(), "box-" + std::to_string(reinterpret_cast<uintptr_t>(&*plugin())));
  EXPECT_EQ(plugin()->input_types(), std::vector<std::string>{"detection.v1"});
}

TEST_F(BoxPluginTest, LeavesMemoryAfterDrawing) {
#ifdef SEG_MASK_SANITIZED
  GTEST_SKIP() << "sanitizer builds keep plug-ins mapped on purpose";
#endif
  EXPECT_EQ(drawn(1, 1, {box(0, 0, 1, 1)}), "a a");
  EXPECT_TRUE(process_facts::isMapped(BOX_PLUGIN));
  host_.reset();
  EXPECT_FALSE(process_facts::isMapped(BOX_PLUGIN));
}

TEST_F(BoxPluginTest, DrawsInTheTool) {
  const TempFolder folder;
  const std::vector<uint8_t> grey = scene::flatFrame(6, 4, 100, 128, 128);
  const std::string detections =
      R"({"frame": 0, "producer": "p", "detections": [{"x": 1, "y": 0, "w": 4, "h": 3}]})";
  std::vector<std::string> words{
      SEGMASK,        "render",
      "--plugin",     BOX_PLUGIN,
      "--input",      folder.write("in.nv12", std::string(grey.begin(), grey.end())),
      "--size",       "6x4",
      "--detections", folder.write("d.jsonl", detections),
      "--config",     R"({"thickness": 1})",
      "--output",     folder.path("out.nv12")};
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
  const std::string nv12 = readFile(folder.path("out.nv12"));
  ASSERT_EQ(nv12.size(), grey.size());
  EXPECT_EQ(lettersOf({nv12.begin(), nv12.end()}, 6, 4), ".aaaa./.a..a./.aaaa./...... aaa/aaa");
}

}  // namespace
