// What `segmask --version` says.

#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/version.h>
#include <libavformat/version.h>
#include <libavutil/version.h>
#include <libswscale/version.h>
}

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/run_tool.h"

namespace {

using Fact = std::pair<std::string, std::string>;

/// The lines of a text as label and value.
std::vector<Fact> factsOf(const std::string& text) {
  std::vector<Fact> facts;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t gap = std::min(line.find("  "), line.size());
    const std::size_t value = std::min(line.find_first_not_of(' ', gap), line.size());
    facts.emplace_back(line.substr(0, gap), line.substr(value));
  }
  return facts;
}

// One fact a line: program, device and OpenCV as the build was configured, libav as in the headers.
TEST(ToolVersion, NamesTheProgramTheDeviceAndTheLibraries) {
  const ToolResult result = runTool({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  std::vector<Fact> facts = factsOf(result.out);
  if (std::string(BUILT_DEVICE) == "cuda") {
    ASSERT_GT(facts.size(), 2U);
    EXPECT_EQ(facts[2].first, "CUDA runtime");
    EXPECT_EQ(facts[2].second.find_first_not_of("0123456789."), std::string::npos) << facts[2].second;
    facts.erase(facts.begin() + 2);
  }
  const std::vector<Fact> expected{{"segmask", BUILT_VERSION},
                                   {"device", BUILT_DEVICE},
                                   {"OpenCV", BUILT_OPENCV},
                                   {"libavformat", AV_STRINGIFY(LIBAVFORMAT_VERSION)},
                                   {"libavcodec", AV_STRINGIFY(LIBAVCODEC_VERSION)},
                                   {"libavutil", AV_STRINGIFY(LIBAVUTIL_VERSION)},
                                   {"libswscale", AV_STRINGIFY(LIBSWSCALE_VERSION)}};
  EXPECT_EQ(facts, expected);
}

}  // namespace
