#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <tuple>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"

namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 32;
constexpr int kHeight = 16;
constexpr int kFrames = 8;

using Arguments = std::vector<std::string>;

std::string detection(const std::string& members) {
  return "{\"x\": 3, \"y\": 2, \"w\": 5, \"h\": 4, \"class_info\": \"SEG1|1|1|AQ==\", " + members + "}";
}

std::string line(int frame, const std::string& producer, const std::string& detections) {
  return "{\"frame\": " + std::to_string(frame) + ", \"producer\": \"" + producer + "\", \"detections\": [" +
         detections + "]}\n";
}

class ToolReport : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return folder_.path(name); }

  ToolResult render(const std::string& detections, const Arguments& more = {}) const {
    Arguments all{"render",
                  "--input",
                  folder_.write("in.nv12", flatFrames(kWidth, kHeight, kFrames)),
                  "--size",
                  "32x16",
                  "--detections",
                  folder_.write("d.jsonl", detections),
                  "--output",
                  path("out.nv12"),
                  "--report",
                  path("r.html")};
    all.insert(all.end(), more.begin(), more.end());
    return runTool(all);
  }

  std::string report() const { return readFile(path("r.html")); }

  /// What the elements of this figure hold, separated by blanks.
  std::string figure(const std::string& name) const {
    const std::string page = report();
    const std::regex element("data-figure=\"" + name + "\">([^<]*)<");
    std::string values;
    for (std::sregex_iterator at(page.begin(), page.end(), element), end; at != end; ++at) {
      values += (values.empty() ? "" : " ") + (*at)[1].str();
    }
    return values;
  }

  TempFolder folder_;
};

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++count;
  return count;
}

const char kGood[] = R"("score": 1, "class_id": 3)";
const char kFaint[] = R"("score": -1, "class_id": -24)";

