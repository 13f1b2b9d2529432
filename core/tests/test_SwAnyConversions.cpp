#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <utility>

#include "core/SwAny.h"
#include "core/SwList.h"
#include "test_support/StderrCapture.h"

namespace {

using Strings = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;
using ByteList = SwList<unsigned char>;

template <typename To>
To converted(const SwAny& any) {
  const SwAny result = any.convert(SwAny::typeNameOf<To>());
  return result.get<To>();
}

template <typename To>
To fromText(const SwString& text) {
  return converted<To>(SwAny(text));
}

std::string toText(const SwAny& any) {
  return converted<SwString>(any);
}

class SwAnyConversions : public testing::Test {
 protected:
  // Fills the registry now, so that its line is in no test's captured output.
  void SetUp() override { SwAny::getConversionRules(); }
};

}  // namespace

TEST_F(SwAnyConversions, IntAndTextAndWhatIsNoneGivesZeroWithTheMessage) {
  EXPECT_EQ(toText(7), "7");
  EXPECT_EQ(toText(std::numeric_limits<int>::min()), "-2147483648");
  EXPECT_EQ(fromText<int>(" 0b1_01 "), 5);
  const StderrCapture captured;
  EXPECT_EQ(fromText<int>("abc"), 0);
  EXPECT_EQ(captured.text(), "Invalid int conversion in SwString: abc\n");
}

TEST_F(SwAnyConversions, UnsignedAndTextAndWhatIsNoneGivesZeroSilently) {
  EXPECT_EQ(toText(4294967295U), "4294967295");
  EXPECT_EQ(toText(18446744073709551615UL), "18446744073709551615");
  EXPECT_EQ(fromText<unsigned int>(" 0x10 "), 16U);
  EXPECT_EQ(fromText<unsigned int>("010x"), 8U);
  EXPECT_EQ(fromText<unsigned int>("\v010"), 8U);
  EXPECT_EQ(fromText<unsigned int>("4294967295"), 4294967295U);
  EXPECT_EQ(fromText<unsigned long>("18446744073709551615"), 18446744073709551615UL);
  const StderrCapture captured;
  for (const char* text : {"", "-1", " -5", "abc", "4294967296", "4294967297", "18446744073709551616"}) {
    EXPECT_EQ(fromText<unsigned int>(text), 0U) << text;
  }
  for (const char* text : {"", "-1", " -5", "abc", "18446744073709551616"}) {
    EXPECT_EQ(fromText<unsigned long>(text), 0UL) << text;
  }
  EXPECT_EQ(captured.text(), "");
}

