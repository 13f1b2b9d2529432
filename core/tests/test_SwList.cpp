#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "core/SwList.h"

TEST(SwList, AppendsAndReads) {
  SwList<std::string> list;
  EXPECT_TRUE(list.isEmpty());
  EXPECT_TRUE(list.empty());
  list.append("a");
  EXPECT_FALSE(list.empty());
  list.append("b");
  EXPECT_EQ(list.size(), 2U);
  EXPECT_EQ(list.at(1), "b");
  EXPECT_THROW(list.at(2), std::out_of_range);
  EXPECT_EQ(list, (SwList<std::string>{"a", "b"}));
  EXPECT_NE(list, (SwList<std::string>{"a"}));
}

TEST(SwList, CopiesAreIndependent) {
  SwList<unsigned char> list{1, 2};
  const SwList<unsigned char> copy = list;
  list.clear();
  EXPECT_TRUE(list.isEmpty());
  EXPECT_EQ(copy.size(), 2U);
}

TEST(SwList, TakesARange) {
  const std::string bytes = "\x01\xFF";
  const SwList<unsigned char> list(bytes.begin(), bytes.end());
  EXPECT_EQ(list, (SwList<unsigned char>{1, 255}));
}

TEST(SwList, AnElementOfATemporaryIsAValue) {
  using Texts = SwList<std::string>;
  static_assert(std::is_same_v<decltype(Texts().at(0)), std::string>);
  Texts texts{"a text that needs memory"};
  const std::string& copied = Texts(texts).at(0);
  EXPECT_EQ(copied, "a text that needs memory");
  EXPECT_THROW(Texts(texts).at(1), std::out_of_range);
  const char* bytes = texts.at(0).data();
  EXPECT_EQ(std::move(texts).at(0).data(), bytes) << "moved, not copied";
}
