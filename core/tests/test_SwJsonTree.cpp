// Trees nested a million deep, on a thread whose stack a recursion of that depth would overrun at once.

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "core/SwAny.h"
#include "core/render_payload.h"
#include "core/swcfg.h"
#include "test_support/Allocations.h"
#include "test_support/SmallStack.h"
#include "tests/json_text.h"

namespace {

using json_text::generated;
using json_text::parsed;
using json_text::repeated;

constexpr std::size_t kDepth = 1000000;

/// In the form in which the generator writes them.
const std::string kArrays = repeated("[", kDepth) + repeated("]", kDepth);
const std::string kObjects = repeated("{\"k\": ", kDepth) + "1" + repeated("}", kDepth);
const std::string kMixed = repeated("[{\"k\": ", kDepth / 2) + "1" + repeated("}]", kDepth / 2);
const std::string kWithSiblings = repeated("[1,[2],{\"a\": [3],\"k\": ", kDepth / 2) + "4" +
                                  repeated(",\"z\": {\"y\": 5}},6,[7]]", kDepth / 2);

/// Follows the last array element or the member "k" down and changes what stands at the bottom.
void changeBottom(SwJsonValue& root) {
  SwJsonValue* value = &root;
  for (;;) {
    SwJsonValue* below = nullptr;
    if (value->isArray() && !value->array()->empty()) below = &value->array()->at(0);
    if (value->isObject()) below = value->object()->find("k");
    if (!below) break;
    value = below;
  }
  *value = "changed";
}

void exerciseDeepTree(const std::string& text) {
  runOnSmallStack([&text] {
    SwJsonValue tree = parsed(text);

    EXPECT_TRUE(generated(tree) == text) << "the generated text differs";

    SwJsonValue copy(tree);
    EXPECT_TRUE(copy == tree);
    changeBottom(copy);
    EXPECT_TRUE(copy != tree);

    SwJsonValue moved(std::move(tree));
    EXPECT_TRUE(tree.isNull());  // NOLINT(bugprone-use-after-move): the state it promises
    copy = std::move(moved);

    const long before = allocationsMade();
    copy = SwJsonValue();
    EXPECT_EQ(allocationsMade() - before, 0) << "destroying a tree allocated memory";
  });
}

}  // namespace

TEST(SwJsonTree, TheAllocationCounterSeesTheLibrary) {
  const long before = allocationsMade();
  const SwJsonValue value{SwJsonArray()};
  EXPECT_GT(allocationsMade(), before);
}

TEST(SwJsonTree, DeepContainersAreGeneratedCopiedComparedMovedAndDestroyed) {
  for (const std::string& text : {kArrays, kObjects, kMixed, kWithSiblings}) exerciseDeepTree(text);
}

TEST(SwJsonTree, WideContainersOfContainers) {
  runOnSmallStack([] {
    const std::string text = "[" + repeated("[1,{\"a\": [2]}],", 200000) + "3]";
    const SwJsonValue tree = parsed(text);
    const SwJsonValue copy(tree);
    EXPECT_TRUE(copy == tree);
    EXPECT_EQ(copy.array()->size(), 200001U);
  });
}

/// Where containers still copy and destroy their own members, a map recurses as deep as its own tree is high.
TEST(SwJsonTree, WideObjectsInsideEachOther) {
  runOnSmallStack([] {
    std::string members;
    for (int i = 0; i < 20000; ++i) members += "\"" + std::to_string(i) + "\":1,";
    const std::string text = repeated("{" + members + "\"5\":", 12) + "[7]" + std::string(12, '}');
    const SwJsonValue tree = parsed(text);
    const SwJsonValue copy(tree);
    EXPECT_TRUE(copy == tree);
    const SwJsonValue* inner = &copy;
    while (inner->isObject()) inner = inner->object()->find("5");
    EXPECT_EQ(inner->array()->at(0).integer(), 7);
  });
}

