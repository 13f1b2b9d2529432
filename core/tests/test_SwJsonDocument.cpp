#include <gtest/gtest.h>

#include "core/SwJsonDocument.h"
#include "test_support/StderrCapture.h"

TEST(SwJsonDocument, LoadKeepsTheValueAndClearsTheMessageAndAFailedOneResetsTheRoot) {
  SwJsonDocument document;
  SwString error("old");
  EXPECT_TRUE(document.root().isNull()) << "before the first parse";
  EXPECT_TRUE(document.loadFromJson(" {\"a\":1} \n\v", error));
  EXPECT_EQ(error, "");
  EXPECT_EQ(document.object()["a"].integer(), 1);
  EXPECT_FALSE(document.loadFromJson("[1", error));
  EXPECT_EQ(error, "Unterminated JSON array (index 2) near \"[1\"");
  EXPECT_TRUE(document.root().isNull());
}

TEST(SwJsonDocument, TrailingCharactersFailButKeepTheRoot) {
  for (const SwString& text : {SwString("true false"), SwString("true\0", 5)}) {
    SwJsonDocument document;
    SwString error;
    EXPECT_FALSE(document.loadFromJson(text, error));
    EXPECT_EQ(error, "Unexpected characters at the end of JSON.");
    EXPECT_EQ(document.root(), SwJsonValue(true));
  }
}

TEST(SwJsonDocument, ObjectOfAnotherRootIsEmptyWithTheMessage) {
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson("[1]", error));
  const StderrCapture captured;
  EXPECT_TRUE(document.object().empty());
  EXPECT_EQ(captured.text(), "Root is not a JSON object.\n");
  EXPECT_EQ(captured.writes(), 1);
}

TEST(SwJsonDocument, ObjectIsACopy) {
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson("{\"a\":{\"b\":1}}", error));
  SwJsonObject copy = document.object();
  copy.find("a")->object()->insert("b", 2);
  EXPECT_EQ(document.root().object()->find("a")->object()->find("b")->integer(), 1);
}

TEST(SwJsonDocument, TakeRootHandsTheTreeOver) {
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson("{\"a\":[1]}", error));
  const SwJsonObject* object = document.root().object();
  const SwJsonValue root = document.takeRoot();
  EXPECT_EQ(root.object(), object) << "no copy";
  EXPECT_TRUE(document.root().isNull());
}

TEST(SwJsonDocument, TheRootOfATemporaryIsAValue) {
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson("{\"a\":\"a text that needs memory\"}", error));
  static_assert(std::is_same_v<decltype(SwJsonDocument().root()), SwJsonValue>);
  const SwJsonValue& copied = SwJsonDocument(document).root();
  EXPECT_EQ(copied, document.root());
  const SwJsonValue& member = document.object()["a"];
  EXPECT_EQ(member.text(), "a text that needs memory");
  const SwJsonObject* object = document.root().object();
  EXPECT_EQ(std::move(document).root().object(), object) << "moved, not copied";
}

TEST(SwJsonDocument, TheMessageMayReplaceTheTextItself) {
  SwJsonDocument document;
  SwString text("{\"a\":1}");
  EXPECT_TRUE(document.loadFromJson(text, text));
  EXPECT_EQ(text, "");
  EXPECT_EQ(document.object()["a"].integer(), 1);
  text = "[1";
  EXPECT_FALSE(document.loadFromJson(text, text));
  EXPECT_EQ(text, "Unterminated JSON array (index 2) near \"[1\"");
}

TEST(SwJsonDocument, TheMessageMayReplaceTheKeyItself) {
  SwJsonDocument document;
  SwString key("key");
  EXPECT_TRUE(document.loadFromJson("\"" + SwString("hello").encryptAES(key).str() + "\"", key, key));
  EXPECT_EQ(key, "");
  EXPECT_EQ(document.root().text(), "hello");
}
