#include <gtest/gtest.h>

#include <cstring>
#include <iomanip>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include "core/SwString.h"
#include "test_support/StderrCapture.h"

namespace {

using Parts = std::vector<SwString>;

const std::string kNul(1, '\0');

int intOf(const SwString& text, bool expectedOk = true) {
  bool ok = !expectedOk;
  const int value = text.toInt(&ok);
  EXPECT_EQ(ok, expectedOk) << text.str();
  return value;
}

double doubleOf(const SwString& text) {
  double value = -77.0;
  EXPECT_TRUE(text.parseNumericDouble(value)) << text.str();
  return value;
}

void expectNoDouble(const SwString& text) {
  double value = -77.0;
  EXPECT_FALSE(text.parseNumericDouble(value)) << text.str();
  EXPECT_EQ(value, -77.0) << "the output of a failed conversion changed";
}

}  // namespace

TEST(SwString, ConvertsFromAndToStandardStrings) {
  const std::string bytes = "a" + kNul + "b";
  const SwString string = bytes;
  const std::string back = string;
  EXPECT_EQ(back, bytes);
  EXPECT_EQ(string.size(), 3U);
  EXPECT_EQ(SwString(bytes.data(), 2).str(), "a" + kNul);
  EXPECT_EQ(SwString(static_cast<const char*>(nullptr)), "");
}

TEST(SwString, IsReadInPlace) {
  const SwString string = "a" + kNul + "b";
  EXPECT_EQ(std::memcmp(string.data(), "a\0b", 4), 0);
  EXPECT_TRUE(string != "a");
  EXPECT_FALSE(string != SwString("a" + kNul + "b"));
}

TEST(SwString, ConcatenationKeepsNulBytes) {
  EXPECT_EQ((SwString("a" + kNul) + "b").str(), "a" + kNul + "b");
  SwString string("x");
  string += "y";
  string += 'z';
  string.append(2, '!').append("abc", 1);
  EXPECT_EQ(string, "xyz!!a");
}

TEST(SwString, ACharIsAddedAtEitherEndAndNoOtherNumberIsTakenForOne) {
  const SwString string("b");
  EXPECT_EQ(string + 'c', "bc");
  EXPECT_EQ('a' + string, "ab");
  EXPECT_EQ(("x" + string + '\0' + "y").str(), "xb" + kNul + "y");
  // A null pointer still counts as the empty string, and so does the literal 0.
  EXPECT_EQ(string + nullptr, "b");
  EXPECT_EQ(string + 0, "b");  // NOLINT(modernize-use-nullptr): the literal is what is meant
}

TEST(SwString, AtIsTheByteAndThrowsPastTheEnd) {
  const SwString string("abc");
  EXPECT_EQ(string.at(2), 'c');
  for (const auto& [position, message] :
       {std::pair<std::size_t, std::string>{3, "SwString::at: position 3 is not below the size 3"},
        {std::string::npos, "SwString::at: position 18446744073709551615 is not below the size 3"}}) {
    try {
      string.at(position);
      FAIL() << position;
    } catch (const std::out_of_range& error) {
      EXPECT_EQ(error.what(), message);
    }
  }
  EXPECT_THROW(SwString().at(0), std::out_of_range);
}

TEST(SwString, IsEmptyUnderBothNames) {
  EXPECT_TRUE(SwString().isEmpty());
  EXPECT_TRUE(SwString().empty());
  EXPECT_FALSE(SwString(kNul).isEmpty());
}

TEST(SwString, IsWrittenToAStreamWithAllBytesInTheStreamsWidth) {
  std::ostringstream out;
  out << SwString("a" + kNul + "b") << '|' << std::setw(4) << std::setfill('.') << SwString("x") << '|'
      << SwString();
  EXPECT_EQ(out.str(), "a" + kNul + "b|...x|");
}

TEST(SwString, HashesAsTheStandardStringWithTheSameBytes) {
  const std::string bytes = "a" + kNul + "b";
  EXPECT_EQ(std::hash<SwString>()(bytes), std::hash<std::string>()(bytes));
  const std::unordered_set<SwString> set{"a", bytes, "a"};
  EXPECT_EQ(set.size(), 2U);
  EXPECT_EQ(set.count(bytes), 1U);
}

