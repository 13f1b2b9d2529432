#include <gtest/gtest.h>

#include <vector>

#include "mask/NearestMapCache.h"

namespace seg_mask {
namespace {

// A map that is still there lies where it lay.
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

TEST_F(MapCache, LetsTheOneGoThatWasUsedLongestAgo) {
  constexpr int kMaps = static_cast<int>(NearestMapCache::kMaps);
  std::vector<const int*> data(1);
  for (int i = 1; i <= kMaps; ++i) data.push_back(dataOf(10 * i));
  dataOf(10);
  dataOf(30);  // so that the second and the fourth are the oldest
  dataOf(10 * (kMaps + 1));
  dataOf(10 * (kMaps + 2));
  std::vector<std::vector<int>> taken;  // the memory of those that went, so that none lies there again
  for (int i = 1; i <= kMaps; ++i) taken.emplace_back(10 * i);
  for (int i = 1; i <= kMaps; ++i) {
    if (i == 2 || i == 4) continue;
    EXPECT_EQ(dataOf(10 * i), data[static_cast<std::size_t>(i)]) << i;
  }
  EXPECT_EQ(cache_.get(20, 20).maskPixels().size(), 20U);
}

}  // namespace
}  // namespace seg_mask
