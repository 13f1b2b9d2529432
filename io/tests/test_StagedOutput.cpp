#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <ctime>
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

TEST(StagedOutput, AppearsAtTheCommitAndWithoutOneTheOldFileStaysAndLeavesNothingElse) {
  for (const bool commits : {false, true}) {
    const TempFolder folder;
    folder.write("out.mp4", "old");
    {
      StagedOutput output(folder.path("out.mp4"));
      put(output.path(), "new");
      EXPECT_EQ(readFile(folder.path("out.mp4")), "old");
      if (commits) output.commit();
    }
    EXPECT_EQ(readFile(folder.path("out.mp4")), commits ? "new" : "old");
    EXPECT_EQ(folder.names(), (Names{"out.mp4"}));
  }
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

TEST(StagedOutput, KeepsAFileThatHasAppearedMeanwhile) {
  const TempFolder folder;
  {
    StagedOutput output(folder.path("out.mp4"));
    put(output.path(), "new");
    folder.write("out.mp4", "another's");
    try {
      output.commit(Existing::Kept);
      FAIL() << "it was replaced";
    } catch (const FileExists& error) {
      EXPECT_EQ(error.what(), folder.path("out.mp4") + ": exists, and -n never overwrites");
    }
  }
  EXPECT_EQ(readFile(folder.path("out.mp4")), "another's");
  {
    StagedOutput output(folder.path("other.mp4"));
    put(output.path(), "new");
    output.commit(Existing::Kept);
  }
  EXPECT_EQ(readFile(folder.path("other.mp4")), "new");
  EXPECT_EQ(folder.names(), (Names{"other.mp4", "out.mp4"}));
}

TEST(StagedOutput, FollowsALinkToAFileThatIsNotThereYet) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.path("sub"));
  std::filesystem::create_symlink("sub/real", folder.path("link"));
  {
    StagedOutput output(folder.path("link"));
    put(output.path(), "new");
    output.commit();
  }
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
  EXPECT_EQ(readFile(folder.path("sub/real")), "new");
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

/// A folder as a killed process leaves it, with one file in it.
std::string leaveBehind(const TempFolder& folder, const std::string& name) {
  const std::string stage = folder.path(name);
  EXPECT_EQ(mkdir(stage.c_str(), 0700), 0);
  put(stage + "/out.mp4", "half");
  return stage;
}

void makeOld(const std::string& path, std::time_t seconds) {
  const timespec then{std::time(nullptr) - seconds, 0};
  const std::array<timespec, 2> times{then, then};
  EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times.data(), AT_SYMLINK_NOFOLLOW), 0) << path;
}

/// The file first: its folder's time is that of the last change in the folder.
void makeStageOld(const std::string& stage, std::time_t seconds) {
  makeOld(stage + "/out.mp4", seconds);
  makeOld(stage, seconds);
}

constexpr std::time_t kOverAnHour = 3700;

TEST(StagedOutput, RemovesWhatAKilledProcessLeftAnHourAgo) {
  const TempFolder folder;
  makeStageOld(leaveBehind(folder, ".segmask-aB3dE9"), kOverAnHour);
  makeStageOld(leaveBehind(folder, ".segmask-000000"), kOverAnHour);
  { const StagedOutput next(folder.path("out.mp4")); }
  EXPECT_EQ(folder.names(), Names{});
}

TEST(StagedOutput, RemovesWhatKilledProcessesLeftInEachOther) {
  const TempFolder folder;
  const std::string outer = leaveBehind(folder, ".segmask-outer1");
  makeStageOld(leaveBehind(folder, ".segmask-outer1/.segmask-inner1"), kOverAnHour);
  makeStageOld(outer, kOverAnHour);
  const std::string young = leaveBehind(folder, ".segmask-outer2");
  makeStageOld(leaveBehind(folder, ".segmask-outer2/.segmask-inner2"), kOverAnHour - 200);
  makeStageOld(young, kOverAnHour);
  { const StagedOutput next(folder.path("out.mp4")); }
  EXPECT_EQ(folder.names(), Names{".segmask-outer2"});
}

