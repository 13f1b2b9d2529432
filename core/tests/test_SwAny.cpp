#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <tuple>

#include "core/SwAny.h"
#include "core/SwFlagSet.h"
#include "core/SwJsonDocument.h"
#include "core/SwList.h"
#include "core/flags.h"
#include "test_support/StderrCapture.h"

namespace {

/// A host's type: counts its objects and can refuse to be copied.
struct Payload {
  explicit Payload(int number) : value(number) { ++alive; }
  Payload(const Payload& other) : value(other.value) {
    if (refuseCopies) throw std::runtime_error("refused");
    ++alive;
  }
  Payload& operator=(const Payload&) = delete;
  ~Payload() { --alive; }

  int value;
  static inline int alive = 0;
  static inline bool refuseCopies = false;
};

struct Unregistered {
  int value = 1;
};

template <typename Operation>
void expectRuntimeError(Operation operation, const std::string& message) {
  try {
    operation();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), message);
  }
}

class SwAnyPayload : public testing::Test {
 protected:
  void SetUp() override { SwAny::registerMetaType<Payload>(); }
  void TearDown() override {
    Payload::refuseCopies = false;
    EXPECT_EQ(Payload::alive, 0) << "an object leaked or was destroyed twice";
  }
};

void expectEmpty(const SwAny& any) {
  EXPECT_TRUE(any.isEmpty());
  EXPECT_EQ(any.typeName(), "");
  EXPECT_EQ(any.data(), nullptr);
}

template <typename T>
void expectHolds(const T& value) {
  const SwAny any = SwAny::from(value);
  EXPECT_EQ(any.typeName(), typeid(T).name());
  EXPECT_EQ(any.get<T>(), value);
  const SwAny copy(any);
  EXPECT_EQ(copy.get<T>(), value);
  EXPECT_NE(copy.data(), any.data());
  SwAny moved(copy);
  const SwAny target(std::move(moved));
  EXPECT_EQ(target.get<T>(), value);
  expectEmpty(moved);  // NOLINT(bugprone-use-after-move): the state it promises
  SwAny assigned(copy);
  moved = std::move(assigned);
  EXPECT_EQ(moved.get<T>(), value) << "a moved-from value can be used again";
  expectEmpty(assigned);  // NOLINT(bugprone-use-after-move): the state it promises
}

}  // namespace

TEST(SwAny, IsEmptyByDefault) {
  expectEmpty(SwAny());
  EXPECT_EQ(SwAny().toString(6), "");
}

TEST(SwAny, HoldsEveryInlineKind) {
  expectHolds(true);
  expectHolds(-7);
  expectHolds(-7L);
  expectHolds(0.5F);
  expectHolds(0.5);
  expectHolds(7U);
  expectHolds(7UL);
  expectHolds<const char*>("text");
  expectHolds(std::string("a text that is too long for the string's own buffer"));
  expectHolds(std::vector<unsigned char>{1, 2, 255});
}

TEST(SwAny, HoldsEveryRegisteredMetaType) {
  expectHolds(SwString("text"));
  expectHolds(SwJsonValue(1));
  SwJsonObject object;
  object.insert("a", 1);
  expectHolds(object);
  SwJsonArray array;
  array.append(1);
  expectHolds(array);
  expectHolds(std::vector<std::string>{"a", "b"});
  expectHolds(SwList<unsigned char>{1, 2});
  expectHolds(SwFlagSet<DrawTextFormat>());
  expectHolds(SwFlagSet<DrawTextFormat>{DrawTextFormat::Top});
  expectHolds(SwFlagSet<WindowFlag>{WindowFlag::FixedSize});
  expectHolds(SwFlagSet<EntryType>{EntryType::File});
  EXPECT_NE(SwAny::from(SwJsonDocument()).data(), nullptr);
}

TEST(SwAny, ConvertsImplicitlyFromExactTypesOnly) {
  EXPECT_EQ(SwAny(7).typeName(), "i");
  EXPECT_EQ(SwAny("text").typeName(), "PKc");
  EXPECT_EQ(SwAny(SwString("text")).typeName(), "8SwString");
  EXPECT_FALSE((std::is_constructible_v<SwAny, short>));
  EXPECT_FALSE((std::is_constructible_v<SwAny, int*>));
}

TEST(SwAny, ConstCharPointerIsNotOwnedAndSurvivesCopyAndConvert) {
  const char* text = "text";
  const SwAny any(text);
  EXPECT_EQ(any.get<const char*>(), text);
  EXPECT_EQ(SwAny(any).get<const char*>(), text);
  const SwAny same = any.convert(SwAny::typeNameOf<const char*>());
  EXPECT_EQ(same.get<const char*>(), text) << "the very pointer";
  const SwAny string = any.convert(SwAny::typeNameOf<SwString>());
  const SwAny back = string.convert(SwAny::typeNameOf<const char*>());
  EXPECT_STREQ(back.get<const char*>(), "text");
  EXPECT_NE(back.get<const char*>(), text) << "the library's buffer";
}

