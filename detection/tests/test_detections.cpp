#include <gtest/gtest.h>

#include <limits>
#include <list>
#include <stdexcept>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "core/SwJsonValue.h"
#include "core/SwString.h"
#include "detection/detections.h"
#include "render_base/RenderBase.h"
#include "test_support/FrameContext.h"

namespace seg_mask {
namespace {

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

SwJsonObject objectOf(const std::string& json) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(json, error)) throw std::invalid_argument(error.str());
  return document.object();
}

/// The only detection of a payload with these members.
DetView detectionOf(const std::string& members) {
  std::vector<DetView> list;
  collectDetections(objectOf("{\"detections\": [{" + members + "}]}"), 10, list);
  return list.at(0);
}

std::size_t countIn(const std::string& json, std::size_t cap = 100) {
  std::vector<DetView> list;
  collectDetections(objectOf(json), cap, list);
  return list.size();
}

TEST(CollectDetections, AllSevenFieldsAreRead) {
  const DetView detection = detectionOf(
      "\"x\": 1, \"y\": -2, \"w\": 3, \"h\": 4, \"class_id\": 5, \"score\": 0.5, \"class_info\": \"SEG1|a\"");
  EXPECT_EQ(detection.x, 1);
  EXPECT_EQ(detection.y, -2);
  EXPECT_EQ(detection.w, 3);
  EXPECT_EQ(detection.h, 4);
  EXPECT_EQ(detection.class_id, 5);
  EXPECT_EQ(detection.score, 0.5F);
  EXPECT_EQ(detection.class_info, "SEG1|a");
}

TEST(CollectDetections, MissingMembersReadAs0AndTheTextAsNull) {
  const DetView detection = detectionOf("");
  EXPECT_EQ(detection.x, 0);
  EXPECT_EQ(detection.h, 0);
  EXPECT_EQ(detection.class_id, 0);
  EXPECT_EQ(detection.score, 0.0F);
  EXPECT_EQ(detection.class_info, "null");
}

// A test of its own, because valgrind does it by way of a double (scripts/memcheck).
TEST(CollectDetections, AnIntegerScoreGoesFrom64BitsToFloatDirectly) {
  // Halfway between two floats but for its last bit: rounded once it goes up, by way of a double it would tie
  // down.
  EXPECT_EQ(detectionOf("\"score\": 36028799166447617").score, 36028801313931264.0F);
}

TEST(CollectDetections, AMemberIsReadByTheRuleOfItsKind) {
  const std::pair<const char*, int32_t>
      numbers[] = {{"4294967297", 1},
                   {"2147483648", kMin},
                   {"-2147483649", kMax},  // an integer keeps its low 32 bits
                   {"2.9", 2},
                   {"-2.9", -2},
                   {"1e300", kMax},
                   {"-1e300", kMin},  // a floating value is cut and saturates
                   {"true", 1},
                   {"false", 0},
                   {"\"7\"", 0},
                   {"[7]", 0},
                   {"null", 0}};
  for (const auto& [value, number] : numbers) {
    const std::string text(value);
    const DetView read = detectionOf("\"x\": " + text + ", \"y\": " + text + ", \"w\": " + text +
                                     ", \"h\": " + text + ", \"class_id\": " + text);
    for (const int32_t field : {read.x, read.y, read.w, read.h, read.class_id})
      EXPECT_EQ(field, number) << value;
  }
  const std::pair<const char*, float> scores[] = {{"2", 2.0F},
                                                  {"1e300", std::numeric_limits<float>::infinity()},
                                                  {"true", 1.0F},
                                                  {"false", 0.0F},
                                                  {"\"1\"", 0.0F}};
  for (const auto& [value, score] : scores)
    EXPECT_EQ(detectionOf("\"score\": " + std::string(value)).score, score) << value;
  const std::pair<const char*, const char*> texts[] = {
      {"42", "42"}, {"null", "null"}, {"[\"SEG1|\"]", "{}"}, {"\"\"", ""}};
  for (const auto& [value, text] : texts)
    EXPECT_EQ(detectionOf("\"class_info\": " + std::string(value)).class_info, text);
}

TEST(CollectDetections, AValueThatIsNoNumberReadsAs0) {
  SwJsonObject element;
  element.insert("x", SwJsonValue(std::numeric_limits<double>::quiet_NaN()));
  SwJsonArray elements;
  elements.append(SwJsonValue(std::move(element)));
  SwJsonObject payload;
  payload.insert("detections", SwJsonValue(std::move(elements)));
  std::vector<DetView> list;
  collectDetections(payload, 1, list);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0].x, 0);
}

