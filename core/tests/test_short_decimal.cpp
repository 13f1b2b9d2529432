#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "src/short_decimal.h"

namespace {

/// The text; "left alone" for a number that write() leaves to others.
std::string written(double value) {
  std::array<char, short_decimal::kMostBytes> text{};
  const char* end = short_decimal::write(value, text.data());
  return end ? std::string(static_cast<const char*>(text.data()), end) : "left alone";
}

/// What the C library writes; the process has its "C" locale.
std::string expected(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%g", value);
  return text.data();
}

/// Expects the C library's text or none, and gives whether there was one.
bool agrees(double value) {
  const std::string text = written(value);
  if (text == "left alone") return false;
  EXPECT_EQ(text, expected(value));
  return true;
}

double fromBits(uint64_t bits) {
  double value = 0.0;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

}  // namespace

TEST(ShortDecimal, SixDigitsWithoutZerosAtTheEnd) {
  EXPECT_EQ(written(0.5), "0.5");
  EXPECT_EQ(written(-0.45), "-0.45");
  EXPECT_EQ(written(1.0 / 3), "0.333333");
  EXPECT_EQ(written(-2.0 / 3), "-0.666667");
  EXPECT_EQ(written(0.000123456789), "0.000123457");
  EXPECT_EQ(written(-0.000123456789), "-0.000123457");
  EXPECT_EQ(written(12.05), "12.05");
  EXPECT_EQ(written(1000.0001), "1000");
  EXPECT_EQ(written(999999.25), "999999");
  EXPECT_EQ(written(7.0), "7");
}

TEST(ShortDecimal, WhatTakesMoreCareIsLeftAlone) {
  for (const double value :
       {0.00009, 999999.75, 99.9999999, 1e6, 1e300, 0.0, 1234.565, 100000.5,
        std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity(), std::nan("")}) {
    EXPECT_EQ(written(value), "left alone") << value;
    EXPECT_EQ(written(-value), "left alone") << value;
  }
}

TEST(ShortDecimal, AgreesWithTheCLibraryOnRandomNumbers) {
  constexpr unsigned kSeed = 21;
  std::mt19937_64 random(kSeed);
  int count = 0;
  for (int round = 0; round < 200000; ++round) {
    // Exponents from 2^-16 to 2^21, around those that are written here.
    const uint64_t exponent = 1023 - 16 + random() % 37;
    const double value = fromBits(random() >> 63 << 63 | exponent << 52 | random() >> 12);
    if (agrees(value)) ++count;
    if (agrees(static_cast<float>(value))) ++count;
  }
  EXPECT_GT(count, 250000);
}

/// Halves of the last digit, their neighbours, and the powers of ten, where rounding or the form changes.
TEST(ShortDecimal, AgreesWithTheCLibraryAroundTheMiddlesAndThePowersOfTen) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (int places = 0; places <= 10; ++places) {
    const double power = std::pow(10.0, places);
    for (const double digits : {99999.5, 100000.0, 100000.5, 123456.5, 123457.5, 500000.0, 999998.5, 999999.0,
                                999999.5, 1000000.0}) {
      double below = digits / power;
      double above = below;
      for (int step = 0; step < 100; ++step) {
        agrees(below);
        agrees(-above);
        below = std::nextafter(below, 0.0);
        above = std::nextafter(above, infinity);
      }
    }
  }
}
