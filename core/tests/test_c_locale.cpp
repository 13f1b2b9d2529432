// What the process chooses as its locale must change nothing in what is read or written, and no byte's class.

#include <gtest/gtest.h>
#include <locale.h>

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <locale>
#include <sstream>
#include <thread>
#include <utility>

#include "core/SwAny.h"
#include "core/number_text.h"
#include "core/swcfg.h"
#include "test_support/StderrCapture.h"
#include "tests/json_text.h"

namespace {

using json_text::generated;

constexpr const char* kComma = "de_DE.UTF-8";
constexpr const char* kLatin = "de_DE.ISO-8859-1";
constexpr const char* kHowToGetThem =
    "the system lacks this test's locale: run scripts/bootstrap, which makes it";

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double parsedDouble(const std::string& text) {
  double value = -1.0;
  return SwString(text).parseNumericDouble(value) ? value : -1.0;
}

std::string errorOf(const SwString& json) {
  SwJsonDocument document;
  SwString error;
  return document.loadFromJson(json, error) ? "none" : error.str();
}

template <typename To>
To convertedTo(const SwAny& any) {
  const SwAny converted = any.convert(SwAny::typeNameOf<To>());
  return converted.get<To>();
}

void expectStringsReadNumbers() {
  double value = 0.0;
  EXPECT_TRUE(sw_number::toDouble("0.25", value));
  EXPECT_EQ(value, 0.25);
  EXPECT_TRUE(sw_number::toDouble("1,5", value));
  EXPECT_EQ(value, 1.0);
  EXPECT_FALSE(sw_number::toDouble(",5", value));

  const std::pair<const char*, double> numbers[] = {
      {"1000.5", 1000.5}, {"1_000.5", 1000.5},  {"-2.5e-1", -0.25},
      {"1,5", 1.0},       {"1.234.567", 1.234}, {"1e-310", -1.0}};  // out of range, the C library says
  for (const auto& [text, number] : numbers) EXPECT_EQ(parsedDouble(text), number) << text;
  EXPECT_EQ(SwString("1234567").toInt(nullptr), 1234567);
  EXPECT_EQ(SwString("1.234").toInt(nullptr), 1);
  EXPECT_EQ(SwString("0.75").toFloat(), 0.75F);
  EXPECT_EQ(SwString("inf").toDouble(), kInfinity);
}

void expectJsonReadsNumbers() {
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson("[1234567,-0.25,1e3,1.5E+2,-9223372036854775808]", error)) << error.str();
  const SwJsonArray& numbers = *document.root().array();
  EXPECT_EQ(numbers[0].integer(), 1234567);
  EXPECT_EQ(numbers[1].number(), -0.25);
  EXPECT_EQ(numbers[2].number(), 1000.0);
  EXPECT_EQ(numbers[3].number(), 150.0);
  EXPECT_EQ(numbers[4].integer(), std::numeric_limits<int64_t>::min());

  EXPECT_EQ(errorOf("1e-310"), "Invalid floating-point number (index 0) near \"1e-310\"");
  EXPECT_EQ(errorOf("[1e400]"), "Invalid floating-point number (index 1) near \"[1e400]\"");
  EXPECT_EQ(errorOf("1,5"), "Unexpected characters at the end of JSON.");
  EXPECT_EQ(errorOf("1.,5"), "Expected digit after decimal point (index 2) near \"1.,5\"");
}

void expectJsonWritesNumbers() {
  SwJsonArray numbers;
  for (const double number : {1234.5, 0.1, 1e-7, -1234567.5, 12345678901.0, 1e300}) numbers.append(number);
  numbers.append(1234567);
  EXPECT_EQ(generated(numbers), "[1234.5,0.1,1e-07,-1.23457e+06,12345678901,9223372036854775807,1234567]");

  EXPECT_EQ(SwJsonValue(1234567.5).toString(), "1234567.500000");
  EXPECT_EQ(SwJsonValue(0.45).toString(), "0.450000");
  EXPECT_EQ(SwJsonValue(-1234567).toString(), "-1234567");
}

void expectKeyedDocumentsKeepNumbers() {
  const SwString key = "key";
  SwJsonObject object;
  object.insert("double", 1234.5);
  object.insert("int", 1234567);
  object.insert("text", "1234.25");
  object.insert("texts", "1,5");
  const auto encrypted = [&key](const char* plain) { return SwString(plain).encryptAES(key).str(); };
  const std::string text = generated(object, key);
  EXPECT_EQ(text, "{\"double\": " + encrypted("1234.5") + ",\"int\": " + encrypted("1234567") +
                      ",\"text\": \"" + encrypted("1234.25") + "\",\"texts\": \"" + encrypted("1,5") + "\"}");

  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson(text, error, key)) << error.str();
  const SwJsonObject read = document.object();
  EXPECT_EQ(read["double"], SwJsonValue(1234.5));
  EXPECT_EQ(read["int"], SwJsonValue(1234567));
  EXPECT_EQ(read["text"], SwJsonValue(1234.25));
  EXPECT_EQ(read["texts"], SwJsonValue("1,5"));
}