TEST(SwString, OrderComparesBytesAsUnsigned) {
  EXPECT_TRUE(SwString("z") < SwString("\xC3"));
  EXPECT_FALSE(SwString("\xC3") < SwString("z"));
}

TEST(SwString, TrimmedDropsBlanksTabsCrAndLfAndNothingElse) {
  EXPECT_EQ(SwString(" \t\r\n x y \n\r\t ").trimmed(), "x y");
  EXPECT_EQ(SwString("\v\v\v").trimmed(), "\v\v\v");
  EXPECT_EQ(SwString(" \fx\f ").trimmed(), "\fx\f");
  EXPECT_EQ(SwString(" \t\n\r").trimmed(), "");
}

TEST(SwString, MidIsEmptyOutsideTheStringAndTheRestForANegativeOrTooLargeLength) {
  const SwString string("abcde");
  for (const int outside : {-1, 5, 10}) EXPECT_EQ(string.mid(outside, 3), "") << outside;
  EXPECT_EQ(string.mid(2, -1), "cde");
  EXPECT_EQ(string.mid(1, 3), "bcd");
  EXPECT_EQ(string.mid(3, std::numeric_limits<int>::max()), "de");
  EXPECT_EQ(string.mid(1, 0), "");
}

TEST(SwString, ArgFillsTheFirstPlaceholderWhateverItsDigitAndNothingElse) {
  EXPECT_EQ(SwString("value %1 of %2").arg("a"), "value a of %2");
  EXPECT_EQ(SwString("value %1 of %2").arg("a").arg("b"), "value a of b");
  EXPECT_EQ(SwString("%2 %1").arg("a"), "a %1");
  EXPECT_EQ(SwString("%10").arg("a"), "a0");
  EXPECT_EQ(SwString("100%").arg("a"), "100%");
  EXPECT_EQ(SwString("%x %%").arg("a"), "%x %%");
  EXPECT_EQ(SwString("%%1").arg("a"), "%a");
}

TEST(SwString, SplitKeepsEmptyPartsExceptTheLast) {
  EXPECT_EQ(SwString("a,,b").split(','), (Parts{"a", "", "b"}));
  EXPECT_EQ(SwString("a,b,").split(','), (Parts{"a", "b"}));
  EXPECT_EQ(SwString(",").split(','), (Parts{""}));
  EXPECT_EQ(SwString("").split(','), Parts{});
  EXPECT_EQ(SwString("ab").split(','), (Parts{"ab"}));
}

TEST(SwString, ToIntReadsEveryBaseAndIgnoresTrailingBytesOfAPlainNumber) {
  const std::pair<const char*, int> cases[] = {
      {"42", 42},       {" 42 ", 42},     {"4_2", 42},   {"0x2A", 42}, {"0X2a", 42}, {"052", 42},
      {"0b101010", 42}, {"0B101010", 42}, {"+42", 42},   {"-0b1", -1}, {"+0b1", 1},  {"+0x2A", 42},
      {"+052", 42},     {"-0x10", -16},   {"12abc", 12}, {"0x", 0},    {"09", 0}};
  for (const auto& [text, value] : cases) EXPECT_EQ(intOf(text), value) << text;
  EXPECT_EQ(intOf("2147483647"), 2147483647);
  EXPECT_EQ(intOf("-2147483648"), std::numeric_limits<int>::min());
}

/// "_ 0b1" has nothing to trim and so becomes " 0b1", which is no binary literal but a 0 and bytes after it;
/// the blank that the underscore kept from being trimmed in "0b1 _" is no digit of one.
TEST(SwString, NumbersAreTrimmedFirstAndFreedFromUnderscoresThen) {
  EXPECT_EQ(intOf("_ 42"), 42);
  EXPECT_EQ(intOf("_ 0b1"), 0);
  EXPECT_EQ(doubleOf("_ 42"), 42.0);
  EXPECT_EQ(doubleOf("_ 0b1"), 0.0);
  EXPECT_EQ(doubleOf("0b1 _"), 0.0);
  const StderrCapture captured;
  EXPECT_EQ(intOf("0b1 _", false), 0);
}

