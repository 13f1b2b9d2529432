#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"
#include "video/mask_picture.h"

namespace {

using segmask::FileDescriptor;

/// Two images of 8 x 4 pixels. In each the left half is inside, as a polygon and as run lengths.
const char kInstances[] = R"({"images": [
  {"id": 3, "file_name": "b.png", "width": 8, "height": 4}, {"id": 4, "file_name": "a.png", "width": 8, "height": 4}],
"annotations": [
  {"image_id": 3, "category_id": 61, "id": 1, "segmentation": [[0, 0, 4, 0, 4, 4, 0, 4]]},
  {"image_id": 4, "category_id": 21, "id": 2, "iscrowd": 1, "segmentation": {"size": [4, 8], "counts": [0, 16, 16]}}],
"categories": [{"id": 21, "name": "cow"}, {"id": 61, "name": "cake"}]}
)";

class ToolImport : public ::testing::Test {
 protected:
  ToolImport() { folder_.write("c.json", kInstances); }

  std::string path(const std::string& name) const { return folder_.path(name); }

  TempFolder folder_;
};

TEST_F(ToolImport, WhatItWritesIsDrawnByRender) {
  const ToolResult imported =
      runTool({"import", "coco", path("c.json"), "-o", path("d.jsonl"), "--legend", path("legend.csv")});
  EXPECT_EQ(imported.exitCode, 0);
  EXPECT_EQ(imported.err, "");
  EXPECT_EQ(imported.out, "frames        2\ndetections    2\nclasses       2\noutput        " +
                              path("d.jsonl") + "\nlegend        " + path("legend.csv") + "\n");
  EXPECT_EQ(readFile(path("legend.csv")),
            "class_id,name,red,green,blue\n0,\"cow\",255,56,56\n1,\"cake\",255,157,151\n");

  const ToolResult explained = runTool({"explain", "--detections", path("d.jsonl"), "--size", "8x4"});
  EXPECT_EQ(explained.out, path("d.jsonl") +
                               ":1: frame 0, coco, detections[0]: drawn, class 1 in red 255, green 157, blue "
                               "151, 16 pixels\n" +
                               path("d.jsonl") +
                               ":2: frame 1, coco, detections[0]: drawn, class 0 in red 255, green 56, blue "
                               "56, 16 pixels\n");
  folder_.write("in.nv12", flatFrames(8, 4, 2));
  const ToolResult rendered = runTool({"render", "--input", path("in.nv12"), "--size", "8x4", "--detections",
                                       path("d.jsonl"), "--output", path("out.nv12"), "--strict"});
  EXPECT_EQ(rendered.exitCode, 0) << rendered.err;
  EXPECT_NE(rendered.out.find("drawn         2 detections"), std::string::npos) << rendered.out;
}

TEST_F(ToolImport, StandardStreamsGiveTheSameLines) {
  ASSERT_EQ(runTool({"import", "coco", path("c.json"), "--output", path("d.jsonl")}).exitCode, 0);
  const FileDescriptor input(open(path("c.json").c_str(), O_RDONLY | O_CLOEXEC));
  const ToolResult result =
      runTool({"import", "coco", "-", "-o", "-"}, [&] { dup2(input.get(), STDIN_FILENO); });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, readFile(path("d.jsonl")));
}

