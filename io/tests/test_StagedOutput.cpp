#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "io/StagedOutput.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

using Names = std::vector<std::string>;

void put(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
}

TEST(StagedOutput, AppearsAtTheCommitAndLeavesNothingElse) {
  const TempFolder folder;
  {
    StagedOutput output(folder.path("out.mp4"));
    put(output.path(), "new");
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.mp4")));
    output.commit();
    EXPECT_EQ(readFile(folder.path("out.mp4")), "new");
  }
  EXPECT_EQ(folder.names(), (Names{"out.mp4"}));
}

TEST(StagedOutput, WithoutACommitTheOldFileStays) {
  const TempFolder folder;
  folder.write("out.mp4", "old");
  {
    const StagedOutput output(folder.path("out.mp4"));
    put(output.path(), "new");
    EXPECT_EQ(readFile(folder.path("out.mp4")), "old");
  }
  EXPECT_EQ(folder.names(), (Names{"out.mp4"}));
  EXPECT_EQ(readFile(folder.path("out.mp4")), "old");
}

TEST(StagedOutput, MovesAllFilesOfASequence) {
  const TempFolder folder;
  folder.write("1.png", "old");
  folder.write("9.png", "old");
  {
    StagedOutput output(folder.path("%d.png"));
    put(output.pathOf("0.png"), "new");
    put(output.pathOf("1.png"), "new");
    output.commit();
  }
  EXPECT_EQ(folder.names(), (Names{"0.png", "1.png", "9.png"}));
  EXPECT_EQ(readFile(folder.path("1.png")), "new");
  EXPECT_EQ(readFile(folder.path("9.png")), "old");
}

TEST(StagedOutput, FollowsALinkInsteadOfReplacingIt) {
  const TempFolder folder;
  folder.write("real", "old");
  std::filesystem::create_symlink("real", folder.path("link"));
  {
    StagedOutput output(folder.path("link"));
    put(output.path(), "new");
    output.commit();
  }
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
  EXPECT_EQ(readFile(folder.path("real")), "new");
}

TEST(StagedOutput, RefusesWhatItCannotReplace) {
  const TempFolder folder;
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  std::filesystem::create_directory(folder.path("folder"));
  EXPECT_THROW(StagedOutput(folder.path("none/out.mp4")), UserError);
  EXPECT_THROW(StagedOutput(folder.path("pipe")), UserError);
  EXPECT_THROW(StagedOutput(folder.path("folder")), UserError);
  EXPECT_THROW(StagedOutput(folder.path("")), UserError);
  EXPECT_EQ(folder.names(), (Names{"folder", "pipe"}));
}

}  // namespace
}  // namespace segmask
