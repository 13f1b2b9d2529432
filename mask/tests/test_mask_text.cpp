#include <gtest/gtest.h>

#include <cerrno>

#include "mask/mask_base64.h"
#include "mask/mask_text.h"

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

TEST(MaskText, TheByte0FIsAFirstRowInsideAndASecondOutside) {
  EXPECT_EQ(drawn("SEG1|4|2|Dw=="), "####/....");
}

TEST(MaskText, NoPaddingDecodesTheSame) {
  EXPECT_EQ(drawn("SEG1|4|2|Dw"), "####/....");
}

TEST(MaskText, ABlankInsideDecodesTheSame) {
  EXPECT_EQ(drawn("SEG1|4|2|D w=="), "####/....");
}

TEST(MaskText, ForeignBytesOfAnyValueAreSkipped) {
  EXPECT_EQ(drawn("SEG1|4|2|\r\n-_D\x80\xFF*w"), "####/....");
  EXPECT_EQ(drawn(std::string("SEG1|4|2|D\0w==", 14)), "####/....");
}

TEST(MaskText, DecodingStopsAtTheFirstEqualsSign) {
  EXPECT_EQ(drawn("SEG1|4|2|D=w"), "no mask");
  EXPECT_EQ(drawn("SEG1|4|2|Dw=/"), "####/....");
}

TEST(MaskText, ThreeFieldsAreTooFew) {
  EXPECT_EQ(drawn("SEG1|4|2"), "no mask");
  EXPECT_EQ(drawn("SEG1|4"), "no mask");
  EXPECT_EQ(drawn("SEG1|"), "no mask");
}

TEST(MaskText, AFourthFieldThatIsEmptyHoldsTooLittleData) {
  EXPECT_EQ(drawn("SEG1|4|2|"), "no mask");
}

TEST(MaskText, AFifthFieldIsIgnored) {
  EXPECT_EQ(drawn("SEG1|4|2|Dw==|extra"), "####/....");
  EXPECT_EQ(drawn("SEG1|4|2|Dw|/w"), "####/....");
  EXPECT_EQ(drawn("SEG1|4|2||Dw=="), "no mask");
}

TEST(MaskText, TheTextMustBeginWithThePrefix) {
  EXPECT_EQ(drawn(""), "no mask");
  EXPECT_EQ(drawn("SEG1"), "no mask");
  EXPECT_EQ(drawn("seg1|4|2|Dw=="), "no mask");
  EXPECT_EQ(drawn(" SEG1|4|2|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG12|4|2|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1 4|2|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG2|4|2|Dw==|SEG1|"), "no mask");
  EXPECT_EQ(drawn("null"), "no mask");
}

TEST(MaskText, ASideOf0OrLessIsNotValid) {
  EXPECT_EQ(drawn("SEG1|0|2|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1|4|0|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1|-4|2|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1|-4|-2|Dw=="), "no mask");
}

TEST(MaskText, AWidthOf4xReads4) {
  EXPECT_EQ(drawn("SEG1|4x|2|Dw=="), "####/....");
}

TEST(MaskText, LeadingWhiteSpaceAndASignAreAccepted) {
  EXPECT_EQ(drawn("SEG1| \t+4|\n2 |Dw=="), "####/....");
}

TEST(MaskText, AWidthWithoutDigitsIsDropped) {
  EXPECT_EQ(drawn("SEG1|abc|2|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1||2|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1| |2|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1|4|+|Dw=="), "no mask");
}

TEST(MaskText, ASideOutsideThe32BitRangeIsDropped) {
  EXPECT_EQ(drawn("SEG1|4|99999999999|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1|4|99999999999999999999999|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1|4|2147483648|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1|4294967300|2|Dw=="), "no mask");   // 4 in its low 32 bits
  EXPECT_EQ(drawn("SEG1|-4294967292|2|Dw=="), "no mask");  // 4 again
}

TEST(MaskText, SidesAreDecimalWhateverTheirPrefix) {
  EXPECT_EQ(drawn("SEG1|010|1|/wM="), "##########");
  EXPECT_EQ(drawn("SEG1|0x4|2|Dw=="), "no mask");
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

TEST(MaskText, A3x3MaskNeeds2Bytes) {
  EXPECT_EQ(drawn("SEG1|3|3|/w"), "no mask");       // one byte, FF
  EXPECT_EQ(drawn("SEG1|3|3|/wE"), "###/###/###");  // FF 01
  EXPECT_EQ(drawn("SEG1|3|3|/wA"), "###/###/##.");  // FF 00
}

TEST(MaskText, ExtraDataIsIgnored) {
  EXPECT_EQ(drawn("SEG1|4|2|D/////"), "####/....");
}

TEST(MaskText, BitsAreLeastSignificantFirstAndRowsAreNotPadded) {
  // 5 x 2 = 10 pixels in bytes 0x21, 0x02: bits 0, 5 and 9.
  EXPECT_EQ(drawn("SEG1|5|2|IQI="), "#..../#...#");
}

TEST(MaskText, SidesThatLieAreDropped) {
  EXPECT_EQ(drawn("SEG1|2147483647|2147483647|Dw=="), "no mask");
  EXPECT_EQ(drawn("SEG1|2147483647|1|Dw=="), "no mask");
}

TEST(MaskText, AllOfTheAlphabetDecodes) {
  // The 64 characters in order are the 6-bit numbers 0 to 63: 48 bytes, 384 pixels.
  const std::optional<MaskBits> mask =
      decodeMaskText("SEG1|384|1|ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
  ASSERT_TRUE(mask);
  ASSERT_EQ(mask->bits.size(), 48U);
  for (unsigned group = 0; group < 16; ++group) {
    const unsigned bits =
        ((group * 4U) << 18) | ((group * 4U + 1U) << 12) | ((group * 4U + 2U) << 6) | (group * 4U + 3U);
    EXPECT_EQ(mask->bits[group * 3], (bits >> 16) & 0xFFU);
    EXPECT_EQ(mask->bits[group * 3 + 1], (bits >> 8) & 0xFFU);
    EXPECT_EQ(mask->bits[group * 3 + 2], bits & 0xFFU);
  }
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