TEST(CollectDetections, WhatIsNoArrayYieldsNoneAndElementsThatAreNoObjectsDoNotCount) {
  for (const char* payload :
       {R"({"detections": {"x": 1}})", R"({"detections": "[{}]"})", R"({"detections": null})",
        R"({"Detections": [{}]})", "{}", R"({"detections": [1, null, "a", [{}], true]})"}) {
    EXPECT_EQ(countIn(payload), 0U) << payload;
  }
  EXPECT_EQ(countIn(R"({"detections": [1, {}, 2, {}]})", 2), 2U);
}

TEST(CollectDetections, TheCapKeepsTheEarlierOnes) {
  std::vector<DetView> list(1);
  collectDetections(objectOf("{\"detections\": [{\"x\": 1}, {\"x\": 2}, {\"x\": 3}]}"), 3, list);
  ASSERT_EQ(list.size(), 3U);
  EXPECT_EQ(list[1].x, 1);
  EXPECT_EQ(list[2].x, 2);
  collectDetections(objectOf("{\"detections\": [{\"x\": 4}]}"), 3, list);
  EXPECT_EQ(list.size(), 3U);
}

/// A view over inputs of its own.
struct Gathering : plugin_test::FrameContext {
  RenderProducerTypeView view;
  std::list<RenderInput> viewed;

  explicit Gathering(std::vector<std::string> producers) {
    ctx.frame_id = 9;
    view.producers = std::move(producers);
  }

  RenderInput& add(const std::string& producer, SwAny payload) {
    viewed.emplace_back().payload = std::move(payload);
    view.inputsByProducer[producer].push_back(&viewed.back());
    return viewed.back();
  }

  /// A payload with one detection for each of `xs`.
  static SwAny payload(std::initializer_list<int> xs) {
    std::string json;
    for (const int x : xs) json += (json.empty() ? "" : ",") + ("{\"x\": " + std::to_string(x) + "}");
    return SwAny(objectOf("{\"detections\": [" + json + "]}"));
  }

  FrameDetections gather(std::size_t cap = 100) { return gatherDetections(ctx, view, cap); }

  static std::vector<int> xs(const FrameDetections& frame) {
    std::vector<int> result;
    for (const DetView& detection : frame.detections) result.push_back(detection.x);
    return result;
  }
};

TEST(GatherDetections, OrderIsProducersThenInputsThenElements) {
  Gathering g({"b", "a"});
  g.add("a", Gathering::payload({5}));
  g.add("b", Gathering::payload({1, 2}));
  g.add("b", Gathering::payload({3}));
  EXPECT_EQ(Gathering::xs(g.gather()), (std::vector<int>{1, 2, 3, 5}));
}

TEST(GatherDetections, AbsentEmptyAndFruitlessProducersAreMissingAndAnEmptyIdIsNot) {
  Gathering g({"absent", "empty", "fruitless", ""});
  g.view.inputsByProducer["empty"] = {};
  g.add("", Gathering::payload({1}));
  g.add("fruitless", Gathering::payload({}));
  const FrameDetections frame = g.gather();
  EXPECT_TRUE(frame.detections.empty());
  EXPECT_EQ(frame.missing, 3U);
  EXPECT_EQ(frame.lookback, 0U);
}

TEST(GatherDetections, OnceTheCapIsReachedLaterProducersAreNeitherLookedUpNorCounted) {
  Gathering g({"a", "b", "absent"});
  g.add("a", Gathering::payload({1, 2, 3}));
  g.add("b", Gathering::payload({4})).uses_lookback = true;
  const FrameDetections frame = g.gather(2);
  EXPECT_EQ(Gathering::xs(frame), (std::vector<int>{1, 2}));
  EXPECT_EQ(frame.missing, 0U);
  EXPECT_EQ(frame.lookback, 0U);
  EXPECT_EQ(g.resolved_frames.size(), 1U);
}

