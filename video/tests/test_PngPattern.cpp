#include <gtest/gtest.h>

#include "io/UserError.h"
#include "video/PngPattern.h"

namespace segmask {
namespace {

TEST(PngPattern, NumbersFiles) {
  EXPECT_EQ(PngPattern("a/b_%04d.png").fileName(7), "b_0007.png");
  EXPECT_EQ(PngPattern("b_%04d.png").fileName(123456), "b_123456.png");
  EXPECT_EQ(PngPattern("%d.png").fileName(0), "0.png");
  EXPECT_EQ(PngPattern("f%3ix.png").fileName(5), "f  5x.png");
  EXPECT_EQ(PngPattern("100%%_%d.png").fileName(5), "100%_5.png");
}

TEST(PngPattern, RefusesNamesWithoutExactlyOneIntegerConversion) {
  for (const char* name : {"a.png", "%d/a.png", "%d_%d.png", "%s.png", "%x.png", "%", "a%.png", "%%d.png",
                           "%04.png", "%-4d.png", "%123d.png", "%d%n.png", "%d_%"}) {
    EXPECT_THROW(PngPattern{name}, UserError) << name;
  }
}

TEST(PngPattern, RecognisesTheNamesItMakes) {
  const PngPattern pattern("b_%04d.png");
  EXPECT_TRUE(pattern.matches("b_0007.png"));
  EXPECT_TRUE(pattern.matches("b_12345.png"));
  EXPECT_FALSE(pattern.matches("b_007.png"));
  EXPECT_FALSE(pattern.matches("b_00007.png"));
  EXPECT_FALSE(pattern.matches("b_.png"));
  EXPECT_FALSE(pattern.matches("b_ 007.png"));
  EXPECT_FALSE(pattern.matches("c_0007.png"));
  EXPECT_FALSE(pattern.matches("b_0007.jpg"));
  EXPECT_FALSE(pattern.matches("b_99999999999999999999999.png"));
  EXPECT_TRUE(PngPattern("f%3i.png").matches("f  5.png"));
}

}  // namespace
}  // namespace segmask