/// An error behind a deep tree, and texts in which nothing that was opened is closed.
TEST(SwJsonTree, ADeepErrorDiscardsWhatWasBuilt) {
  const std::pair<std::string, const char*> cases[] = {
      {"[" + kMixed + ",?", R"(Invalid JSON token (index 4500003) near "]}]}]}]}]}]}]}]}]}],?")"},
      {repeated("[", kDepth), R"(Unterminated JSON array (index 1000000) near "[[[[[[[[[[[[[[[[[[[[")"},
      {repeated("{\"k\":", kDepth),
       R"(Unexpected end of JSON input (index 5000000) near "{"k":{"k":{"k":{"k":")"}};
  for (const auto& tried : cases) {
    runOnSmallStack([&tried] {
      SwJsonDocument document;
      SwString error;
      EXPECT_FALSE(document.loadFromJson(tried.first, error));
      EXPECT_EQ(error, tried.second);
      EXPECT_TRUE(document.root().isNull());
    });
  }
}

TEST(SwJsonTree, BuildingAroundAMovedTreeDoesNotCopyIt) {
  runOnSmallStack([] {
    SwJsonValue tree(1);
    for (std::size_t i = 0; i < kDepth; ++i) {
      SwJsonObject object;
      object.insert("k", std::move(tree));
      tree = std::move(object);
    }
    EXPECT_TRUE(generated(tree) == kObjects);
  });
}

TEST(SwJsonTree, ContainersByValueCopyCompareAndDie) {
  runOnSmallStack([] {
    SwJsonDocument document;
    SwString error;
    ASSERT_TRUE(document.loadFromJson(kObjects, error));
    const SwJsonObject object = document.object();
    SwJsonObject copy = object;
    EXPECT_TRUE(copy == object);
    copy = *copy.find("k")->object();
    EXPECT_TRUE(copy != object);
    EXPECT_TRUE(copy.remove("k"));
  });
}

TEST(SwJsonTree, AContainerAndItsCountAreOneAllocation) {
  const long before = allocationsMade();
  const SwJsonValue object{SwJsonObject()};
  const SwJsonValue array{SwJsonArray()};
  EXPECT_EQ(allocationsMade() - before, 2);
}

TEST(SwJsonTree, LookingAMemberUpAllocatesNothing) {
  const char* literal = "a key of more than fifteen bytes";
  const std::string key = literal;
  SwJsonObject object;
  object.insert(literal, 1);
  const SwJsonValue& missing = object["missing"];  // all objects share it, from the first time on
  const long before = allocationsMade();
  EXPECT_EQ(object[literal].integer(), 1);
  EXPECT_EQ(object.value(literal, missing).integer(), 1);
  EXPECT_EQ(object.find(literal), object.find(key));
  EXPECT_TRUE(object.contains(literal) && object.contains(key));
  EXPECT_TRUE(object.remove(literal));
  EXPECT_EQ(allocationsMade() - before, 0);
}

TEST(SwJsonTree, AMemberTakesTheMemoryOfARemovedOne) {
  SwJsonObject object;
  object.insert("a", 1);
  const long before = allocationsMade();
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(object.remove("a"));
    object.insert("a", i);
  }
  EXPECT_EQ(allocationsMade() - before, 0);
}

/// Counted with twice as many: the array, the text and the parser allocate for both, at most once more for
/// one.
TEST(SwJsonTree, MembersOfAlikeObjectsAndOfCopiesAreOneAllocation) {
  const std::string one = "{\"a\":1,\"b\":2,\"c\":3,\"d\":4,\"e\":5,\"f\":6},";
  const auto allocations = [](const std::function<void()>& work) {
    const long before = allocationsMade();
    work();
    return allocationsMade() - before;
  };
  const std::string fewer = "[" + repeated(one, 100) + "]";
  const std::string more = "[" + repeated(one, 200) + "]";
  SwJsonValue fewerTree;
  SwJsonValue moreTree;
  const long ofFewer = allocations([&] { fewerTree = parsed(fewer); });
  const long ofMore = allocations([&] { moreTree = parsed(more); });
  EXPECT_EQ(ofMore - ofFewer, 201);
  EXPECT_EQ(
      allocations([&] { SwJsonValue copy(moreTree); }) - allocations([&] { SwJsonValue copy(fewerTree); }),
      200);
}

/// However large the one before was: what is allocated for its members is a few times what they need.
TEST(SwJsonTree, ASmallObjectBehindALargeOneIsSmall) {
  std::string members;
  for (int i = 0; i < 10000; ++i) members += "\"" + std::to_string(i) + "\":1,";
  const auto bytes = [](const std::string& text) {
    const long before = bytesMade();
    parsed(text);
    return bytesMade() - before;
  };
  const long ofLarge = bytes("[{" + members + "}]");
  const long ofBoth = bytes("[{" + members + "},{\"k\":1}]");
  EXPECT_GT(ofLarge, 1000000);
  EXPECT_LT(ofBoth - ofLarge, 20000);
}

TEST(SwJsonTree, DeepValuesInAnAnyAreCopiedConvertedAndWritten) {
  for (const std::string& text : {kArrays, kMixed}) {
    runOnSmallStack([&text] {
      const SwJsonValue tree = parsed(text);
      SwAny any = tree;
      SwAny copy(any);
      any.clear();
      EXPECT_TRUE(copy.get<SwJsonValue>() == tree);
      EXPECT_TRUE(copy.convert(SwAny::typeNameOf<SwString>()).get<SwString>() == text);
      EXPECT_TRUE(copy.toString(6) == text);
      const SwAny moved(std::move(copy));
      EXPECT_TRUE(render_payload::anyToJsonObject(moved).empty()) << "an array is no object";
    });
  }
}

TEST(SwJsonTree, DeepTreesAreGeneratedAndParsedUnderAKey) {
  // The cipher text of "1" under "key", made with the openssl command line as test_SwStringEncryption.cpp
  // tells.
  const std::string one = "nc/XrfRWuxzhm4nV/lPp4A==";
  const std::string texts[] = {kArrays, repeated("{\"k\": ", kDepth) + one + repeated("}", kDepth),
                               repeated("[{\"k\": ", kDepth / 2) + one + repeated("}]", kDepth / 2)};
  for (const std::string& text : texts) {
    runOnSmallStack([&text] {
      const SwString key("key");
      SwJsonDocument document;
      SwString error;
      ASSERT_TRUE(document.loadFromJson(text, error, key)) << error.str();
      EXPECT_TRUE(generated(document.root(), key) == text) << "the generated text differs";
    });
  }
}

TEST(SwJsonTree, PayloadsMayBeDeepToo) {
  runOnSmallStack([] {
    const SwAny text = SwString(kObjects);
    const SwJsonObject object = render_payload::anyToJsonObject(text);
    EXPECT_EQ(object.size(), 1U);
    const SwAny held = object;
    EXPECT_TRUE(held.toString(6) == kObjects);
    EXPECT_TRUE(render_payload::anyToJsonObject(held) == object);
    SwJsonValue below;
    EXPECT_TRUE(swcfg::getValue(object, "k/k/k", below));
    EXPECT_TRUE(below.isObject());
  });
}