TEST(GatherDetections, TheCapRunsAcrossInputsAndProducersAndAllInputsOfTheLastOneAreResolved) {
  Gathering g({"a", "b"});
  g.add("a", Gathering::payload({1, 2}));
  g.add("b", Gathering::payload({3, 4}));
  g.add("b", Gathering::payload({5}));
  EXPECT_EQ(Gathering::xs(g.gather(4)), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(g.resolved_frames.size(), 3U);
}

TEST(GatherDetections, LookbackCountsOncePerProducerAndNullInputsArePassedOver) {
  Gathering g({"a", "b", "c"});
  g.add("a", Gathering::payload({})).uses_lookback = true;
  g.add("a", Gathering::payload({})).uses_lookback = true;
  g.add("b", Gathering::payload({1}));
  g.view.inputsByProducer["b"].insert(g.view.inputsByProducer["b"].begin(), nullptr);
  g.add("c", Gathering::payload({2})).uses_lookback = true;
  const FrameDetections frame = g.gather();
  EXPECT_EQ(frame.lookback, 2U);
  EXPECT_EQ(frame.missing, 1U);
  EXPECT_EQ(Gathering::xs(frame), (std::vector<int>{1, 2}));
}

TEST(GatherDetections, AProducerOfNullInputsAloneIsMissing) {
  Gathering g({"a"});
  g.view.inputsByProducer["a"] = {nullptr};
  EXPECT_EQ(g.gather().missing, 1U);
}

TEST(GatherDetections, TheResolverGetsTheInputsFrameOrTheContextsWhenThatIs0) {
  Gathering g({"a"});
  g.add("a", Gathering::payload({1})).frame_id = 4;
  g.add("a", Gathering::payload({1}));
  g.gather();
  EXPECT_EQ(g.resolved_frames, (std::vector<uint64_t>{4, 9}));
}

TEST(GatherDetections, WithoutResolverCallableOrPayloadNothingIsRead) {
  Gathering g({"a"});
  g.add("a", SwAny());
  EXPECT_EQ(g.gather().missing, 1U);
  EXPECT_TRUE(g.resolved_frames.empty());

  g.add("a", Gathering::payload({1}));
  g.resolver.resolve = nullptr;
  EXPECT_EQ(g.gather().missing, 1U);
  g.ctx.payload_resolver = nullptr;
  EXPECT_EQ(g.gather().missing, 1U);
}

TEST(GatherDetections, TextPayloadsAreParsedAndOtherOnesAreEmpty) {
  Gathering g({"a"});
  g.add("a", SwAny(SwString("{\"detections\": [{\"x\": 6}]}")));
  g.add("a", SwAny(SwString("hello")));
  g.add("a", SwAny(7));
  EXPECT_EQ(Gathering::xs(g.gather()), std::vector<int>{6});
}

/// A payload type whose conversion to JSON throws what no exception handler would expect.
struct Poisoned {
  bool takes_all_memory = false;
};

TEST(GatherDetections, APayloadWhoseConversionThrowsContributesNothingButLackOfMemoryPassesThrough) {
  SwAny::registerMetaType<Poisoned>();
  SwAny::registerConversion<Poisoned, SwJsonObject>([](const Poisoned& poisoned) -> SwJsonObject {
    if (poisoned.takes_all_memory) throw std::bad_alloc();
    throw 42;
  });
  Gathering g({"a", "b"});
  g.add("a", SwAny::from(Poisoned()));
  g.add("b", Gathering::payload({1}));
  const FrameDetections frame = g.gather();
  EXPECT_EQ(Gathering::xs(frame), std::vector<int>{1});
  EXPECT_EQ(frame.missing, 1U);
  g.add("b", SwAny::from(Poisoned{true}));
  EXPECT_THROW(g.gather(), std::bad_alloc);
}

TEST(GatherDetections, WhatTheResolverThrowsIsTheHostsToSee) {
  Gathering g({"a"});
  g.add("a", Gathering::payload({1}));
  g.resolver.resolve = [](uint64_t, const SwAny&) -> SwAny { throw std::out_of_range("the host's own"); };
  EXPECT_THROW(g.gather(), std::out_of_range);
}

// --- what became of each element

using Outcomes = std::vector<Outcome>;

TEST(CollectDetections, TheOutcomesNameElementsThatAreNoObjectsAndThoseOverTheCap) {
  std::vector<DetView> list;
  Outcomes outcomes;
  collectDetections(objectOf("{\"detections\": [{}, 1, {}, {}, null]}"), 2, list, &outcomes);
  EXPECT_EQ(list.size(), 2U);
  EXPECT_EQ(outcomes, (Outcomes{Outcome::Drawn, Outcome::NotAnObject, Outcome::Drawn, Outcome::OverCap,
                                Outcome::NotAnObject}));
}

TEST(GatherDetections, OutcomesOfInputsBeyondTheCapAreToldAndChangeNothingElse) {
  Gathering g({"a", "b", "absent"});
  const RenderInput* first = &g.add("a", Gathering::payload({1, 2, 3}));
  const RenderInput* second = &g.add("b", Gathering::payload({4}));
  std::vector<InputOutcomes> outcomes;
  const FrameDetections frame = gatherDetections(g.ctx, g.view, 2, &outcomes);
  EXPECT_EQ(Gathering::xs(frame), (std::vector<int>{1, 2}));
  EXPECT_EQ(frame.missing, 0U);
  ASSERT_EQ(outcomes.size(), 2U);
  EXPECT_EQ(outcomes[0].input, first);
  EXPECT_EQ(outcomes[0].outcomes, (Outcomes{Outcome::Drawn, Outcome::Drawn, Outcome::OverCap}));
  EXPECT_EQ(outcomes[1].input, second);
  EXPECT_EQ(outcomes[1].outcomes, Outcomes{Outcome::OverCap});
}

TEST(GatherDetections, TheListIsReservedForTheCapUpFront) {
  Gathering g({});
  EXPECT_GE(g.gather(37).detections.capacity(), 37U);
}

}  // namespace
}  // namespace seg_mask
