#include <gtest/gtest.h>

#include "tests/run_tool.h"

namespace {

TEST(ToolInspect, ShowsWhatThePluginSaysOfItself) {
  const ToolResult result = runTool({"inspect"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("\nclass         SegMaskOverlayPlugin\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("\nname          SegMaskOverlayPlugin\n"), std::string::npos);
  EXPECT_NE(result.out.find("\nid            segmask-"), std::string::npos);
  EXPECT_NE(result.out.find("\ninput type    detection.v1\n"), std::string::npos);
  EXPECT_NE(result.out.find("\nrequirement   detection.v1 (flag: false)\n"), std::string::npos);
  EXPECT_NE(result.out.find("\nconfiguration\n{\n  \"$schema\""), std::string::npos);
  EXPECT_NE(result.out.find("\"max_overlay_dets\""), std::string::npos);
}

TEST(ToolInspect, ShowsAnotherPluginByItsOwnName) {
  const ToolResult result = runTool({"inspect", "--plugin", libraryPath("libsegmask_throwing_plugin.so")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_NE(result.out.find("\nname          ThrowingPlugin\n"), std::string::npos) << result.out;
}

TEST(ToolInspect, HelpIsNoError) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"},
                                                    {"render", "--help"},
                                                    {"explain", "--help"},
                                                    {"inspect", "--help"}}) {
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("Usage: segmask"), std::string::npos) << result.out;
  }
}

}  // namespace