TEST_F(ToolImport, AFolderOfMasksBecomesALineAFrame) {
  std::filesystem::create_directory(path("masks"));
  folder_.write("masks/frame 3.png", segmask::encodeGreyPng({0, 5, 0, 7}, 2, 2));
  const ToolResult result = runTool({"import", "masks", path("masks"), "--pattern", "frame {frame}.png",
                                     "--class-by", "instance", "-o", "-", "--legend", path("legend.json")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(
      result.out,
      R"({"frame": 3, "producer": "masks", "detections": [{"id": 5, "x": 1, "y": 0, "w": 1, "h": 1, )"
      R"("class_id": 0, "score": 1, "mask": {"size": [2, 2], "counts": "211"}}, {"id": 7, "x": 1, )"
      R"("y": 1, "w": 1, "h": 1, "class_id": 1, "score": 1, "mask": {"size": [2, 2], "counts": "31"}}]})"
      "\n");
  EXPECT_EQ(readFile(path("legend.json")),
            "[\n{\"class_id\": 0, \"name\": \"instance 0\", \"color\": [255,56,56]},\n"
            "{\"class_id\": 1, \"name\": \"instance 1\", \"color\": [255,157,151]}\n]\n");
}

TEST_F(ToolImport, WarnsOfWhatItPassesOverAndOfColoursThatAreShared) {
  std::string results = "[{\"image_id\": 1, \"category_id\": 1, \"bbox\": [1, 2, 3, 4]}";
  for (int category = 1; category <= 21; ++category) {
    results += ", {\"image_id\": 1, \"category_id\": " + std::to_string(category) +
               ", \"segmentation\": {\"size\": [1, 1], \"counts\": \"01\"}}";
  }
  folder_.write("r.json", results + "]");
  const ToolResult result = runTool({"import", "coco", path("r.json"), "-o", path("d.jsonl")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "segmask: warning: " + path("r.json") +
                            ": results[0]: 1 annotation without a segmentation was passed over\n"
                            "segmask: warning: 21 classes share 20 colours\n");
}

TEST_F(ToolImport, ItsOutputMayStandBesideTheMasks) {
  std::filesystem::create_directory(path("masks"));
  folder_.write("masks/0_1.png", segmask::encodeGreyPng({1}, 1, 1));
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ(runTool({"import", "masks", path("masks"), "-o", path("masks/d.jsonl")}).exitCode, 0);
  }
}

TEST_F(ToolImport, AClosedPipeEndsItQuietly) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  const std::string messages = folder_.write("messages", "");
  const FileDescriptor out(ends[1]);
  const FileDescriptor err(open(messages.c_str(), O_WRONLY | O_CLOEXEC));
  EXPECT_EQ(waitForTool(startTool({"import", "coco", path("c.json"), "-o", "-"}, out.get(), err.get())), 141);
  const std::string text = folder_.write("m.txt", "SEG1|4|2|Dw==");
  EXPECT_EQ(waitForTool(startTool({"mask", "encode", text}, out.get(), err.get())), 141);
  EXPECT_EQ(readFile(messages), "");
}

TEST_F(ToolImport, ADiskThatIsFullLeavesNothingBehind) {
  std::string results;
  for (int image = 0; image < 1000; ++image) {
    results += std::string(image == 0 ? "[" : ",") + "{\"image_id\": " + std::to_string(image) +
               ", \"category_id\": 1, \"segmentation\": {\"size\": [1, 1], \"counts\": \"01\"}}";
  }
  folder_.write("r.json", results + "]");
  const std::vector<std::string> before = folder_.names();
  const ToolResult result = runTool({"import", "coco", path("r.json"), "-o", path("d.jsonl")}, [] {
    const rlimit limit{20'000, 20'000};
    setrlimit(RLIMIT_FSIZE, &limit);
  });
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err, "segmask: " + path("d.jsonl") + ": File too large\n");
  EXPECT_EQ(folder_.names(), before);
}

TEST_F(ToolImport, CanBeEndedWhileItWaits) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  const FileDescriptor err(open(path("stderr").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const FileDescriptor out(open("/dev/null", O_WRONLY | O_CLOEXEC));
  const std::vector<std::string> before = folder_.names();
  const pid_t process =
      startTool({"import", "coco", path("pipe"), "-o", path("d.jsonl")}, out.get(), err.get());
  // Opening succeeds once the program has opened its end, which is after it has set up its signal handling.
  const FileDescriptor fed(open(path("pipe").c_str(), O_WRONLY | O_CLOEXEC));
  EXPECT_EQ(segmask::writeFully(fed.get(), kInstances, sizeof kInstances - 1), 0);
  EXPECT_EQ(kill(process, SIGINT), 0);
  EXPECT_EQ(waitForTool(process), 130);
  EXPECT_EQ(readFile(path("stderr")), "segmask: interrupted; nothing was written\n");
  EXPECT_EQ(folder_.names(), before);
}

}  // namespace