void expectAnyWritesNumbers() {
  const std::pair<SwAny, const char*> texts[] = {{1234567, "1234567"},
                                                 {4000000000U, "4000000000"},
                                                 {-1234567890123L, "-1234567890123"},
                                                 {18446744073709551615UL, "18446744073709551615"},
                                                 {0.45F, "0.4499999881"},
                                                 {1234567.25, "1234567.25"},
                                                 {true, "true"},
                                                 {SwJsonValue(1234.5), "1234.5"},
                                                 {SwJsonValue(1234567), "1234567"}};
  for (const auto& [number, text] : texts) EXPECT_EQ(convertedTo<SwString>(number), text);
  SwJsonArray array;
  array.append(1234.5);
  EXPECT_EQ(convertedTo<SwString>(array), "[1234.5]");

  EXPECT_EQ(SwAny(1234567.0).toString(3), "1.23e+06");
  EXPECT_EQ(SwAny(1234567.0).toString(6), "1.23457e+06");
  EXPECT_EQ(SwAny(1234567.5).toString(15), "1234567.5");
  EXPECT_EQ(SwAny(0.0625F).toString(10), "0.0625");
  EXPECT_EQ(SwAny(1234567L).toString(6), "1234567");
}

void expectAnyReadsNumbers() {
  EXPECT_EQ(convertedTo<int>(SwString("1234567")), 1234567);
  EXPECT_EQ(convertedTo<unsigned int>(SwString(" 4000000000")), 4000000000U);
  EXPECT_EQ(convertedTo<long>(SwString("-1234567890123")), -1234567890123L);
  EXPECT_EQ(convertedTo<unsigned long>(SwString("18446744073709551615")), 18446744073709551615UL);
  EXPECT_EQ(convertedTo<unsigned long>(SwString("1.234")), 1UL);
  EXPECT_EQ(convertedTo<float>(SwString("1234.5")), 1234.5F);
  EXPECT_EQ(convertedTo<float>(SwString("1,5")), 1.0F);
  EXPECT_EQ(convertedTo<double>(SwString("1234.5")), 1234.5);
  EXPECT_EQ(convertedTo<double>(SwString("1.234.567")), 1.234);
}

void expectMessagesCountPlainly() {
  const std::string blanks(20, ' ');
  EXPECT_EQ(errorOf(std::string(1234567, ' ') + "?"),
            "Invalid JSON token (index 1234567) near \"" + blanks + "?\"");
}

/// In Latin-1, 0xE4 is a letter, 0xA0 a blank, 0x85 the end of a line and 0xB2 a raised digit; WideClasses
/// calls them so, and the C library the first.
void expectClassesOfBytes() {
  EXPECT_EQ(errorOf("true\xE4"), "Unexpected characters at the end of JSON.");
  EXPECT_EQ(errorOf("null\xE4"), "Unexpected characters at the end of JSON.");
  for (const std::string blank : {"\xA0", "\x85"}) {
    EXPECT_EQ(errorOf(blank + "1"), "Invalid JSON token (index 0) near \"" + blank + "1\"");
    EXPECT_EQ(errorOf("1" + blank), "Unexpected characters at the end of JSON.");
    EXPECT_EQ(SwString(blank + "x" + blank).trimmed(), blank + "x" + blank);
    EXPECT_EQ(parsedDouble(blank + "1.5"), -1.0);
    EXPECT_EQ(convertedTo<long>(SwString(blank + "7")), 0);
    const StderrCapture captured;
    EXPECT_EQ(SwString(blank + "7").toInt(nullptr), 0);
    EXPECT_EQ(captured.text(), "Invalid int conversion in SwString: " + blank + "7\n");

    SwJsonObject object;
    object.insert(blank + "a", 1);
    SwJsonValue value;
    EXPECT_TRUE(swcfg::getValue(object, " " + blank + "a ", value)) << "the blank belongs to the name";
    EXPECT_FALSE(swcfg::getValue(object, "a", value));
  }
  EXPECT_EQ(SwString("%\xB2%1").arg("x"), "%\xB2x");
  EXPECT_EQ(errorOf("-\xB2"), "Expected digit in number literal (index 1) near \"-\xB2\"");
}

void expectOrderOfBytes() {
  EXPECT_TRUE(SwString("Z") < SwString("a"));
  EXPECT_TRUE(SwString("z") < SwString("\xE4"));
  EXPECT_EQ(SwString("\xE4;\xC4;a").split(';'), (std::vector<SwString>{"\xE4", "\xC4", "a"}));
  EXPECT_EQ(SwString("\xC3\xA4x").mid(1, 2), "\xA4x");
  SwJsonObject object;
  for (const char* key : {"\xE4", "b", "A", "a", "B"}) object.insert(key, 1);
  EXPECT_EQ(generated(object), "{\"A\": 1,\"B\": 1,\"a\": 1,\"b\": 1,\"\xE4\": 1}");
  EXPECT_EQ(SwJsonValue::escapeString("\xA0\xE4\x85/\x7F"), "\xA0\xE4\x85/\x7F");
}

