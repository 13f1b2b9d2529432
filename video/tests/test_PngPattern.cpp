#include <gtest/gtest.h>

#include <tuple>

#include "io/UserError.h"
#include "video/PngPattern.h"

namespace segmask {
namespace {

TEST(PngPattern, NumbersFiles) {
  const std::tuple<const char*, uint64_t, const char*> cases[] = {{"a/b_%04d.png", 7, "b_0007.png"},
                                                                  {"b_%04d.png", 123456, "b_123456.png"},
                                                                  {"%d.png", 0, "0.png"},
                                                                  {"f%3ix.png", 5, "f  5x.png"},
                                                                  {"100%%_%d.png", 5, "100%_5.png"}};
  for (const auto& [pattern, number, name] : cases) EXPECT_EQ(PngPattern(pattern).fileName(number), name);
}

TEST(PngPattern, RefusesNamesWithoutExactlyOneIntegerConversion) {
  for (const char* name : {"a.png", "%d/a.png", "%d_%d.png", "%s.png", "%x.png", "%", "a%.png", "%%d.png",
                           "%04.png", "%-4d.png", "%123d.png", "%d%n.png", "%d_%"}) {
    EXPECT_THROW(PngPattern{name}, UserError) << name;
  }
}

TEST(PngPattern, RecognisesTheNamesItMakes) {
  const PngPattern pattern("b_%04d.png");
  for (const char* name : {"b_0007.png", "b_12345.png"}) EXPECT_TRUE(pattern.matches(name)) << name;
  for (const char* name : {"b_007.png", "b_00007.png", "b_.png", "b_ 007.png", "c_0007.png", "b_0007.jpg",
                           "b_99999999999999999999999.png"}) {
    EXPECT_FALSE(pattern.matches(name)) << name;
  }
  EXPECT_TRUE(PngPattern("f%3i.png").matches("f  5.png"));
}

}  // namespace
}  // namespace segmask
