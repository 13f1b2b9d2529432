// Threads whose first acts differ, among them acts that must not meet the registry while it is being filled.
// The one test of its program: the process has asked for nothing before.

#include <gtest/gtest.h>

#include "core/SwAny.h"
#include "core/SwJsonDocument.h"
#include "core/render_payload.h"
#include "test_support/StartTogether.h"
#include "test_support/StderrFile.h"
#include "tests/registry_facts.h"

TEST(FirstActs, OfDifferentKindsFillTheRegistryOnce) {
  SwString converted;
  std::size_t ruleCount = 0;
  SwString made;
  SwString wrapped;
  std::string written;
  std::size_t memberCount = 0;
  int number = 0;
  SwAny documentRead = 1;
  const SwString bytes = "wrapped";

  const StderrFile messages;
  startTogether({
      [&] { converted = SwAny(7).convert("8SwString").get<SwString>(); },
      [&] { ruleCount = SwAny::getConversionRules().size(); },
      [&] { made = SwAny(SwString("made")).get<SwString>(); },
      [&] { wrapped = SwAny::fromVoidPtr("8SwString", &bytes).get<SwString>(); },
      [&] { written = SwAny(true).toString(6); },
      [&] { memberCount = render_payload::anyToJsonObject(SwAny(std::string("{\"a\": 1}"))).size(); },
      [&] { documentRead = SwAny::from(SwJsonDocument()); },
      [&] {
        for (int i = 0; i < 1000; ++i) {
          SwAny empty;
          SwAny moved(std::move(empty));
          SwAny held(i);
          moved = std::move(held);
          number = moved.get<int>();
        }
      },
  });
  EXPECT_EQ(messages.text(), registry_facts::kMarker);
  EXPECT_EQ(converted, "7");
  EXPECT_EQ(ruleCount, 15U);
  EXPECT_EQ(made, "made");
  EXPECT_EQ(wrapped, "wrapped");
  EXPECT_EQ(written, "true");
  EXPECT_EQ(memberCount, 1U);
  EXPECT_EQ(documentRead.typeName(), "14SwJsonDocument");
  EXPECT_EQ(number, 999);
  EXPECT_EQ(SwAny::getConversionRules(), registry_facts::conversionRules());
}
