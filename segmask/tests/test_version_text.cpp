#include <gtest/gtest.h>

#include "src/version_text.h"

namespace {

using segmask::versionLine;

TEST(VersionLine, HasALabelOf14ColumnsAndTheVersion) {
  EXPECT_EQ(versionLine("OpenCV", "4.6.0", "4.6.0"), "OpenCV        4.6.0\n");
}

TEST(VersionLine, NamesTheVersionOfTheBuildIfItIsAnother) {
  EXPECT_EQ(versionLine("CUDA runtime", "12.6", "13.0"), "CUDA runtime  12.6 (built with 13.0)\n");
}

}  // namespace
