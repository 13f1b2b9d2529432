#include <gtest/gtest.h>

#include "core/swcfg.h"

namespace {

/// {"alpha": 1, "a": {"b": {"c": 2}}, "text": "t"}
SwJsonObject sample() {
  SwJsonObject b;
  b.insert("c", 2);
  SwJsonObject a;
  a.insert("b", b);
  SwJsonObject root;
  root.insert("alpha", 1);
  root.insert("a", a);
  root.insert("text", "t");
  return root;
}

void expectFound(const std::string& path, const SwJsonValue& expected) {
  SwJsonValue out("untouched");
  EXPECT_TRUE(swcfg::getValue(sample(), path, out)) << path;
  EXPECT_EQ(out, expected) << path;
}

void expectMissing(const std::string& path) {
  SwJsonValue out("untouched");
  EXPECT_FALSE(swcfg::getValue(sample(), path, out)) << path;
  EXPECT_EQ(out.text(), "untouched") << path;
}

}  // namespace

TEST(SwCfg, SlashesAndBackslashesSeparateAndBlanksAndEmptyNamesDoNotCount) {
  expectFound(" alpha ", 1);
  for (const char* path : {"\t\n\v\f\r a \t/ b/c ", "a\\b\\c", "a\\b/c", "/a//b/ /c/"}) expectFound(path, 2);
  SwJsonObject b;
  b.insert("c", 2);
  expectFound("a/b", b);
}

TEST(SwCfg, APathWithoutANameAndAMissingNameFindNothing) {
  for (const char* path : {"", "/", "//", " ", " / \\ "}) expectMissing(path);
  for (const char* path : {"b", "a/x", "a/x/c", "Alpha", "al pha"}) expectMissing(path);
}

TEST(SwCfg, OnlyObjectsCanBePassedThrough) {
  expectMissing("alpha/x");
  expectMissing("text/x");
  SwJsonObject root;
  root.insert("bare", SwJsonValue::ofKind(SwJsonValue::Kind::Object));
  SwJsonValue out;
  EXPECT_FALSE(swcfg::getValue(root, "bare/x", out));
  EXPECT_TRUE(swcfg::getValue(root, "bare", out));
}

TEST(SwCfg, TheResultMayStandInsideTheObject) {
  SwJsonObject root = sample();
  EXPECT_TRUE(swcfg::getValue(root, "a/b", *root.find("a")));
  EXPECT_EQ(root.find("a")->object()->find("c")->integer(), 2);
}
