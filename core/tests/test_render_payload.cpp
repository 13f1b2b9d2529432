#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <tuple>

#include "core/render_payload.h"
#include "test_support/StderrCapture.h"

using render_payload::anyToJsonObject;

namespace {

/// A host's payload: an object it converts to, and a text.
struct Detections {
  SwJsonObject object;
  std::string text;
};

SwJsonObject objectWithA() {
  SwJsonObject object;
  object.insert("a", 1);
  return object;
}

void expectRuntimeError(const SwAny& payload, const std::string& message) {
  try {
    anyToJsonObject(payload);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), message);
  }
}

class RenderPayload : public testing::Test {
 protected:
  void SetUp() override {
    SwAny::registerMetaType<Detections>();
    SwAny::registerConversion<Detections, SwJsonObject>(
        [](const Detections& source) { return source.object; });
    SwAny::registerConversion<Detections, SwString>([](const Detections& source) { return source.text; });
  }
};

}  // namespace

TEST_F(RenderPayload, AHeldObjectIsCopiedAndTakenOutOfAPayloadThatIsGivenUp) {
  SwAny payload = objectWithA();
  SwJsonObject object = anyToJsonObject(payload);
  EXPECT_EQ(object, objectWithA());
  object.insert("a", 2);
  EXPECT_EQ(payload.get<SwJsonObject>(), objectWithA());
  const SwJsonValue* member = payload.get<SwJsonObject>().find("a");
  object = anyToJsonObject(std::move(payload));
  EXPECT_EQ(object, objectWithA());
  EXPECT_EQ(object.find("a"), member) << "the member itself, not a copy";
}

TEST_F(RenderPayload, APayloadThatIsGivenUpGoesTheSameWays) {
  EXPECT_EQ(anyToJsonObject(SwAny::from(Detections{objectWithA(), "{}"})), objectWithA());
  EXPECT_EQ(anyToJsonObject(SwAny::from(Detections{SwJsonObject(), "{\"b\": 2}"}))["b"].integer(), 2);
  EXPECT_EQ(anyToJsonObject(SwAny(SwString("{\"a\": 1}")))["a"].integer(), 1);
  EXPECT_TRUE(anyToJsonObject(SwAny(SwJsonObject())).empty());
  EXPECT_TRUE(anyToJsonObject(SwAny()).empty());
  EXPECT_THROW(anyToJsonObject(SwAny::fromVoidPtr(SwAny::typeNameOf<SwJsonObject>(), nullptr)),
               std::runtime_error);
}

/// In a process of its own, because it replaces the library's conversion.
TEST_F(RenderPayload, AnEmptyHeldObjectLeavesTheTextItsChance) {
  const auto exitWithMembersOfTheText = [] {
    SwAny::registerConversion<SwJsonObject, SwString>(
        [](const SwJsonObject&) { return SwString("{\"from\": \"text\", \"two\": 2}"); });
    std::exit(static_cast<int>(anyToJsonObject(SwJsonObject()).size()));
  };
  EXPECT_EXIT(exitWithMembersOfTheText(), testing::ExitedWithCode(2), "");
}

TEST_F(RenderPayload, AConvertibleTypeIsConvertedAndAnEmptyObjectLeavesTheTextItsChance) {
  const SwAny converted = SwAny::from(Detections{objectWithA(), "{\"from\": \"text\"}"});
  EXPECT_EQ(anyToJsonObject(converted), objectWithA());
  const SwAny empty = SwAny::from(Detections{SwJsonObject(), "{\"b\": 2}"});
  const SwJsonObject object = anyToJsonObject(empty);
  EXPECT_EQ(object.size(), 1U);
  EXPECT_EQ(object["b"].integer(), 2);
}

TEST_F(RenderPayload, TextThatIsAnObjectIsParsedAndAJsonValueGoesThroughItsText) {
  const std::string text = "{\"a\": 1}";
  for (const SwAny& payload :
       {SwAny(SwString(text)), SwAny(text), SwAny(text.c_str()), SwAny(SwJsonValue(objectWithA()))}) {
    EXPECT_EQ(anyToJsonObject(payload), objectWithA()) << payload.typeName();
  }
}

TEST_F(RenderPayload, OtherPayloadsAreEmptyWithoutAMessage) {
  SwAny::getConversionRules();
  const StderrCapture captured;
  for (const char* text : {"null", "1", "\"{}\"", "{\"a\":1} x", "{\"a\":"}) {
    EXPECT_TRUE(anyToJsonObject(SwString(text)).empty()) << text;
  }
  EXPECT_TRUE(anyToJsonObject(SwAny()).empty());
  EXPECT_TRUE(anyToJsonObject(SwAny(7)).empty());
  EXPECT_TRUE(anyToJsonObject(SwAny(0.5)).empty());
  EXPECT_TRUE(anyToJsonObject(std::vector<unsigned char>{1}).empty());
  EXPECT_TRUE(anyToJsonObject(SwAny::fromVoidPtr("nobody's", nullptr)).empty());
  EXPECT_EQ(captured.text(), "");
}

TEST_F(RenderPayload, WhatGivesAnotherTypeOrHasNoStorageThrows) {
  const auto nullObject = [] { return SwAny::fromVoidPtr(SwAny::typeNameOf<SwJsonObject>(), nullptr); };
  const std::tuple<const char*, SwAny::Converter, const char*> cases[] = {
      {"gives an int", [](const SwAny&) { return SwAny(7); }, "Type mismatch in SwAny::get"},
      {"gives nothing", [](const SwAny&) { return SwAny(); }, "Type mismatch in SwAny::get"},
      {"gives a name", [&](const SwAny&) { return nullObject(); }, "Null storage in SwAny::get"}};
  expectRuntimeError(nullObject(), "Null storage in SwAny::get");
  for (const auto& [type, converter, message] : cases) {
    SwAny::registerConverter(type, SwAny::typeNameOf<SwJsonObject>(), converter);
    expectRuntimeError(SwAny::fromVoidPtr(type, nullptr), message);
  }
}
