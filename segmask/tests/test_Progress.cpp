#include <fcntl.h>
#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "io/FileDescriptor.h"
#include "src/render/Progress.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class ProgressTest : public ::testing::Test {
 protected:
  int fd() const { return file_.get(); }
  std::string written() const { return readFile(folder_.path("progress")); }

  const Progress::Clock::time_point start_ = Progress::Clock::now();

 private:
  TempFolder folder_;
  FileDescriptor file_{open(folder_.path("progress").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600)};
};

TEST_F(ProgressTest, NoneWritesNothingOfItsOwn) {
  {
    Progress progress(Progress::Style::None, fd(), 100, start_);
    progress.update(50, start_ + seconds(60));
  }
  EXPECT_EQ(written(), "");
}

TEST_F(ProgressTest, LinesComeEveryFiveSeconds) {
  {
    Progress progress(Progress::Style::Lines, fd(), 1000, start_);
    progress.update(1, start_);
    progress.update(40, start_ + milliseconds(4999));
    progress.update(50, start_ + seconds(5));
    progress.update(60, start_ + seconds(9));
    progress.update(200, start_ + seconds(10));
  }
  EXPECT_EQ(written(),
            "segmask: 50 of 1000 frames, 10.0 frames/s, 1:35 left\n"
            "segmask: 200 of 1000 frames, 20.0 frames/s, 0:40 left\n");
}

TEST_F(ProgressTest, TheUnitMayBeAnother) {
  {
    Progress progress(Progress::Style::Lines, fd(), 100, start_, "jobs");
    progress.update(50, start_ + seconds(5));
  }
  EXPECT_EQ(written(), "segmask: 50 of 100 jobs, 10.0 jobs/s, 0:05 left\n");
}

TEST_F(ProgressTest, WithoutATotalOrWithOneThatIsTooSmallThereIsNoTimeLeftAndHoursAreShownAsHours) {
  std::string expected;
  for (const auto& [total, line] :
       {std::pair(std::optional<uint64_t>(), "50 frames, 10.0 frames/s"),
        std::pair(std::optional<uint64_t>(40), "50 frames, 10.0 frames/s"),
        std::pair(std::optional<uint64_t>(100'000), "50 of 100000 frames, 10.0 frames/s, 2:46:35 left")}) {
    Progress progress(Progress::Style::Lines, fd(), total, start_);
    progress.update(50, start_ + seconds(5));
    expected += std::string("segmask: ") + line + "\n";
  }
  EXPECT_EQ(written(), expected);
}

TEST_F(ProgressTest, TheBarIsRedrawnInPlaceAndTakenAwayAtTheEnd) {
  {
    Progress progress(Progress::Style::Bar, fd(), 100, start_);
    progress.update(25, start_ + seconds(1));
    progress.update(26, start_ + milliseconds(1050));
    progress.update(50, start_ + milliseconds(2000));
  }
  EXPECT_EQ(written(),
            "\r\x1b[K[######..................] 25 of 100 frames, 25.0 frames/s, 0:03 left"
            "\r\x1b[K[############............] 50 of 100 frames, 25.0 frames/s, 0:02 left"
            "\r\x1b[K");
}

TEST_F(ProgressTest, LinesOfOthersGoAboveTheBar) {
  Progress progress(Progress::Style::Bar, fd(), std::nullopt, start_);
  progress.printAbove("early");
  progress.update(10, start_ + seconds(1));
  progress.printAbove("late");
  EXPECT_EQ(written(), "early\n\r\x1b[K10 frames, 10.0 frames/s\r\x1b[Klate\n10 frames, 10.0 frames/s");
}

}  // namespace
}  // namespace segmask
