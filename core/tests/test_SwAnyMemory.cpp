// SwAny when memory runs out. What a process does first counts here, so every attempt is a process of its
// own, forked from one that does nothing with SwAny.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>

#include "core/SwAny.h"
#include "core/SwFlagSet.h"
#include "core/SwJsonDocument.h"
#include "core/flags.h"
#include "test_support/Allocations.h"
#include "test_support/StderrCapture.h"
#include "tests/registry_facts.h"

namespace {

struct Payload {
  int value = 0;
};

/// How an attempt ends, as the exit status of its process.
enum Outcome { kDone = 0, kRanOut = 10, kWrong = 11 };

#define REQUIRE(condition)                                             \
  do {                                                                 \
    if (!(condition)) {                                                \
      std::fprintf(stderr, "line %d: not %s\n", __LINE__, #condition); \
      _exit(kWrong);                                                   \
    }                                                                  \
  } while (false)

int outcomeOf(const std::function<Outcome()>& attempt) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(attempt());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

using Act = std::function<void()>;

/// All allocations from there on fail: a single one may go unnoticed, as that of a line's line feed does.
bool runsOut(const Act& act, int successes) {
  operatorNew.start(successes, Countdown::Fails::FromThenOn);
  const Failing failing(operatorNew);
  try {
    act();
  } catch (const std::bad_alloc&) {
    return true;
  }
  return false;
}

void requireCompleteRegistries(const StderrCapture& messages) {
  REQUIRE(SwAny::getConversionRules() == registry_facts::conversionRules());
  REQUIRE(messages.text() == registry_facts::kMarker);

  std::vector<SwAny> values{1, 1U, 1L, 1UL, 1.0F, 1.0, true, "1", std::string("1"), SwString("1")};
  for (const SwAny& json : {SwAny(SwJsonValue(1)), SwAny(SwJsonObject()), SwAny(SwJsonArray())})
    values.push_back(json);
  values.push_back(SwAny::from(std::vector<std::string>{"1"}));
  values.push_back(SwAny::from(SwList<unsigned char>{'1'}));
  REQUIRE(values.size() == SwAny::getConversionRules().size());
  for (const SwAny& value : values) {
    for (const std::string& target : SwAny::getConversionRules().at(value.typeName())) {
      REQUIRE(value.convert(target).typeName() == target);
    }
  }
  // The types that no conversion has met.
  values = {SwAny::from(SwJsonDocument()), SwAny::from(SwFlagSet<DrawTextFormat>()),
            SwAny::from(SwFlagSet<WindowFlag>()), SwAny::from(SwFlagSet<EntryType>())};
  for (const SwAny& value : values) {
    const SwAny copy = SwAny::fromVoidPtr(value.typeName(), value.data());
    REQUIRE(value.data() != nullptr && copy.data() != nullptr && copy.data() != value.data());
  }
  REQUIRE(messages.text() == registry_facts::kMarker);
}

/// Lets the first, the second, ... allocation of `firstAct` fail, each in a process that has done nothing
/// before, up to the one in which none is left to fail.
void expectRecovery(const Act& firstAct, int leastAllocations) {
  int successes = 0;
  for (int outcome = kRanOut; outcome == kRanOut; ++successes) {
    outcome = outcomeOf([&] {
      const StderrCapture messages;
      const bool ranOut = runsOut(firstAct, successes);
      requireCompleteRegistries(messages);
      return ranOut ? kRanOut : kDone;
    });
    ASSERT_TRUE(outcome == kRanOut || outcome == kDone)
        << "allocation " << successes << " failed: " << outcome;
  }
  EXPECT_GT(successes, leastAllocations);
}

}  // namespace

/// 50 entries of meta types, 26 converters and 15 sources of rules: each is an allocation at least.
TEST(SwAnyMemory, WhatCannotFillTheRegistryLeavesItToTheNext) {
  expectRecovery([] { SwAny(7).convert("8SwString"); }, 91);
  expectRecovery([] { SwAny::getConversionRules(); }, 91);
  expectRecovery([] { SwAny any = SwString("text"); }, 91);
}

TEST(SwAnyMemory, OneFailureAfterTheOtherEndsInCompleteRegistries) {
  const int outcome = outcomeOf([] {
    const StderrCapture messages;
    int successes = 0;
    while (runsOut([] { SwAny(7).convert("8SwString"); }, successes)) ++successes;
    // What an attempt has entered, the next need not, so there are fewer failures than allocations.
    REQUIRE(successes > 2);
    requireCompleteRegistries(messages);
    return kDone;
  });
  EXPECT_EQ(outcome, kDone);
}

/// The first is the first act of its process.
TEST(SwAnyMemory, MovingAndDestroyingNeedNone) {
  const auto outcomeOfInlineValues = outcomeOf([] {
    operatorNew.start(0, Countdown::Fails::FromThenOn);
    const Failing failing(operatorNew);
    SwAny empty;
    SwAny number(7);
    SwAny moved(std::move(number));
    number = std::move(moved);
    empty = std::move(moved);
    REQUIRE(number.get<int>() == 7);
    number.clear();
    return kDone;
  });
  EXPECT_EQ(outcomeOfInlineValues, kDone);
  const auto outcomeOfMetaTypes = outcomeOf([] {
    SwAny text = SwString("a text that is too long for the string's own buffer");
    SwAny names = SwAny::from(std::vector<std::string>{"a type whose name is too long for it, too"});
    const void* object = names.data();
    operatorNew.start(0, Countdown::Fails::FromThenOn);
    const Failing failing(operatorNew);
    SwAny moved(std::move(names));
    text = std::move(moved);
    REQUIRE(text.data() == object);
    text.clear();
    REQUIRE(text.isEmpty());
    return kDone;
  });
  EXPECT_EQ(outcomeOfMetaTypes, kDone);
}

TEST(SwAnyMemory, ARegistrationThatRunsOutCanBeRepeated) {
  const auto registerPayload = [] {
    SwAny::registerMetaType<Payload>();
    SwAny::registerConversion<Payload, SwString>(
        [](const Payload& payload) { return SwString(std::to_string(payload.value)); });
  };
  int successes = 0;
  for (int outcome = kRanOut; outcome == kRanOut; ++successes) {
    outcome = outcomeOf([&] {
      SwAny::getConversionRules();
      const bool ranOut = runsOut(registerPayload, successes);
      if (ranOut) {
        // Half a registration shows nowhere: no value without its functions, no rule without its converter.
        const Payload payload{7};
        const SwAny any = SwAny::fromVoidPtr(SwAny::typeNameOf<Payload>(), &payload);
        REQUIRE(any.data() == nullptr || any.get<Payload>().value == 7);
        REQUIRE(any.data() == nullptr || SwAny(any).get<Payload>().value == 7);
        const auto rule = SwAny::getConversionRules().find(SwAny::typeNameOf<Payload>());
        REQUIRE(rule == SwAny::getConversionRules().end());
        registerPayload();
      }
      REQUIRE(SwAny::from(Payload{7}).toString(6) == "7");
      REQUIRE(SwAny::getConversionRules().at(SwAny::typeNameOf<Payload>()).size() == 1);
      return ranOut ? kRanOut : kDone;
    });
    ASSERT_TRUE(outcome == kRanOut || outcome == kDone)
        << "allocation " << successes << " failed: " << outcome;
  }
  EXPECT_GT(successes, 7);
}