TEST(StagedOutput, LooksForNothingThatWasLeftWhenItIsToldSo) {
  const TempFolder folder;
  makeStageOld(leaveBehind(folder, ".segmask-aB3dE9"), kOverAnHour);
  { const StagedOutput next(folder.path("out.mp4"), StagedOutput::LeftBehind::Leave); }
  EXPECT_EQ(folder.names(), Names{".segmask-aB3dE9"});
}

TEST(StagedOutput, LeavesWhatIsYoung) {
  const TempFolder folder;
  makeStageOld(leaveBehind(folder, ".segmask-young1"), kOverAnHour - 200);
  // Its folder is old, but the file in it has been written to since.
  makeOld(leaveBehind(folder, ".segmask-young2"), kOverAnHour);
  // Made just now, and nothing written yet.
  EXPECT_EQ(mkdir(folder.path(".segmask-young3").c_str(), 0700), 0);
  { const StagedOutput next(folder.path("out.mp4")); }
  EXPECT_EQ(folder.names(), (Names{".segmask-young1", ".segmask-young2", ".segmask-young3"}));
}

TEST(StagedOutput, LeavesWhatALivingProcessHolds) {
  const TempFolder folder;
  StagedOutput living(folder.path("out.mp4"));
  put(living.path(), "half");
  makeOld(living.path(), kOverAnHour);
  makeOld(std::filesystem::path(living.path()).parent_path(), kOverAnHour);
  { const StagedOutput next(folder.path("out.mp4")); }
  EXPECT_EQ(readFile(living.path()), "half");
  EXPECT_FALSE(std::filesystem::exists(folder.path("out.mp4")));
  living.commit();
  EXPECT_EQ(readFile(folder.path("out.mp4")), "half");
}

TEST(StagedOutput, LeavesWhatIsNotItsOwn) {
  const TempFolder folder;
  const std::string elsewhere = leaveBehind(folder, "elsewhere");
  makeStageOld(elsewhere, kOverAnHour);
  std::filesystem::create_directory_symlink("elsewhere", folder.path(".segmask-link01"));
  makeOld(folder.path(".segmask-link01"), kOverAnHour);
  makeOld(folder.write(".segmask-file01", "a file"), kOverAnHour);
  makeStageOld(leaveBehind(folder, ".segmask-toolong"), kOverAnHour);
  makeStageOld(leaveBehind(folder, ".segmosk-aB3dE9"), kOverAnHour);
  const std::string open = leaveBehind(folder, ".segmask-open01");
  EXPECT_EQ(chmod(open.c_str(), 0755), 0);
  makeStageOld(open, kOverAnHour);
  const std::string deep = leaveBehind(folder, ".segmask-deep01");
  std::filesystem::create_directory(deep + "/folder");
  makeOld(deep + "/folder", kOverAnHour);
  makeStageOld(deep, kOverAnHour);
  const Names before = folder.names();
  ASSERT_EQ(before.size(), 7U);
  { const StagedOutput next(folder.path("out.mp4")); }
  EXPECT_EQ(folder.names(), before);
  EXPECT_EQ(readFile(elsewhere + "/out.mp4"), "half");
  EXPECT_EQ(readFile(deep + "/out.mp4"), "half");
}

TEST(StagedOutput, LeavesWhatIsAnotherUsers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder to another user";
  const TempFolder folder;
  const std::string stage = leaveBehind(folder, ".segmask-aB3dE9");
  ASSERT_EQ(chown(stage.c_str(), 12345, 12345), 0);
  makeStageOld(stage, kOverAnHour);
  { const StagedOutput next(folder.path("out.mp4")); }
  EXPECT_EQ(folder.names(), Names{".segmask-aB3dE9"});
}

}  // namespace
}  // namespace segmask
