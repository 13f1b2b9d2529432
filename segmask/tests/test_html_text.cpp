#include <gtest/gtest.h>

#include <clocale>

#include "src/report/html_text.h"

namespace segmask {
namespace {

TEST(HtmlText, LeavesNoMarkup) {
  EXPECT_EQ(htmlText("<script>alert(1)</script>"), "&lt;script&gt;alert(1)&lt;/script&gt;");
  EXPECT_EQ(htmlText(R"(" onload='x' &amp;)"), "&quot; onload=&#39;x&#39; &amp;amp;");
  EXPECT_EQ(htmlText(""), "");
}

TEST(HtmlText, ShowsControlBytesAsTheirPictures) {
  EXPECT_EQ(htmlText(std::string("a\0b\n\x1b\x7f", 6)), "a\u2400b\u240a\u241b\u2421");
  // U+0085 is a control character in two bytes.
  EXPECT_EQ(htmlText("\xC2\x85"), "\uFFFD\uFFFD");
}

TEST(HtmlText, KeepsUtf8AndReplacesOtherBytes) {
  const std::string good = "\u00a0\u07ff\u0800\ud7ff\uffff\U00010000\U0010ffff";
  EXPECT_EQ(htmlText(good), good);
  // A single byte, a character that is cut off, too long a form, a surrogate, one beyond the last.
  EXPECT_EQ(htmlText("\xFF"), "\uFFFD");
  EXPECT_EQ(htmlText("\xE2\x82"), "\uFFFD\uFFFD");
  EXPECT_EQ(htmlText("\xC0\xBC"
                     "b"),
            "\uFFFD\uFFFD"
            "b");
  EXPECT_EQ(htmlText("\xE0\x80\xBC"), "\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(htmlText("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(htmlText("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");
  // The byte that follows a lead is not swallowed.
  EXPECT_EQ(htmlText("\xE2<"), "\uFFFD&lt;");
}

TEST(HtmlText, NumbersHaveTheirUnitsAndAPointInEveryLocale) {
  const char* const locale = std::setlocale(LC_ALL, "de_DE.UTF-8");
  EXPECT_EQ(fixedText(1234.5678, 2), "1234.57");
  EXPECT_EQ(millisecondsText(0.32487), "0.325 ms");
  EXPECT_EQ(countText(1, "frame"), "1 frame");
  EXPECT_EQ(countText(12345, "frame"), "12,345 frames");
  if (locale) std::setlocale(LC_ALL, "C");
}

TEST(HtmlText, TimesHaveMinutesAndHours) {
  EXPECT_EQ(timeText(0), "0:00.00");
  EXPECT_EQ(timeText(75.25), "1:15.25");
  EXPECT_EQ(timeText(59.999), "1:00.00");
  EXPECT_EQ(timeText(3723.5), "1:02:03.50");
  EXPECT_EQ(timeText(-1.5), "-0:01.50");
}

TEST(HtmlText, SizesHaveTheUnitThatFits) {
  EXPECT_EQ(sizeText(1), "1 byte");
  EXPECT_EQ(sizeText(1023), "1,023 bytes");
  EXPECT_EQ(sizeText(1536), "1.5 KiB");
  EXPECT_EQ(sizeText(uint64_t{5} << 40), "5.0 TiB");
}

TEST(HtmlText, Base64HasPadding) {
  EXPECT_EQ(base64Text(""), "");
  EXPECT_EQ(base64Text("a"), "YQ==");
  EXPECT_EQ(base64Text(std::string("\xFF\0\x7F", 3)), "/wB/");
}

}  // namespace
}  // namespace segmask
