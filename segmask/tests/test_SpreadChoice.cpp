#include <gtest/gtest.h>

#include "src/report/SpreadChoice.h"

namespace segmask {
namespace {

struct Picture {
  uint64_t frame = 0;
};

std::vector<uint64_t> pickOf(uint64_t frames, std::size_t count) {
  SpreadChoice<Picture> choice;
  for (uint64_t frame = 0; frame < frames; ++frame) {
    if (choice.wants(frame)) choice.add({frame});
  }
  std::vector<uint64_t> picked;
  for (const Picture* picture : choice.pick(count)) picked.push_back(picture->frame);
  return picked;
}

using Frames = std::vector<uint64_t>;

TEST(SpreadChoice, PicksAllWhenThereAreFewAndAsManyAsAreWanted) {
  EXPECT_EQ(pickOf(0, 4), Frames{});
  EXPECT_EQ(pickOf(1, 4), (Frames{0}));
  EXPECT_EQ(pickOf(4, 4), (Frames{0, 1, 2, 3}));
  EXPECT_EQ(pickOf(100, 0), Frames{});
  EXPECT_EQ(pickOf(100, 1).size(), 1U);
}

TEST(SpreadChoice, SpreadsOverTheWholeVideoWhateverItsLength) {
  for (const uint64_t frames : {8U, 9U, 10U, 17U, 100U, 1000U, 100'000U}) {
    const Frames picked = pickOf(frames, 4);
    ASSERT_EQ(picked.size(), 4U) << frames;
    EXPECT_EQ(picked[0], 0U);
    EXPECT_GE(picked[3], frames * 2 / 3) << frames;
    for (int i = 0; i < 3; ++i) {
      const std::size_t at = static_cast<std::size_t>(i);
      EXPECT_GE(picked[at + 1] - picked[at], frames / 8) << frames;
      EXPECT_LE(picked[at + 1] - picked[at], frames / 2) << frames;
    }
  }
}

}  // namespace
}  // namespace segmask
