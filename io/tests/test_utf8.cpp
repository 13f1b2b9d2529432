#include <gtest/gtest.h>

#include "io/utf8.h"

namespace segmask {
namespace {

TEST(IsUtf8, TakesCharactersOfEveryLength) {
  for (const char* text :
       {"", "a", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
        "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "a\xC3\xA4z"})
    EXPECT_TRUE(isUtf8(text)) << text;
  EXPECT_TRUE(isUtf8({"\0", 1}));
}

TEST(IsUtf8, RefusesBytesThatAreOfNoCharacter) {
  for (const char* text :
       {"\x80", "a\xFF", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3z", "\xE0\x9F\xBF", "\xE2\x82", "\xED\xA0\x80",
        "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"})
    EXPECT_FALSE(isUtf8(text)) << text;
}

}  // namespace
}  // namespace segmask
