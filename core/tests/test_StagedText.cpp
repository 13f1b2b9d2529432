#include <gtest/gtest.h>

#include "src/StagedText.h"

namespace {

TEST(StagedText, PiecesShorterAndLongerThanTheRoomKeepTheirOrder) {
  const std::string fits(StagedText::kRoom, 'f');
  const std::string isLonger(StagedText::kRoom + 1, 'l');
  const std::string fillsTheBuffer(1000, 'b');
  StagedText text;
  std::string expected;
  for (const std::string& piece : {std::string("a"), isLonger, std::string(), fits, fillsTheBuffer, fits}) {
    text.append(piece);
    text.append(',');
    expected += piece + ",";
  }
  EXPECT_EQ(text.whole(), expected);
  text.whole() += "added";
  text.append("!");
  EXPECT_EQ(text.whole(), expected + "added!");
}

}  // namespace