void expectAllAsInTheCLocale() {
  expectStringsReadNumbers();
  expectJsonReadsNumbers();
  expectJsonWritesNumbers();
  expectKeyedDocumentsKeepNumbers();
  expectAnyWritesNumbers();
  expectAnyReadsNumbers();
  expectMessagesCountPlainly();
  expectClassesOfBytes();
  expectOrderOfBytes();
}

class CommaPunctuation : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\1"; }
};

/// A locale's classes of bytes, with Latin-1's beside those of ASCII.
class WideClasses : public std::ctype<char> {
 public:
  WideClasses() : std::ctype<char>(table_) {
    std::copy_n(classic_table(), table_size, table_);
    table_[0xE4] = alpha | lower | print;
    table_[0xA0] = table_[0x85] = space;
    table_[0xB2] = digit | print;
  }

 private:
  mask table_[table_size] = {};
};

std::string written(double number) {
  std::ostringstream stream;
  stream << number;
  return stream.str();
}

/// Gives the process its locales back.
class Locales : public testing::Test {
 protected:
  void TearDown() override {
    std::locale::global(previous_);
    std::setlocale(LC_ALL, "C");
  }

 private:
  std::locale previous_;
};

bool isInstalled(const char* name) {
  const locale_t locale = newlocale(LC_ALL_MASK, name, nullptr);
  if (!locale) return false;
  freelocale(locale);
  return true;
}

[[noreturn]] void exitAfterTakingTheEnvironmentsLocale() {
  EXPECT_STREQ(std::setlocale(LC_ALL, ""), std::getenv("LC_ALL"));
  std::locale::global(std::locale(""));
  EXPECT_EQ(written(0.5), "0,5") << "the locale has no effect";
  expectAllAsInTheCLocale();
  std::fflush(nullptr);
  std::_Exit(testing::Test::HasFailure() ? 1 : 0);
}

using CommaCLocale = Locales;
using CommaCxxLocale = Locales;
using LatinCLocale = Locales;

}  // namespace

TEST_F(CommaCxxLocale, ChangesNothing) {
  const std::locale comma(std::locale::classic(), new CommaPunctuation);
  std::locale::global(std::locale(comma, new WideClasses));
  ASSERT_EQ(written(12.5), "1.2,5") << "the locale has no effect";
  ASSERT_TRUE(std::isspace('\xA0', std::locale())) << "the locale has no effect";
  expectAllAsInTheCLocale();
}

TEST_F(CommaCLocale, ChangesNothing) {
  ASSERT_TRUE(isInstalled(kComma)) << kHowToGetThem << " (" << kComma << ")";
  std::setlocale(LC_ALL, kComma);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expectAllAsInTheCLocale();
}

TEST_F(CommaCLocale, ChangesNothingTogetherWithTheCxxLocale) {
  ASSERT_TRUE(isInstalled(kComma)) << kHowToGetThem << " (" << kComma << ")";
  std::setlocale(LC_ALL, kComma);
  std::locale::global(std::locale(kComma));
  ASSERT_EQ(written(12345.5), "12.345,5") << "the locale has no effect";
  expectAllAsInTheCLocale();
}

TEST_F(CommaCLocale, ChangesNothingAsOneThreadsOwn) {
  ASSERT_TRUE(isInstalled(kComma)) << kHowToGetThem << " (" << kComma << ")";
  const locale_t comma = newlocale(LC_ALL_MASK, kComma, nullptr);
  std::thread([comma] {
    uselocale(comma);
    EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    expectAllAsInTheCLocale();
    uselocale(LC_GLOBAL_LOCALE);
  }).join();
  freelocale(comma);
}

TEST_F(LatinCLocale, ChangesNothing) {
  ASSERT_TRUE(isInstalled(kLatin)) << kHowToGetThem << " (" << kLatin << ")";
  std::setlocale(LC_ALL, kLatin);
  ASSERT_NE(std::isalpha(0xE4), 0) << "the locale has no effect";
  expectAllAsInTheCLocale();
}

/// A process that is started with the locale in its environment and takes it before it first uses the
/// library.
TEST(LocaleOfTheEnvironmentDeathTest, ChangesNothing) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const char* name : {kComma, kLatin}) {
    ASSERT_TRUE(isInstalled(name)) << kHowToGetThem << " (" << name << ")";
    setenv("LC_ALL", name, 1);
    EXPECT_EXIT(exitAfterTakingTheEnvironmentsLocale(), testing::ExitedWithCode(0), "");
  }
  unsetenv("LC_ALL");
}
