#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

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

/// A value of a type whose only conversion, to SwJsonObject, is `converter`.
SwAny convertibleThrough(const std::string& typeName, SwAny::Converter converter) {
  SwAny::registerConverter(typeName, SwAny::typeNameOf<SwJsonObject>(), std::move(converter));
  return SwAny::fromVoidPtr(typeName, nullptr);
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

TEST_F(RenderPayload, AHeldObjectIsCopied) {
  const SwAny payload = objectWithA();
  SwJsonObject object = anyToJsonObject(payload);
  EXPECT_EQ(object, objectWithA());
  object.insert("a", 2);
  EXPECT_EQ(payload.get<SwJsonObject>(), objectWithA());
}

TEST_F(RenderPayload, AHeldObjectIsTakenOutOfAPayloadThatIsGivenUp) {
  SwAny payload = objectWithA();
  const SwJsonValue* member = payload.get<SwJsonObject>().find("a");
  const SwJsonObject object = anyToJsonObject(std::move(payload));
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

TEST_F(RenderPayload, AnEmptyHeldObjectIsEmptyThroughItsText) {
  EXPECT_TRUE(anyToJsonObject(SwJsonObject()).empty());
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

TEST_F(RenderPayload, AConvertibleTypeIsConverted) {
  EXPECT_EQ(anyToJsonObject(SwAny::from(Detections{objectWithA(), "{\"from\": \"text\"}"})), objectWithA());
}

TEST_F(RenderPayload, AnEmptyConvertedObjectLeavesTheTextItsChance) {
  const SwJsonObject object = anyToJsonObject(SwAny::from(Detections{SwJsonObject(), "{\"b\": 2}"}));
  EXPECT_EQ(object.size(), 1U);
  EXPECT_EQ(object["b"].integer(), 2);
}

TEST_F(RenderPayload, TextThatIsAnObjectIsParsed) {
  for (const SwAny& payload : {SwAny(SwString("{\"detections\": []}")),
                               SwAny(std::string("{\"detections\": []}")), SwAny("{\"detections\": []}")}) {
    const SwJsonObject object = anyToJsonObject(payload);
    EXPECT_EQ(object.size(), 1U);
    EXPECT_TRUE(object["detections"].isArray());
  }
}

TEST_F(RenderPayload, AJsonValueGoesThroughItsText) {
  EXPECT_EQ(anyToJsonObject(SwJsonValue(objectWithA())), objectWithA());
}

TEST_F(RenderPayload, ATextFormOfAnArrayOrOfNoJsonGivesAnEmptyObject) {
  const StderrCapture captured;
  EXPECT_TRUE(anyToJsonObject(SwString("[1,2]")).empty());
  EXPECT_TRUE(anyToJsonObject(SwString("hello")).empty());
  EXPECT_EQ(captured.text(), "");
}

TEST_F(RenderPayload, AnEmptyTextFormGivesAnEmptyObject) {
  const StderrCapture captured;
  EXPECT_TRUE(anyToJsonObject(SwString("")).empty());
  EXPECT_EQ(captured.text(), "");
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

TEST_F(RenderPayload, AnObjectWithoutStorageThrows) {
  expectRuntimeError(SwAny::fromVoidPtr(SwAny::typeNameOf<SwJsonObject>(), nullptr),
                     "Null storage in SwAny::get");
}

TEST_F(RenderPayload, AConversionToAnotherTypeThrows) {
  expectRuntimeError(convertibleThrough("gives an int", [](const SwAny&) { return SwAny(7); }),
                     "Type mismatch in SwAny::get");
  expectRuntimeError(convertibleThrough("gives nothing", [](const SwAny&) { return SwAny(); }),
                     "Type mismatch in SwAny::get");
}

TEST_F(RenderPayload, AConversionWithoutStorageThrows) {
  expectRuntimeError(
      convertibleThrough(
          "gives a name alone",
          [](const SwAny&) { return SwAny::fromVoidPtr(SwAny::typeNameOf<SwJsonObject>(), nullptr); }),
      "Null storage in SwAny::get");
}
