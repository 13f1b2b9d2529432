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

TEST(CollectDetections, AnIntegerKeepsItsLow32Bits) {
  EXPECT_EQ(detectionOf("\"x\": 4294967297").x, 1);
  EXPECT_EQ(detectionOf("\"x\": 2147483648").x, kMin);
  EXPECT_EQ(detectionOf("\"x\": -2147483649").x, kMax);
}

TEST(CollectDetections, AFloatingValueIsCutTowardZeroAndSaturates) {
  EXPECT_EQ(detectionOf("\"x\": 2.9").x, 2);
  EXPECT_EQ(detectionOf("\"x\": -2.9").x, -2);
  EXPECT_EQ(detectionOf("\"x\": 1e300").x, kMax);
  EXPECT_EQ(detectionOf("\"x\": -1e300").x, kMin);
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

TEST(CollectDetections, ABooleanReadsAs1Or0AndOtherKindsAs0) {
  const DetView detection =
      detectionOf("\"x\": true, \"y\": false, \"w\": \"7\", \"h\": [7], \"class_id\": null, \"score\": true");
  EXPECT_EQ(detection.x, 1);
  EXPECT_EQ(detection.y, 0);
  EXPECT_EQ(detection.w, 0);
  EXPECT_EQ(detection.h, 0);
  EXPECT_EQ(detection.class_id, 0);
  EXPECT_EQ(detection.score, 1.0F);
  EXPECT_EQ(detectionOf("\"score\": false").score, 0.0F);
  EXPECT_EQ(detectionOf("\"score\": \"1\"").score, 0.0F);
}

TEST(CollectDetections, AnIntegerScoreGoesFrom64BitsToFloatDirectly) {
  // Halfway between two floats but for its last bit: rounded once it goes up, by way of a double it would tie
  // down.
  EXPECT_EQ(detectionOf("\"score\": 36028799166447617").score, 36028801313931264.0F);
  EXPECT_EQ(detectionOf("\"score\": 2").score, 2.0F);
}

TEST(CollectDetections, AScoreBeyondSinglePrecisionIsInfinite) {
  EXPECT_EQ(detectionOf("\"score\": 1e300").score, std::numeric_limits<float>::infinity());
}

TEST(CollectDetections, TextIsWhatTheValuePrints) {
  EXPECT_EQ(detectionOf("\"class_info\": 42").class_info, "42");
  EXPECT_EQ(detectionOf("\"class_info\": null").class_info, "null");
  EXPECT_EQ(detectionOf("\"class_info\": [\"SEG1|\"]").class_info, "{}");
  EXPECT_EQ(detectionOf("\"class_info\": \"\"").class_info, "");
}

TEST(CollectDetections, DetectionsThatAreAnObjectOrAbsentYieldNone) {
  EXPECT_EQ(countIn("{\"detections\": {\"x\": 1}}"), 0U);
  EXPECT_EQ(countIn("{\"detections\": \"[{}]\"}"), 0U);
  EXPECT_EQ(countIn("{\"detections\": null}"), 0U);
  EXPECT_EQ(countIn("{\"Detections\": [{}]}"), 0U);
  EXPECT_EQ(countIn("{}"), 0U);
}

TEST(CollectDetections, ElementsThatAreNoObjectsArePassedOverAndDoNotCount) {
  EXPECT_EQ(countIn("{\"detections\": [1, null, \"a\", [{}], true]}"), 0U);
  EXPECT_EQ(countIn("{\"detections\": [1, {}, 2, {}]}", 2), 2U);
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

  Gathering() { ctx.frame_id = 9; }

  void list(const std::string& producer) { view.producers.push_back(producer); }

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
  Gathering g;
  g.list("b");
  g.list("a");
  g.add("a", Gathering::payload({5}));
  g.add("b", Gathering::payload({1, 2}));
  g.add("b", Gathering::payload({3}));
  EXPECT_EQ(Gathering::xs(g.gather()), (std::vector<int>{1, 2, 3, 5}));
}

TEST(GatherDetections, AbsentEmptyAndFruitlessProducersAreMissingAndAnEmptyIdIsNot) {
  Gathering g;
  g.list("absent");
  g.list("empty");
  g.list("fruitless");
  g.list("");
  g.view.inputsByProducer["empty"] = {};
  g.add("", Gathering::payload({1}));
  g.add("fruitless", Gathering::payload({}));
  const FrameDetections frame = g.gather();
  EXPECT_TRUE(frame.detections.empty());
  EXPECT_EQ(frame.missing, 3U);
  EXPECT_EQ(frame.lookback, 0U);
}

TEST(GatherDetections, OnceTheCapIsReachedLaterProducersAreNeitherLookedUpNorCounted) {
  Gathering g;
  g.list("a");
  g.list("b");
  g.list("absent");
  g.add("a", Gathering::payload({1, 2, 3}));
  g.add("b", Gathering::payload({4})).uses_lookback = true;
  const FrameDetections frame = g.gather(2);
  EXPECT_EQ(Gathering::xs(frame), (std::vector<int>{1, 2}));
  EXPECT_EQ(frame.missing, 0U);
  EXPECT_EQ(frame.lookback, 0U);
  EXPECT_EQ(g.resolved_frames.size(), 1U);
}

TEST(GatherDetections, TheCapRunsAcrossInputsAndProducers) {
  Gathering g;
  g.list("a");
  g.list("b");
  g.add("a", Gathering::payload({1, 2}));
  g.add("b", Gathering::payload({3}));
  g.add("b", Gathering::payload({4, 5}));
  EXPECT_EQ(Gathering::xs(g.gather(4)), (std::vector<int>{1, 2, 3, 4}));
}

TEST(GatherDetections, AllInputsOfTheProducerThatReachesTheCapAreResolved) {
  Gathering g;
  g.list("a");
  g.add("a", Gathering::payload({1, 2}));
  g.add("a", Gathering::payload({3}));
  EXPECT_EQ(Gathering::xs(g.gather(1)), std::vector<int>{1});
  EXPECT_EQ(g.resolved_frames.size(), 2U);
}

TEST(GatherDetections, LookbackCountsOncePerProducerAndNullInputsArePassedOver) {
  Gathering g;
  g.list("a");
  g.list("b");
  g.add("a", Gathering::payload({})).uses_lookback = true;
  g.add("a", Gathering::payload({})).uses_lookback = true;
  g.add("b", Gathering::payload({1}));
  g.view.inputsByProducer["b"].insert(g.view.inputsByProducer["b"].begin(), nullptr);
  g.list("c");
  g.add("c", Gathering::payload({2})).uses_lookback = true;
  const FrameDetections frame = g.gather();
  EXPECT_EQ(frame.lookback, 2U);
  EXPECT_EQ(frame.missing, 1U);
  EXPECT_EQ(Gathering::xs(frame), (std::vector<int>{1, 2}));
}

TEST(GatherDetections, AProducerOfNullInputsAloneIsMissing) {
  Gathering g;
  g.list("a");
  g.view.inputsByProducer["a"] = {nullptr};
  EXPECT_EQ(g.gather().missing, 1U);
}

TEST(GatherDetections, TheResolverGetsTheInputsFrameOrTheContextsWhenThatIs0) {
  Gathering g;
  g.list("a");
  g.add("a", Gathering::payload({1})).frame_id = 4;
  g.add("a", Gathering::payload({1}));
  g.gather();
  EXPECT_EQ(g.resolved_frames, (std::vector<uint64_t>{4, 9}));
}

TEST(GatherDetections, WithoutResolverCallableOrPayloadNothingIsRead) {
  Gathering g;
  g.list("a");
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
  Gathering g;
  g.list("a");
  g.add("a", SwAny(SwString("{\"detections\": [{\"x\": 6}]}")));
  g.add("a", SwAny(SwString("hello")));
  g.add("a", SwAny(7));
  EXPECT_EQ(Gathering::xs(g.gather()), std::vector<int>{6});
}

/// A payload type whose conversion to JSON throws what no exception handler would expect.
struct Poisoned {};

TEST(GatherDetections, APayloadWhoseConversionThrowsContributesNothingAndTheFrameGoesOn) {
  SwAny::registerMetaType<Poisoned>();
  SwAny::registerConversion<Poisoned, SwJsonObject>([](const Poisoned&) -> SwJsonObject { throw 42; });
  Gathering g;
  g.list("a");
  g.list("b");
  g.add("a", SwAny::from(Poisoned()));
  g.add("b", Gathering::payload({1}));
  const FrameDetections frame = g.gather();
  EXPECT_EQ(Gathering::xs(frame), std::vector<int>{1});
  EXPECT_EQ(frame.missing, 1U);
}

/// A payload type whose conversion finds no memory.
struct Ravenous {};

TEST(GatherDetections, LackOfMemoryInAConversionPassesThrough) {
  SwAny::registerMetaType<Ravenous>();
  SwAny::registerConversion<Ravenous, SwJsonObject>(
      [](const Ravenous&) -> SwJsonObject { throw std::bad_alloc(); });
  Gathering g;
  g.list("a");
  g.add("a", SwAny::from(Ravenous()));
  EXPECT_THROW(g.gather(), std::bad_alloc);
}

TEST(GatherDetections, WhatTheResolverThrowsIsTheHostsToSee) {
  Gathering g;
  g.list("a");
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
  Gathering g;
  g.list("a");
  g.list("b");
  g.list("absent");
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
  Gathering g;
  EXPECT_GE(g.gather(37).detections.capacity(), 37U);
}

}  // namespace
}  // namespace seg_mask