TEST(SwString, ToIntFailsWithTheMessageAndTheOriginalText) {
  const StderrCapture captured;
  EXPECT_EQ(intOf(" 2147483648_", false), 0);
  EXPECT_EQ(captured.text(), "Invalid int conversion in SwString:  2147483648_\n");
  EXPECT_EQ(captured.writes(), 1);
  EXPECT_GE(captured.flushes(), 1);
}

TEST(SwString, ToIntFailsWithoutANumber) {
  const StderrCapture captured;
  for (const char* text :
       {"", "+", "-", "_", "abc", "0b", "0b2", "-0b", "0b12", "0b1 1", "-2147483649", "9223372036854775808",
        "99999999999999999999", "0b1111111111111111111111111111111111111111111111111111111111111111"}) {
    EXPECT_EQ(intOf(text, false), 0) << text;
  }
}

TEST(SwString, ToIntTakesANullVerdict) {
  const StderrCapture captured;
  EXPECT_EQ(SwString("7").toInt(nullptr), 7);
  EXPECT_EQ(captured.text(), "");
  EXPECT_EQ(SwString("x").toInt(nullptr), 0);
  EXPECT_EQ(captured.text(), "Invalid int conversion in SwString: x\n");
}

TEST(SwString, ParseNumericDoubleReadsIntegersOfEveryBaseAndElseFloatingPoint) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::pair<const char*, double> cases[] = {
      {"1.5", 1.5},        {"1_000.5", 1000.5}, {" 1e3x ", 1000.0}, {"-2.5E-1", -0.25}, {"+1.5", 1.5},
      {"+1e3", 1000.0},    {"0x10", 16.0},      {"010", 8.0},       {"-0b101", -5.0},   {"+0b101", 5.0},
      {"+0x10", 16.0},     {"+010", 8.0},       {"+12abc", 12.0},   {"12abc", 12.0},    {"inf", kInfinity},
      {"+inf", kInfinity}, {"0b", 0.0},         {"0b12", 0.0}};  // the number at the literal's start
  for (const auto& [text, value] : cases) EXPECT_EQ(doubleOf(text), value) << text;
  for (const char* text : {"99999999999999999999", "+99999999999999999999"}) EXPECT_EQ(doubleOf(text), 1e20);
}

TEST(SwString, ParseNumericDoubleReadsAHexadecimalWithAnEAsFloatingPoint) {
  EXPECT_EQ(doubleOf("0x1e"), 30.0);
  EXPECT_EQ(doubleOf("0x1Ep1"), 60.0) << "an exponent of 2 counts";
  EXPECT_EQ(doubleOf("0x1p1"), 1.0) << "without an e, what follows the integer does not";
  EXPECT_EQ(doubleOf("0xFF"), 255.0);
}

TEST(SwString, ParseNumericDoubleRefusesWithoutAMessage) {
  const StderrCapture captured;
  for (const char* text : {"", " \t", "_", "abc", "1e400", "1e-400", ".", "e5"}) expectNoDouble(text);
  expectNoDouble("0b1" + std::string(64, '0'));
  EXPECT_EQ(captured.text(), "");
}

TEST(SwString, ToFloatNarrowsAndToDoubleDoesNotAndBothReportFailure) {
  const StderrCapture captured;
  EXPECT_EQ(SwString("0.45").toFloat(), 0.45F);
  EXPECT_EQ(SwString("1e300").toFloat(), std::numeric_limits<float>::infinity());
  EXPECT_EQ(SwString("0.45").toDouble(), 0.45);
  EXPECT_EQ(captured.text(), "");
  EXPECT_EQ(SwString(" x").toFloat(), 0.0F);
  EXPECT_EQ(SwString("").toDouble(), 0.0);
  EXPECT_EQ(captured.text(),
            "Invalid float conversion in SwString:  x\nInvalid double conversion in SwString: \n");
}

TEST(SwString, TheBytesOfATemporaryAreAValue) {
  static_assert(std::is_same_v<decltype(SwString().str()), std::string>);
  SwString string(" a text that needs memory ");
  const std::string& trimmed = string.trimmed().str();
  EXPECT_EQ(trimmed, "a text that needs memory");
  const char* bytes = string.data();
  EXPECT_EQ(std::move(string).str().data(), bytes) << "moved, not copied";
}
