// A registration as the process's first act, while other threads use values that need no registry; then what
// was registered, from many threads. The one test of its program: the process has asked for nothing before.

#include <gtest/gtest.h>

#include <atomic>

#include "core/SwAny.h"
#include "test_support/StartTogether.h"
#include "test_support/StderrFile.h"
#include "tests/registry_facts.h"

namespace {

struct Reading {
  int value;
};

void registerReading() {
  SwAny::registerMetaType<Reading>();
  SwAny::registerConversion<int, Reading>([](int value) { return Reading{value + 1}; });
}

}  // namespace

TEST(FirstRegistration, WorksBesideValuesThatNeedNoRegistry) {
  std::atomic<int> sum{0};
  const auto useInlineValues = [&sum] {
    for (int i = 0; i < 100; ++i) {
      SwAny any(1);
      SwAny moved(std::move(any));
      SwAny copy;
      copy.copyFrom(moved);
      sum += copy.get<int>();
      moved.clear();
    }
  };

  const StderrFile messages;
  startTogether({registerReading, useInlineValues, useInlineValues, useInlineValues});
  EXPECT_EQ(sum, 300);

  std::vector<int> values(8);
  std::vector<std::function<void()>> conversions;
  for (int& value : values) {
    conversions.emplace_back(
        [&value] { value = SwAny(41).convert(SwAny::typeNameOf<Reading>()).get<Reading>().value; });
  }
  startTogether(conversions);
  EXPECT_EQ(values, std::vector<int>(8, 42));
  EXPECT_EQ(messages.text(), registry_facts::kMarker);
}
