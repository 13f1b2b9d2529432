// Values belong to a thread each, and the library keeps nothing that several threads would share unguarded.
// The preset tsan makes these tests look for races.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "core/SwAny.h"
#include "core/render_payload.h"
#include "test_support/StartTogether.h"
#include "tests/json_text.h"

namespace {

using json_text::generated;
using json_text::parsed;

void onFourThreads(const std::function<void()>& work) {
  startTogether(4, [&work](unsigned) {
    for (int round = 0; round < 2000; ++round) work();
  });
}

const std::string kText = "{\"a\": [1,0.5,true,\"text\"],\"b\": {\"c\": \"\"}}";

}  // namespace

TEST(Threads, EachParsesAndGeneratesItsOwnDocument) {
  onFourThreads([] {
    const SwJsonValue value = parsed(kText);
    EXPECT_EQ(generated(value), kText);
    EXPECT_EQ(parsed(generated(value, "key"), "key"), value);
  });
}

TEST(Threads, EachEncryptsAndDecrypts) {
  onFourThreads([] {
    SwString cipherText = SwString("hello").encryptAES("key");
    EXPECT_EQ(cipherText, "LdfwP4C6o/zvbXYyBAItdA==");
    EXPECT_EQ(cipherText.decryptAES("key"), "hello");
  });
}

TEST(Threads, EachConvertsItsOwnValues) {
  onFourThreads([] {
    EXPECT_EQ(SwAny(7).toString(6), "7");
    EXPECT_EQ(SwAny(SwString("42")).convert("i").get<int>(), 42);
    EXPECT_EQ(render_payload::anyToJsonObject(SwString(kText)).size(), 2U);
  });
}

TEST(Threads, AllReadOneTree) {
  const SwJsonValue value = parsed(kText);
  const SwAny any = value;
  onFourThreads([&] {
    const SwJsonObject& object = *value.object();
    EXPECT_TRUE(object["no such member"].isNull());
    EXPECT_EQ(object["b"], object.value("b", SwJsonValue()));
    EXPECT_EQ(generated(value), kText);
    EXPECT_EQ(any.get<SwJsonValue>(), value);
    EXPECT_EQ(SwAny(any).toString(6), kText);
  });
}
