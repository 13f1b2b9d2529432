#include <gtest/gtest.h>

#include "io/UserError.h"
#include "src/NamePattern.h"

namespace segmask {
namespace {

TEST(NamePattern, FieldsAreReadFromTheName) {
  const NamePattern pattern("m_{frame}_{category}_{instance}.png");
  const std::optional<MaskFileName> name = pattern.match("m_0012_traffic_light_3.png");
  ASSERT_TRUE(name);
  EXPECT_EQ(name->frame, "0012");
  EXPECT_EQ(name->category, "traffic_light");
  EXPECT_EQ(name->instance, "3");
  EXPECT_EQ(name->image, "");
}

TEST(NamePattern, ANameThatDoesNotFitIsNone) {
  const NamePattern pattern("{frame}.png");
  EXPECT_TRUE(pattern.match("7.png"));
  for (const char* name :
       {"7xpng", ".png", "a.png", "7.png.png", "7a.png", "-7.png", "1234567890123456789.png"}) {
    EXPECT_FALSE(pattern.match(name)) << name;
  }
}

TEST(NamePattern, OtherBytesStandForThemselves) {
  EXPECT_TRUE(NamePattern("(a+b)*[{image}]^$.png").match("(a+b)*[cat]^$.png"));
  EXPECT_EQ(NamePattern("{image}.png").match("a.b.png")->image, "a.b");
}

std::string refusal(const std::string& pattern) {
  try {
    NamePattern made(pattern);
  } catch (const UserError& error) {
    return error.what();
  }
  return "nothing was wrong";
}

TEST(NamePattern, RefusesPatternsThatNameNoFrameOrOneTwice) {
  EXPECT_EQ(refusal("x.png"), "--pattern: 'x.png' has to have either {frame} or {image}");
  EXPECT_EQ(refusal("{frame}{image}"), "--pattern: '{frame}{image}' has to have either {frame} or {image}");
  EXPECT_EQ(refusal("{frame}{frame}"), "--pattern: '{frame}{frame}' has {frame} twice");
  EXPECT_EQ(
      refusal("{frame}{id}"),
      "--pattern: '{frame}{id}' has {id}, and there are only {frame}, {image}, {instance} and {category}");
}

}  // namespace
}  // namespace segmask
