#include <gtest/gtest.h>

#include <vector>

#include "src/NearestMapCache.h"

namespace seg_mask_overlay {
namespace {

// The maps of one frame pixel for each mask pixel are told apart by their lengths; a map that is still there
// lies where it lay.
class MapCache : public testing::Test {
 protected:
  const int* dataOf(int dimension) { return cache_.get(dimension, dimension).maskPixels().data(); }

  NearestMapCache cache_;
};

TEST_F(MapCache, GivesTheMapOfBothDimensions) {
  EXPECT_EQ(cache_.get(2, 4).maskPixels(), (std::vector<int>{0, 0, 1, 1}));
  EXPECT_EQ(cache_.get(4, 2).maskPixels(), (std::vector<int>{0, 2}));
  EXPECT_EQ(cache_.get(2, 2).maskPixels(), (std::vector<int>{0, 1}));
  EXPECT_EQ(cache_.get(2, 4).maskPixels(), (std::vector<int>{0, 0, 1, 1}));
}

TEST_F(MapCache, KeepsAsManyAsItSays) {
  std::vector<const int*> data;
  for (std::size_t i = 1; i <= NearestMapCache::kMaps; ++i) data.push_back(dataOf(static_cast<int>(i)));
  for (std::size_t i = 1; i <= NearestMapCache::kMaps; ++i) {
    EXPECT_EQ(dataOf(static_cast<int>(i)), data[i - 1]) << i;
  }
}

// A map that is made anew takes the place of the one that was used longest ago; the others stay where they
// are.
TEST_F(MapCache, LetsTheOneGoThatWasUsedLongestAgo) {
  constexpr int kMaps = static_cast<int>(NearestMapCache::kMaps);
  std::vector<const int*> data(1);
  for (int i = 1; i <= kMaps; ++i) data.push_back(dataOf(100 * i));
  dataOf(100);  // so that the second one is the oldest
  dataOf(100 * (kMaps + 1));
  EXPECT_EQ(dataOf(100), data[1]);
  for (int i = 3; i <= kMaps; ++i) EXPECT_EQ(dataOf(100 * i), data[static_cast<std::size_t>(i)]) << i;
  EXPECT_EQ(cache_.get(200, 200).maskPixels().size(), 200U);
}

}  // namespace
}  // namespace seg_mask_overlay
