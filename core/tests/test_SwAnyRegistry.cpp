#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <thread>

#include "core/SwAny.h"
#include "test_support/StderrCapture.h"
#include "tests/registry_facts.h"

namespace {

using registry_facts::kMarker;

struct Payload {
  int value = 0;
};

struct Other {
  int value = 0;
};

/// Ends the process with the number of times that `operation` made the registry report its filling.
[[noreturn]] void exitWithFillings(const std::function<void()>& operation) {
  int fillings = 0;
  {
    const StderrCapture captured;
    operation();
    const std::string& text = captured.text();
    if (captured.writes() != std::count(text.begin(), text.end(), '\n')) std::abort();  // a line is one write
    for (std::size_t at = captured.text().find(kMarker); at != std::string::npos;
         at = captured.text().find(kMarker, at + 1)) {
      ++fillings;
    }
  }
  std::exit(fillings);
}

/// Each statement runs in a process of its own, whose registry nobody has asked for.
class SwAnyRegistryDeathTest : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

void expectFillings(int fillings, const std::function<void()>& operation) {
  EXPECT_EXIT(exitWithFillings(operation), testing::ExitedWithCode(fillings), "");
}

}  // namespace

TEST_F(SwAnyRegistryDeathTest, InlineValuesDoNotFillIt) {
  expectFillings(0, [] {
    SwAny any(7);
    SwAny copy(any);
    copy = std::move(any);
    copy.copyFrom(SwAny(std::string("text")));
    copy.get<std::string>();
    copy.data();
    copy.clear();
    SwAny(0.5).toString(6);
    SwAny(0.5F).toString(6);
    SwAny("text").get<const char*>();
    SwAny(std::vector<unsigned char>{1});
    SwAny().data();
  });
}

TEST_F(SwAnyRegistryDeathTest, WhatNeedsItFillsIt) {
  expectFillings(1, [] { SwAny(7).convert("d"); });
  expectFillings(1, [] { SwAny(7).convert("i"); });  // to the held type
  expectFillings(1, [] { SwAny(7).toString(6); });   // of a kind that is no floating point
  expectFillings(1, [] { SwAny any = SwString("text"); });
  expectFillings(1, [] { SwAny::fromVoidPtr("8SwString", nullptr); });
  expectFillings(1, [] { SwAny::from(Other()); });  // an unregistered type
  expectFillings(1, [] { SwAny::getConversionRules(); });
}

TEST_F(SwAnyRegistryDeathTest, RegistrationFillsItFirst) {
  expectFillings(1, [] { SwAny::registerMetaType<Payload>(); });
  expectFillings(1, [] { SwAny::registerConverter("a", "b", [](const SwAny& any) { return any; }); });
  expectFillings(1, [] {
    SwAny::registerConversion<SwJsonValue, SwString>(
        [](const SwJsonValue&) { return SwString("the host's"); });
    if (SwAny(SwJsonValue(1)).toString(6) != "the host's") std::abort();
  });
}

TEST_F(SwAnyRegistryDeathTest, ItIsFilledOnceFromManyThreads) {
  expectFillings(1, [] {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back([] { SwAny(7).toString(6); });
    for (std::thread& thread : threads) thread.join();
    SwAny(7).convert("i");
  });
}

TEST_F(SwAnyRegistryDeathTest, RulesStandInTheOrderOfRegistration) {
  expectFillings(1, [] {
    if (SwAny::getConversionRules() != registry_facts::conversionRules()) std::abort();
  });
}

TEST(SwAnyRegistry, AHostsConversionWorksBothWays) {
  SwAny::registerMetaType<Payload>();
  SwAny::registerConversion<Payload, SwString>(
      [](const Payload& payload) { return SwString("payload " + std::to_string(payload.value)); });
  SwAny::registerConversion<int, Payload>([](int value) { return Payload{value}; });
  EXPECT_EQ(SwAny(7).convert(SwAny::typeNameOf<Payload>()).toString(6), "payload 7");
}

TEST(SwAnyRegistry, ALaterConversionReplacesTheEarlierAndIsListedOnce) {
  SwAny::registerMetaType<Other>();
  for (const int offset : {1, 2}) {
    SwAny::registerConversion<Other, int>([offset](const Other& other) { return other.value + offset; });
  }
  EXPECT_EQ(SwAny::from(Other{10}).convert("i").get<int>(), 12);
  EXPECT_EQ(SwAny::from(Other{10}).toString(6), "") << "a conversion, but not to text";
  EXPECT_EQ(SwAny::getConversionRules().at(SwAny::typeNameOf<Other>()), std::vector<std::string>{"i"});
}

TEST(SwAnyRegistry, AConversionToAnUnregisteredTypeGivesItsNameWithoutStorage) {
  struct Local {};
  SwAny::registerConversion<int, Local>([](int) { return Local(); });
  const SwAny result = SwAny(7).convert(SwAny::typeNameOf<Local>());
  EXPECT_EQ(result.typeName(), SwAny::typeNameOf<Local>());
  EXPECT_EQ(result.data(), nullptr);
}

TEST(SwAnyRegistry, AnEmptyFunctionThrowsWhenItIsCalled) {
  struct Local {};
  SwAny::registerMetaType<Local>();
  SwAny::registerConversion<Local, bool>(std::function<bool(const Local&)>());
  EXPECT_THROW(SwAny::from(Local()).convert("b"), std::bad_function_call);
}

TEST(SwAnyRegistry, AConverterThatGivesNoTextMakesToStringThrow) {
  SwAny::registerConverter("gives a name alone", "8SwString",
                           [](const SwAny&) { return SwAny::fromVoidPtr("8SwString", nullptr); });
  SwAny::registerConverter("gives a number", "8SwString", [](const SwAny&) { return SwAny(7); });
  EXPECT_EQ(SwAny::fromVoidPtr("gives a number", nullptr).convert("8SwString").get<int>(), 7);
  const std::pair<const char*, const char*> cases[] = {{"gives a name alone", "Null storage in SwAny::get"},
                                                       {"gives a number", "Type mismatch in SwAny::get"}};
  for (const auto& [type, message] : cases) {
    try {
      SwAny::fromVoidPtr(type, nullptr).toString(6);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), message);
    }
  }
}
