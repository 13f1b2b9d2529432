#include <gtest/gtest.h>

#include <cerrno>

#include "mask/mask_base64.h"
#include "mask/mask_text.h"
#include "test_support/scene.h"

namespace seg_mask {
namespace {

/// The decoded mask as rows of '#' (inside) and '.', or "no mask".
std::string drawn(const std::string& text) {
  const std::optional<MaskBits> mask = decodeMaskText(text);
  if (!mask) return "no mask";
  std::string rows;
  for (int y = 0; y < mask->height; ++y) {
    if (y > 0) rows += '/';
    for (int x = 0; x < mask->width; ++x) {
      rows += mask->inside(static_cast<std::size_t>(y * mask->width + x)) ? '#' : '.';
    }
  }
  return rows;
}

TEST(MaskText, WhatIsUnusualAndStillTheByte0FIsAFirstRowInsideAndASecondOutside) {
  std::vector<std::string> texts = scene::oddMaskTexts();
  texts.insert(texts.end(), {"SEG1|4|2|\r\n-_D\x80\xFF*w",         // foreign bytes of any value are skipped
                             "SEG1|4|2|Dw=/",                      // the first '=' ends the data
                             "SEG1|4|2|Dw|/w", "SEG1|4|2|D/////",  // more than is needed is ignored
                             "SEG1| \t+4|\n2 |Dw=="});             // white space and a sign
  for (const std::string& text : texts) EXPECT_EQ(drawn(text), "####/....") << text;
}

TEST(MaskText, WhatHasABadPrefixFieldDimensionOrTooLittleDataIsNoMask) {
  std::vector<std::string> texts = scene::brokenMaskTexts();
  texts.insert(texts.end(),
               {"SEG12|4|2|Dw==", "SEG1 4|2|Dw==", "SEG2|4|2|Dw==|SEG1|",  // the prefix is whole and in front
                "SEG1|4", "SEG1|4|+|Dw==", "SEG1|4|2147483648|Dw==", "SEG1|4|99999999999999999999999|Dw==",
                "SEG1|2147483647|1|Dw==", "SEG1|4|2|D=w"});
  for (const std::string& text : texts) EXPECT_EQ(drawn(text), "no mask") << text;
}

TEST(MaskText, DimensionsAreDecimalWhateverTheirPrefix) {
  EXPECT_EQ(drawn("SEG1|010|1|/wM="), "##########");
}

TEST(MaskText, ErrnoIsAsItWas) {
  errno = 1234;
  EXPECT_EQ(drawn("SEG1|4|99999999999999999999999|Dw=="), "no mask");
  EXPECT_EQ(errno, 1234);
  EXPECT_EQ(drawn("SEG1|4|2|Dw=="), "####/....");
  EXPECT_EQ(errno, 1234);
  errno = ERANGE;
  EXPECT_EQ(drawn("SEG1|4|2|Dw=="), "####/....");
  EXPECT_EQ(errno, ERANGE);
}

TEST(MaskText, BitsAreLeastSignificantFirstAndRowsAreNotPadded) {
  // 5 x 2 = 10 pixels in bytes 0x21, 0x02: bits 0, 5 and 9.
  EXPECT_EQ(drawn("SEG1|5|2|IQI="), "#..../#...#");
}

// --- why a text is no mask

using Field = MaskTextFault::Field;
using Problem = MaskTextFault::Problem;

void expectFault(const std::string& text, Field field, Problem problem) {
  MaskTextFault fault;
  EXPECT_FALSE(decodeMaskText(text, &fault)) << text;
  EXPECT_EQ(fault.field, field) << text;
  EXPECT_EQ(fault.problem, problem) << text;
}

TEST(MaskTextFault, NamesTheFirstFieldThatIsMissing) {
  expectFault("", Field::Prefix, Problem::Missing);
  expectFault("SEG2|4|2|Dw==", Field::Prefix, Problem::Missing);
  expectFault("SEG1|4", Field::Height, Problem::Missing);
  expectFault("SEG1|4|2", Field::Data, Problem::Missing);
}

TEST(MaskTextFault, NamesTheDimensionAndWhatIsWrongWithIt) {
  expectFault("SEG1|x|2|Dw==", Field::Width, Problem::NotANumber);
  expectFault("SEG1||2|Dw==", Field::Width, Problem::NotANumber);
  expectFault("SEG1|4294967300|2|Dw==", Field::Width, Problem::OutOfRange);
  expectFault("SEG1|99999999999999999999|2|Dw==", Field::Width, Problem::OutOfRange);
  expectFault("SEG1|0|2|Dw==", Field::Width, Problem::NotPositive);
  expectFault("SEG1|4|-2|Dw==", Field::Height, Problem::NotPositive);
}

TEST(MaskTextFault, SaysHowMuchDataIsNeededAndPresent) {
  MaskTextFault fault;
  EXPECT_FALSE(decodeMaskText("SEG1|3|3|Dw==", &fault));
  EXPECT_EQ(fault.field, Field::Data);
  EXPECT_EQ(fault.problem, Problem::TooShort);
  EXPECT_EQ(fault.neededBytes, 2U);
  EXPECT_EQ(fault.presentBytes, 1U);
  EXPECT_EQ(fault.width, 3);
  EXPECT_EQ(fault.height, 3);
  EXPECT_FALSE(decodeMaskText("SEG1|2147483647|2147483647|AAAA A=", &fault));
  EXPECT_EQ(fault.neededBytes, 576460751766552577U);  // (2^31 - 1)^2 bits
  EXPECT_EQ(fault.presentBytes, 3U);
}

// --- in an arena

TEST(MaskTextRoom, IsEnoughForTheMaskAndNothingForATextWithoutValidDimensions) {
  EXPECT_EQ(maskTextRoom("SEG1|4|2|Dw=="), 1 + kBase64Slack);
  EXPECT_EQ(maskTextRoom("SEG1|60000|60000|Dw=="), 3 + kBase64Slack);  // no more than the text can hold
  EXPECT_EQ(maskTextRoom("SEG1|0|2|Dw=="), 0U);
  EXPECT_EQ(maskTextRoom("SEG1|4|2"), 0U);
  EXPECT_EQ(maskTextRoom(std::string(10'000, 'A')), 0U);
}

TEST(MaskText, InAnArenaTheMaskTakesItsBytesAndARefusedOneTakesNone) {
  const std::string text = "SEG1|4|6|DwD/";
  MaskArena arena;
  arena.beginFrame(2 * maskTextRoom(text));
  uint8_t* const start = arena.allocate(0);
  EXPECT_FALSE(decodeMaskText("SEG1|5|5|DwD/ ====", arena));
  const std::optional<MaskView> mask = decodeMaskText(text, arena);
  ASSERT_TRUE(mask);
  EXPECT_EQ(mask->bits, start);
  EXPECT_EQ(mask->size, 3U);
  EXPECT_EQ(std::vector<uint8_t>(mask->bits, mask->bits + 3), (std::vector<uint8_t>{0x0F, 0x00, 0xFF}));
  EXPECT_EQ(arena.allocate(0), start + 3);
}

}  // namespace
}  // namespace seg_mask