TEST_F(SwAnyConversions, LongAndTextAndWhatIsNoneGivesZeroSilently) {
  EXPECT_EQ(toText(-5L), "-5");
  EXPECT_EQ(fromText<long>("-0x10"), -16);
  EXPECT_EQ(fromText<long>("052"), 42);
  EXPECT_EQ(fromText<long>(" \v+0x10"), 16) << "blanks are the C library's, not trimmed";
  EXPECT_EQ(fromText<long>("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(fromText<long>("1_000"), 1) << "underscores are not removed";
  EXPECT_EQ(fromText<long>("0b11"), 0) << "binary literals are not read";
  const StderrCapture captured;
  for (const char* text : {"", "abc", "9223372036854775808"}) EXPECT_EQ(fromText<long>(text), 0) << text;
  EXPECT_EQ(captured.text(), "");
}

TEST_F(SwAnyConversions, FloatAndText) {
  EXPECT_EQ(toText(0.45F), "0.4499999881");
  EXPECT_EQ(fromText<float>("0.45"), 0.45F);
  EXPECT_EQ(fromText<float>("1e39"), std::numeric_limits<float>::infinity());
  const StderrCapture captured;
  EXPECT_EQ(fromText<float>("x"), 0.0F);
  EXPECT_EQ(captured.text(), "Invalid float conversion in SwString: x\n");
}

TEST_F(SwAnyConversions, DoubleAndText) {
  EXPECT_EQ(toText(0.1), "0.1");
  EXPECT_EQ(toText(1.0 / 3), "0.333333333333333");
  EXPECT_EQ(toText(123456789012345.6), "123456789012346") << "fifteen digits, those before the point too";
  EXPECT_EQ(fromText<double>("1_0.5"), 10.5);
  const StderrCapture captured;
  EXPECT_EQ(fromText<double>("x"), 0.0);
  EXPECT_EQ(captured.text(), "Invalid double conversion in SwString: x\n");
}

TEST_F(SwAnyConversions, BoolAndText) {
  EXPECT_EQ(toText(true), "true");
  EXPECT_EQ(toText(false), "false");
  EXPECT_TRUE(fromText<bool>("true"));
  for (const char* text : {"1", "True", " true", "false", ""}) EXPECT_FALSE(fromText<bool>(text)) << text;
}

TEST_F(SwAnyConversions, ListsAndText) {
  EXPECT_EQ(toText(SwAny::from(Strings{"a", "b"})), "a,b");
  EXPECT_EQ(toText(SwAny::from(Strings{})), "");
  EXPECT_EQ(fromText<Strings>("a,b"), (Strings{"a", "b"}));
  EXPECT_EQ(fromText<Strings>(" a,,b "), (Strings{" a", "", "b "}));
  EXPECT_EQ(toText(SwAny::from(ByteList{0x61, 0x00, 0xFF})), std::string("a\0\xFF", 3));
  EXPECT_EQ(fromText<ByteList>(" \xFF z "), (ByteList{0xFF, 0x20, 0x7A}));
  EXPECT_EQ(fromText<Bytes>(SwString(" a\0\xFF", 4)), (Bytes{0x20, 0x61, 0x00, 0xFF})) << "blanks are kept";
}

TEST_F(SwAnyConversions, StandardStringsAndText) {
  EXPECT_EQ(fromText<std::string>(SwString("a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(toText(std::string("a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(toText("text"), "text");
  EXPECT_EQ(toText(static_cast<const char*>(nullptr)), "");
}

TEST_F(SwAnyConversions, CharPointersShareOneBufferAmongAllThreads) {
  const char* first = fromText<const char*>("first");
  const char* other = nullptr;
  std::thread([&other] { other = fromText<const char*>("other"); }).join();
  EXPECT_EQ(first, other);
  EXPECT_STREQ(first, "other");
}

TEST_F(SwAnyConversions, JsonToCompactText) {
  SwJsonArray array;
  array.append(1);
  array.append(2.0);
  SwJsonObject object;
  object.insert("b", array);
  object.insert("a", "x");
  EXPECT_EQ(toText(array), "[1,2]");
  EXPECT_EQ(toText(object), "{\"a\": \"x\",\"b\": [1,2]}");
  EXPECT_EQ(toText(SwJsonValue(array)), "[1,2]");
  EXPECT_EQ(toText(SwJsonValue(object)), "{\"a\": \"x\",\"b\": [1,2]}");
  EXPECT_EQ(toText(SwJsonValue::ofKind(SwJsonValue::Kind::Object)), "{}");
  EXPECT_EQ(toText(SwJsonValue::ofKind(SwJsonValue::Kind::Array)), "[]");
  // A double has six digits, unlike one by itself, and 1e20 is not the generator's saturated integer.
  const std::pair<SwJsonValue, const char*> cases[] = {
      {"a\"b", "\"a\\\"b\""}, {true, "true"}, {false, "false"},      {-42, "-42"},   {nullptr, "null"},
      {0.45, "0.45"},         {3.0, "3"},     {1.0 / 3, "0.333333"}, {1e20, "1e+20"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(toText(value), text);
}

TEST_F(SwAnyConversions, ToTheHeldTypeIsACopy) {
  const SwAny any = SwString("text");
  const StderrCapture captured;
  const SwAny copy = any.convert(any.typeName());
  EXPECT_EQ(copy.get<SwString>(), "text");
  EXPECT_NE(copy.data(), any.data());
  EXPECT_TRUE(SwAny().convert("").isEmpty());
  EXPECT_EQ(captured.text(), "");
}

TEST_F(SwAnyConversions, WithoutARuleTheMessageNamesBothTypes) {
  const StderrCapture captured;
  EXPECT_TRUE(SwAny(7).convert(SwAny::typeNameOf<SwJsonObject>()).isEmpty());
  EXPECT_EQ(captured.writes(), 1);
  EXPECT_TRUE(SwAny().convert("i").isEmpty());
  EXPECT_EQ(captured.text(),
            "No conversion rule registered from i to 12SwJsonObject\n"
            "No conversion rule registered from  to i\n");
}
