// Floating-point numbers are read with the C library's verdicts and written with the C++ streams' digits,
// whatever does the work.

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>

#include "core/SwAny.h"
#include "core/SwJsonDocument.h"

namespace {

constexpr unsigned kSeed = 4;

/// What the JSON parser makes of a number, or of its refusal, must be what strtod does.
void expectReadAsByStrtod(const std::string& token) {
  errno = 0;
  const double expected = std::strtod(token.c_str(), nullptr);
  const bool inRange = errno != ERANGE;
  SwJsonDocument document;
  SwString error;
  ASSERT_EQ(document.loadFromJson(token, error), inRange) << token << ": " << error.str();
  if (!inRange) return;
  ASSERT_TRUE(document.root().isDouble()) << token;
  ASSERT_EQ(document.root().number(), expected) << token;
  ASSERT_EQ(std::signbit(document.root().number()), std::signbit(expected)) << token;
}

std::string streamed(double value, int precision) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream << std::setprecision(precision) << value;
  return stream.str();
}

double randomBits(std::mt19937_64& random) {
  const uint64_t bits = random();
  double value = 0.0;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

const double kExtremes[] = {
    0.0, -0.0, 0.1, -1.5, 1e-5, 0.0001, 123456.5, 1e6, 1e15, 1e21, std::numeric_limits<double>::max(),
    -std::numeric_limits<double>::max(), std::numeric_limits<double>::min(),
    // The longest there is: 767 digits.
    std::nextafter(2.0 * std::numeric_limits<double>::min(), 0.0), std::numeric_limits<double>::denorm_min(),
    -std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity(),
    -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN(),
    -std::numeric_limits<double>::quiet_NaN()};

}  // namespace

TEST(DoubleText, AtTheEndsOfTheRangeAndHalfwayTheVerdictIsStrtods) {
  for (const char* token :
       {"2.2250738585072014e-308", "2.2250738585072013e-308", "2.2250738585072012e-308",
        "2.22507385850720113605740979670913197593481954635164564e-308", "2.2250738585072011e-308",
        "2.225073858507201e-308", "2.2250738585072019e-308", "1e-310", "1.5e-323", "4.9406564584124654e-324",
        "2.4703282292062327e-324", "2e-324", "1e-400", "-1e-310", "0.0", "-0.0", "0e5", "0.0e-999",
        "2.2250738585072014e-308000",
        // The largest number.
        "1.7976931348623157e308", "1.7976931348623158e308", "1.7976931348623159e308",
        "1.797693134862315807e308", "1.797693134862315808e308", "-1.8e308", "1e309",
        "0.17976931348623157e309", "1e99999999999999999999", "1e-99999999999999999999",
        // Halfway between two numbers.
        "9007199254740993.0", "9007199254740992.5", "9007199254740993.00000000000000000001",
        "0.500000000000000166533453693773481063544750213623046875", "5e-1", "3.518437208883201171875e13",
        "62.5364939768271845828"}) {
    expectReadAsByStrtod(token);
  }
}

TEST(DoubleText, RandomNumbersAreReadAsByStrtod) {
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 50000; ++i) {
    const double value = randomBits(random);
    if (!std::isfinite(value)) continue;
    char token[64];
    std::snprintf(token, sizeof(token), "%.*e", static_cast<int>(1 + random() % 20), value);
    ASSERT_NO_FATAL_FAILURE(expectReadAsByStrtod(token)) << "seed " << kSeed << ", number " << i;
  }
}

TEST(DoubleText, ExtremesAreWrittenAsByAStreamAtEveryPrecision) {
  for (const double value : kExtremes) {
    for (const int precision :
         {INT_MIN, -7, -1, 0, 1, 2, 6, 10, 15, 17, 40, 100, 308, 325, 700, 766, 767, 768, 1100, 2000}) {
      EXPECT_EQ(SwAny(value).toString(precision), streamed(value, precision)) << precision;
    }
  }
}

TEST(DoubleText, RandomNumbersAreWrittenAsByAStream) {
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 50000; ++i) {
    const double value = i % 2 == 0 ? randomBits(random) : static_cast<double>(random() % 2000000) / 1000.0;
    const int precision = static_cast<int>(random() % 20);
    ASSERT_EQ(SwAny(value).toString(precision), streamed(value, precision))
        << "seed " << kSeed << ", number " << i;
  }
}

TEST(DoubleText, PlainTextIsPrintfs) {
  for (const double value : kExtremes) {
    char expected[400];
    std::snprintf(expected, sizeof(expected), "%f", value);
    EXPECT_EQ(SwJsonValue(value).toString(), expected);
  }
}