TEST(SwAny, GetOfAnotherTypeThrows) {
  const SwAny any(7);
  expectRuntimeError([&] { any.get<SwString>(); }, "Type mismatch in SwAny::get");
  expectRuntimeError([&] { any.get<long>(); }, "Type mismatch in SwAny::get");
  expectRuntimeError([] { SwAny().get<int>(); }, "Type mismatch in SwAny::get");
}

TEST(SwAny, TakeMovesTheHeldValueOut) {
  SwAny any = std::string(100, 'x');
  const char* bytes = any.get<std::string>().data();
  const std::string taken = any.take<std::string>();
  EXPECT_EQ(taken, std::string(100, 'x'));
  EXPECT_EQ(taken.data(), bytes) << "no copy";
  expectRuntimeError([&] { any.take<int>(); }, "Type mismatch in SwAny::get");
  SwAny nothing = SwAny::fromVoidPtr(SwAny::typeNameOf<SwString>(), nullptr);
  expectRuntimeError([&] { nothing.take<SwString>(); }, "Null storage in SwAny::get");
}

TEST(SwAny, AnUnregisteredTypeKeepsItsNameAndOwnsNothing) {
  SwAny any = SwAny::from(Unregistered());
  EXPECT_EQ(any.typeName(), typeid(Unregistered).name());
  EXPECT_EQ(any.data(), nullptr);
  EXPECT_EQ(any.toString(6), "");
  expectRuntimeError([&] { any.get<Unregistered>(); }, "Null storage in SwAny::get");
  const SwAny copy(any);
  EXPECT_EQ(copy.typeName(), any.typeName());
  const SwAny moved(std::move(any));
  EXPECT_EQ(moved.typeName(), copy.typeName());
  EXPECT_TRUE(any.isEmpty());  // NOLINT(bugprone-use-after-move): the state it promises
}

TEST(SwAny, IsEmptyUnderBothNames) {
  EXPECT_TRUE(SwAny().empty());
  EXPECT_FALSE(SwAny(0).empty());
  EXPECT_FALSE(SwAny(0).isEmpty());
}

template <typename T>
class SwAnyNumber : public testing::Test {};
using NumbersWithoutAKind =
    testing::Types<char, signed char, unsigned char, short, unsigned short, long long, unsigned long long>;
TYPED_TEST_SUITE(SwAnyNumber, NumbersWithoutAKind, );

TYPED_TEST(SwAnyNumber, IsLostUnlessItIsConvertedToAnInlineKindFirst) {
  const TypeParam number = 7;
  static_assert(!std::is_constructible_v<SwAny, TypeParam>, "only from() takes it");
  const SwAny lost = SwAny::from(number);
  EXPECT_EQ(lost.typeName(), typeid(TypeParam).name());
  EXPECT_EQ(lost.data(), nullptr);
  EXPECT_EQ(lost.toString(6), "");
  expectRuntimeError([&] { lost.get<TypeParam>(); }, "Null storage in SwAny::get");
  EXPECT_EQ(SwAny(static_cast<long>(number)).toString(6), "7");
}

TEST(SwAny, WrapsACopyOfAnObjectGivenByAddress) {
  SwString text("text");
  const SwAny any = SwAny::fromVoidPtr(SwAny::typeNameOf<SwString>(), &text);
  text = "changed";
  EXPECT_EQ(any.get<SwString>(), "text");
  const int number = 7;
  EXPECT_EQ(SwAny::fromVoidPtr("i", &number).get<int>(), 7);
}

TEST(SwAny, WrappingANullAddressOrAnUnknownTypeGivesTheNameWithoutStorage) {
  SwAny any = SwAny::fromVoidPtr(SwAny::typeNameOf<SwString>(), nullptr);
  EXPECT_EQ(any.typeName(), SwAny::typeNameOf<SwString>());
  expectRuntimeError([&] { any.get<SwString>(); }, "Null storage in SwAny::get");
  expectRuntimeError([&] { any.toString(6); }, "Null storage in SwAny::get");
  expectRuntimeError([&] { any.convert("i"); }, "Null storage in SwAny::get");
  const SwAny copy(any);
  EXPECT_EQ(copy.typeName(), any.typeName());
  EXPECT_EQ(copy.data(), nullptr);
  any.clear();
  EXPECT_TRUE(any.isEmpty());
  const int number = 7;
  EXPECT_TRUE(SwAny::fromVoidPtr("i", nullptr).isEmpty());
  EXPECT_TRUE(SwAny::fromVoidPtr("", &number).isEmpty());
  EXPECT_EQ(SwAny::fromVoidPtr("nobody's", &number).typeName(), "nobody's");
  EXPECT_EQ(SwAny::fromVoidPtr("nobody's", &number).data(), nullptr);
}

TEST(SwAny, CopiesAreDeep) {
  SwJsonObject object;
  object.insert("a", 1);
  SwAny any = object;
  const SwAny copy(any);
  static_cast<SwJsonObject*>(any.data())->insert("a", 2);
  EXPECT_EQ(copy.get<SwJsonObject>()["a"].integer(), 1);
  EXPECT_EQ(any.get<SwJsonObject>()["a"].integer(), 2);
}

