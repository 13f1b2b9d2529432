// What the process chooses as its locale must change nothing in what is read or written.

#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <sstream>

#include "core/SwAny.h"
#include "core/SwJsonDocument.h"
#include "core/number_text.h"

namespace {

class CommaPunctuation : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\1"; }
};

// The C++ library's global locale with a decimal comma and a separator after every digit.
class CommaCxxLocale : public testing::Test {
 protected:
  void SetUp() override {
    std::ostringstream stream;
    stream << 12.5;
    ASSERT_EQ(stream.str(), "1.2,5") << "the locale has no effect";
  }
  void TearDown() override { std::locale::global(previous_); }

 private:
  std::locale previous_ = std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
};

void expectNumbersAsInTheCLocale() {
  double value = 0.0;
  EXPECT_TRUE(sw_number::toDouble("0.25", value));
  EXPECT_EQ(value, 0.25);
  EXPECT_TRUE(sw_number::toDouble("1,5", value));
  EXPECT_EQ(value, 1.0);
  EXPECT_TRUE(SwString("1000.5").parseNumericDouble(value));
  EXPECT_EQ(value, 1000.5);
  EXPECT_EQ(SwString("1234").toInt(nullptr), 1234);

  EXPECT_EQ(SwJsonValue(1234.5).toString(), "1234.500000");
  EXPECT_EQ(SwJsonValue(12345).toString(), "12345");
  EXPECT_EQ(SwAny(1234.5).toString(6), "1234.5");
  EXPECT_EQ(SwAny(1234567L).toString(6), "1234567");

  SwJsonDocument document;
  SwString text;
  SwString error;
  EXPECT_TRUE(document.loadFromJson("[1234567,1234.5,1e3]", error)) << error.str();
  document.generateJson(document.root(), text, false, 0, "");
  EXPECT_EQ(text, "[1234567,1234.5,1000]");
  EXPECT_FALSE(document.loadFromJson("[1?" + SwString(std::string(1234, ' ')), error));
  EXPECT_EQ(error, "Expected ',' or ']' in array (index 2) near \"[1?" + std::string(19, ' ') + "\"");
}

}  // namespace

TEST_F(CommaCxxLocale, ChangesNoNumber) {
  expectNumbersAsInTheCLocale();
}

TEST(CommaCLocale, ChangesNoNumber) {
  const char* chosen = nullptr;
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "es_ES.UTF-8", "ru_RU.UTF-8", "de_DE", "fr_FR"}) {
    chosen = std::setlocale(LC_ALL, name);
    if (chosen != nullptr) break;
  }
  if (chosen == nullptr) GTEST_SKIP() << "no locale with a decimal comma is installed";
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expectNumbersAsInTheCLocale();
  std::setlocale(LC_ALL, "C");
}
