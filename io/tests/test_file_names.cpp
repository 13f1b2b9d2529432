#include <gtest/gtest.h>

#include <filesystem>

#include "io/file_names.h"
#include "test_support/TempFolder.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

TEST(IsSamePath, KnowsWhereAFileWouldBeWrittenThroughLinks) {
  const TempFolder folder;
  fs::create_directory(folder.path("sub"));
  fs::create_symlink("later.mp4", folder.path("link"));
  fs::create_symlink("../link", folder.path("sub/link"));
  EXPECT_TRUE(isSamePath(folder.path("link"), folder.path("later.mp4"))) << "nothing is there yet";
  EXPECT_TRUE(isSamePath(folder.path("sub/link"), folder.path("sub/../later.mp4")));
  EXPECT_FALSE(isSamePath(folder.path("link"), folder.path("other.mp4")));
}

TEST(LinksFollowed, EndsWhereLinksLeadInACircle) {
  const TempFolder folder;
  fs::create_symlink("b", folder.path("a"));
  fs::create_symlink("a", folder.path("b"));
  const fs::path found = linksFollowed(folder.path("a"));
  EXPECT_TRUE(found == folder.path("a") || found == folder.path("b"));
}

TEST(ShellText, QuotesWordsWhereNeeded) {
  EXPECT_EQ(shellText("in/a_1.mp4"), "in/a_1.mp4");
  EXPECT_EQ(shellText(""), "''");
  EXPECT_EQ(shellText("it's $HOME"), R"('it'\''s $HOME')");
}

}  // namespace
}  // namespace segmask