TEST(SwAny, CopyFromReplacesTheValue) {
  SwAny any = SwString("old");
  any.copyFrom(SwAny(7));
  EXPECT_EQ(any.get<int>(), 7);
  any.copyFrom(any);
  EXPECT_EQ(any.get<int>(), 7);
  any.copyFrom(SwAny());
  EXPECT_TRUE(any.isEmpty());
}

TEST(SwAny, AssignmentFromItselfKeepsTheValue) {
  SwAny any = SwString("text");
  SwAny& same = any;
  any = same;
  EXPECT_EQ(any.get<SwString>(), "text");
  any = std::move(same);
  EXPECT_EQ(any.get<SwString>(), "text");
}

TEST_F(SwAnyPayload, OwnsItsObject) {
  SwAny any = SwAny::from(Payload(7));
  EXPECT_EQ(Payload::alive, 1);
  SwAny copy = any;
  EXPECT_EQ(Payload::alive, 2);
  any = std::move(copy);
  EXPECT_EQ(Payload::alive, 1);
  EXPECT_EQ(any.get<Payload>().value, 7);
  any.clear();
  EXPECT_EQ(Payload::alive, 0);
}

TEST_F(SwAnyPayload, MovingKeepsTheObjectWhereItIs) {
  SwAny any = SwAny::from(Payload(7));
  const void* object = any.data();
  const SwAny moved(std::move(any));
  EXPECT_EQ(moved.data(), object);
}

TEST_F(SwAnyPayload, AThrowingCopyChangesNothing) {
  const SwAny source = SwAny::from(Payload(7));
  SwAny target = SwAny::from(Payload(8));
  Payload::refuseCopies = true;
  expectRuntimeError([&] { target = source; }, "refused");
  expectRuntimeError([&] { target.copyFrom(source); }, "refused");
  expectRuntimeError([&] { SwAny copy(source); }, "refused");
  expectRuntimeError([&] { source.convert(source.typeName()); }, "refused");
  expectRuntimeError([&] { SwAny::from(source.get<Payload>()); }, "refused");
  expectRuntimeError([&] { SwAny::fromVoidPtr(source.typeName(), source.data()); }, "refused");
  EXPECT_EQ(target.get<Payload>().value, 8);
  EXPECT_EQ(Payload::alive, 2);
}

TEST(SwAny, ToStringIsTheTextOfTheConversionAndAFloatingNumberInAnyPrecision) {
  EXPECT_EQ(SwAny(SwString("a\"b")).toString(6), "a\"b");
  EXPECT_EQ(SwAny(7).toString(6), "7");
  EXPECT_EQ(SwAny(true).toString(6), "true");
  EXPECT_EQ(SwAny(std::string("s")).toString(6), "s");
  EXPECT_EQ(SwAny::from(std::vector<std::string>{"a", "b"}).toString(6), "a,b");
  EXPECT_EQ(SwAny(0.45F).toString(10), "0.4499999881");
  const std::tuple<double, int, const char*> cases[] = {
      {0.45, 6, "0.45"},         {1234567.0, 6, "1.23457e+06"}, {1.0 / 3, 3, "0.333"},
      {1234.5678, 0, "1e+03"},   {1234.5678, -1, "1234.57"},    {1.0 / 3, 0, "0.3"},
      {1.0 / 3, -1, "0.333333"}, {1.0 / 3, INT_MIN, "0.333333"}};
  for (const auto& [number, precision, text] : cases) EXPECT_EQ(SwAny(number).toString(precision), text);
  for (const int precision : {1000000, INT_MAX}) {
    EXPECT_EQ(SwAny(0.1).toString(precision), "0.1000000000000000055511151231257827021181583404541015625");
  }
}

TEST(SwAny, ToStringWithoutAConversionIsEmptyAndSilent) {
  const SwAny any = SwAny::from(SwJsonDocument());
  const StderrCapture captured;
  EXPECT_EQ(any.toString(6), "");
  EXPECT_EQ(captured.text(), "");
}

TEST(SwAny, WhatATemporaryHoldsIsAValue) {
  static_assert(std::is_same_v<decltype(SwAny().get<SwString>()), SwString>);
  static_assert(std::is_same_v<decltype(SwAny().typeName()), std::string>);
  SwAny any = SwString("a text that needs memory");
  const std::string& text = any.convert(SwAny::typeNameOf<std::string>()).get<std::string>();
  EXPECT_EQ(text, "a text that needs memory");
  const std::string& name = SwAny(any).typeName();
  EXPECT_EQ(name, "8SwString");
  EXPECT_THROW(SwAny(any).get<int>(), std::runtime_error);
  const char* bytes = any.get<SwString>().data();
  EXPECT_EQ(std::move(any).get<SwString>().data(), bytes) << "moved, not copied";
}