TEST_F(ToolReport, HasTheFiguresOfTheSummaryOnce) {
  const ToolResult result =
      render(line(0, "p", detection(kGood) + "," + detection(kFaint) + ",1") + line(3, "q", detection(kGood)),
             {"--lookback", "1"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_TRUE(holds(result.out, "\nreport        " + path("r.html") + "\n")) << result.out;
  EXPECT_EQ(figure("frames"), "8");
  EXPECT_EQ(figure("detections"), "4");
  EXPECT_EQ(figure("drawn"), "2");
  EXPECT_EQ(figure("dropped"), "2");
  EXPECT_EQ(figure("dropped.low_score"), "1");
  EXPECT_EQ(figure("dropped.not_an_object"), "1");
  // p is used again in frame 1, with all three of its elements, and q in frame 4.
  EXPECT_EQ(figure("lookback"), "4");
  EXPECT_EQ(figure("frames_changed"), "4");
  EXPECT_EQ(figure("pixels_changed"), "96");
  EXPECT_EQ(figure("damaged"), "0");
  EXPECT_EQ(figure("plugin"), libraryPath("libseg_mask_overlay.so"));
}

TEST_F(ToolReport, ShowsTheRunOverItsFrames) {
  render(line(0, "p", detection(kGood) + "," + detection(kFaint)) +
             line(3, "q", detection(kGood) + "," + detection(kGood)),
         {"--lookback", "1"});
  const std::string page = report();
  EXPECT_TRUE(holds(page, "<title>frame 0 (0:00.00): 1 drawn, 1 dropped: score below min_score</title>"));
  EXPECT_TRUE(holds(page, "<title>frame 3 (0:00.10): 2 drawn</title>"));
  EXPECT_TRUE(holds(page, "<title>frame 4 (0:00.13): 2 used again</title>"));
  // Six of the eight frames are spread over them; 3, which has most drawn, is one of them.
  EXPECT_EQ(occurrences(page, "<img "), 6U);
  EXPECT_TRUE(holds(page, "alt=\"Frame 3 at 0:00.10: detections 2 drawn, 0 dropped\""));
  EXPECT_EQ(occurrences(page, ">most drawn</b>"), 1U);
  EXPECT_EQ(occurrences(page, ">most dropped</b>"), 1U);
}

TEST_F(ToolReport, NamesClassesWithTheirColoursAndProducers) {
  render(line(0, "p", detection(kGood) + "," + detection(kFaint) + ",7") + line(1, "q", detection(kGood)));
  const std::string page = report();
  // Class 3 is 255, 178, 29, and class -24 has the colour of 4, which is 207, 210, 49.
  EXPECT_TRUE(holds(page, "Class 3, <code>#ffb21d</code><small>2 drawn, 0 dropped</small>"));
  EXPECT_TRUE(holds(page, "Class -24, <code>#cfd231</code><small>0 drawn, 1 dropped</small>"));
  EXPECT_EQ(occurrences(page, "Class "), 2U);
  EXPECT_TRUE(holds(page, "<bdi>p</bdi></th><td class=\"number\">1</td><td class=\"number\">2</td>"));
  EXPECT_TRUE(holds(page, "<bdi>q</bdi></th><td class=\"number\">1</td><td class=\"number\">0</td>"));
}

TEST_F(ToolReport, SaysWhatTheRunWasToldAndWhatItsFilesAre) {
  render(fullMaskLine(0, "p"), {"--config", R"({"min_score": 0.25})", "--contact-sheet", path("s.png")});
  const std::string page = report();
  EXPECT_TRUE(
      holds(page, "<code>min_score</code></th><td><code>0.25</code></td><td>given</td><td>0 to 1</td>"));
  EXPECT_TRUE(
      holds(page, "<code>alpha</code></th><td><code>0.45</code></td><td>default</td><td>0 to 1</td>"));
  EXPECT_TRUE(holds(page,
                    "<span class=\"word\">&#39;{&quot;min_score&quot;: 0.25}&#39;</span> "
                    "<span class=\"word\">--contact-sheet</span> "));
  const std::regex digest("SHA-256 ([0-9a-f]{64})<");
  EXPECT_EQ(std::distance(std::sregex_iterator(page.begin(), page.end(), digest), std::sregex_iterator()), 5);
  // The digest of the detections' file, whose bytes are known.
  folder_.write("d2.jsonl", "");
  EXPECT_EQ(runTool({"render", "--input", path("in.nv12"), "--size", "32x16", "--detections",
                     path("d2.jsonl"), "--output", path("out.nv12"), "--report", path("r.html")})
                .exitCode,
            0);
  EXPECT_TRUE(holds(report(), "SHA-256 e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855<"))
      << "that of no bytes";
}

TEST_F(ToolReport, DigestsAreThoseOfTheFilesAsTheyStandAfterTheRun) {
  render(fullMaskLine(0, "p"));
  const auto digestOf = [this](const std::string& name) {
    const std::string page = report();
    const std::size_t at = page.find("<bdi>" + path(name) + "</bdi>");
    return page.substr(page.find("SHA-256 ", at) + 8, 64);
  };
  const std::string output = digestOf("out.nv12");
  EXPECT_NE(output, digestOf("in.nv12"));
  // The output as input of a run that draws nothing: both are the same bytes.
  fs::rename(path("out.nv12"), path("again.nv12"));
  runTool({"render", "--input", path("again.nv12"), "--size", "32x16", "--detections",
           folder_.write("none.jsonl", kNothingFoundLine), "--output", path("out.nv12"), "--report",
           path("r.html")});
  EXPECT_EQ(digestOf("again.nv12"), output);
  EXPECT_EQ(digestOf("out.nv12"), output);
}

TEST_F(ToolReport, LeavesOutWhatIsNotKnown) {
  render(fullMaskLine(0, "p"), {"--no-explain"});
  EXPECT_EQ(figure("drawn") + figure("pixels_changed"), "");
  EXPECT_EQ(figure("detections"), "1");
  EXPECT_TRUE(holds(report(), "is not known"));
  render(fullMaskLine(0, "p"), {"--plugin", libraryPath("libbox_plugin.so")});
  EXPECT_EQ(figure("drawn"), "");
  EXPECT_NE(figure("pixels_changed"), "");
}

TEST_F(ToolReport, HostileNamesAreText) {
  const std::string script = "<script>alert(1)</script>";
  fs::create_directory(path("<script>alert(1)<"));
  const std::string output = path("<script>alert(1)<") + "/script>\"'\xFF.nv12";
  const ToolResult result =
      runTool({"render", "--input", folder_.write("<i>.nv12", flatFrames(kWidth, kHeight, 2)), "--size",
               "32x16", "--detections",
               folder_.write("d.jsonl", line(0, script + R"(\u0000\u001b\" onload=\"x)",
                                             detection("\"score\": 1, \"class_id\": \"" + script + "\""))),
               "--output", output, "--report", path("r.html"), "--config",
               R"({"<script>\u0007": "</code><script>"})"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const std::string page = report();
  for (const char* const markup : {"<script", "</script", "<i>", " onload=\"", "\xFF"}) {
    EXPECT_FALSE(holds(page, markup)) << markup;
  }
  EXPECT_FALSE(std::any_of(page.begin(), page.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 && c != '\n';
  }));
  EXPECT_TRUE(
      holds(page, "<bdi>&lt;script&gt;alert(1)&lt;/script&gt;\u2400\u241b&quot; onload=&quot;x</bdi>"));
  EXPECT_TRUE(holds(page, "<h1><bdi>script&gt;&quot;&#39;\uFFFD.nv12</bdi></h1>"));
}

TEST_F(ToolReport, IsOneWholePageThatMayFetchNothing) {
  render(fullMaskLine(0, "p"));
  const std::string page = report();
  EXPECT_EQ(page.rfind("<!DOCTYPE html>\n<html lang=\"en\">", 0), 0U);
  EXPECT_EQ(page.substr(page.size() - 8), "</html>\n");
  EXPECT_TRUE(holds(page, "Content-Security-Policy\" content=\"default-src 'none'; img-src data:;"));
  const std::regex address("(src|href)=\"(?!data:image/png;base64,)");
  EXPECT_FALSE(std::regex_search(page, address));
}

TEST_F(ToolReport, AppearsWithTheOtherOutputsOrNotAtAll) {
  EXPECT_EQ(render(fullMaskLine(0, "p") + "7\n", {"--no-progress"}).exitCode, 2);
  EXPECT_EQ(folder_.names(), (std::vector<std::string>{"d.jsonl", "in.nv12"}));
  EXPECT_EQ(render(fullMaskLine(0, "p")).exitCode, 0);
  EXPECT_EQ(folder_.names(), (std::vector<std::string>{"d.jsonl", "in.nv12", "out.nv12", "r.html"}));
  fs::remove(path("out.nv12"));
  const ToolResult never = render(fullMaskLine(0, "p"), {"-n"});
  EXPECT_EQ(never.exitCode, 2);
  EXPECT_EQ(never.err, "segmask: " + path("r.html") + ": exists, and -n never overwrites\n");
}

TEST_F(ToolReport, PicturesMayDifferInSizeAndHaveNoTimes) {
  fs::create_directory(path("in"));
  for (const auto& [name, width, height] : {std::tuple("a", 40, 20), std::tuple("b", 16, 32)}) {
    EXPECT_EQ(
        runTool({"render", "--input", folder_.write("f.nv12", flatFrames(width, height, 1)), "--size",
                 std::to_string(width) + "x" + std::to_string(height), "--detections",
                 folder_.write("d.jsonl", kNothingFoundLine), "--output", path(std::string(name) + "%d.png")})
            .exitCode,
        0);
    fs::rename(path(std::string(name) + "0.png"), path(std::string("in/") + name + ".png"));
  }
  const ToolResult result = runTool({"render", "--input", path("in"), "--detections",
                                     folder_.write("d.jsonl", fullMaskLine(1, "p")), "--output", path("out"),
                                     "--report", path("r.html")});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const std::string page = report();
  EXPECT_TRUE(holds(page, "<img width=\"40\" height=\"20\" alt=\"Frame 0: detections 0 drawn, 0 dropped\""));
  EXPECT_TRUE(holds(page, "<img width=\"16\" height=\"32\" alt=\"Frame 1: detections 1 drawn, 0 dropped\""));
  EXPECT_EQ(occurrences(page, "a folder, so no digest"), 1U) << "the input";
  EXPECT_EQ(occurrences(page, "a pipe or several files, so no digest"), 1U) << "the output";
}

}  // namespace
