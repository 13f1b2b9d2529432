// Eight threads whose first act is a conversion. The one test of its program: the process has asked for
// nothing before.

#include <gtest/gtest.h>

#include "core/SwAny.h"
#include "test_support/StartTogether.h"
#include "test_support/StderrFile.h"
#include "tests/registry_facts.h"

TEST(FirstConversions, EightThreadsFillTheRegistryOnce) {
  constexpr std::size_t kThreads = 8;
  std::vector<SwAny> numbers(kThreads);
  std::vector<SwAny> texts(kThreads);
  std::vector<std::function<void()>> acts;
  for (std::size_t i = 0; i < kThreads; ++i) {
    numbers[i] = 1000L + static_cast<long>(i);
    acts.emplace_back([&, i] { texts[i] = numbers[i].convert("8SwString"); });
  }

  const StderrFile written;
  startTogether(acts);
  EXPECT_EQ(written.text(), registry_facts::kMarker);
  for (std::size_t i = 0; i < kThreads; ++i) {
    EXPECT_EQ(texts[i].get<SwString>(), "100" + std::to_string(i));
  }
  EXPECT_EQ(SwAny::getConversionRules(), registry_facts::conversionRules());
}
