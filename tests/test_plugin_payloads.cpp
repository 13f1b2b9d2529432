// Payloads as producers really send them, and the ways from an input to its detections.

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"
#include "test_support/scene_payload.h"

namespace {

using plugin_test::Frame;
using scene::Detection;
using scene::Scene;

class PluginPayloads : public plugin_test::PluginTest {
 protected:
  // The payload text must draw what `detections` draw.
  void expectReadAs(const std::string& payload, const std::vector<Detection>& detections, int32_t cap = 256) {
    Scene scene = scene::oneProducer(6, 4, detections);
    scene.settings.cap = cap;
    host().configure(scene.settings);
    Frame frame(scene, host().stream());
    frame.inputs()[0].payload = SwAny(payload);
    host().render(frame);
    EXPECT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels())) << payload;
  }

  // The same for the members of one detection with the mask below.
  void expectMembersReadAs(const std::string& members, int32_t x, int32_t y, int32_t w, int32_t h,
                           int32_t class_id) {
    Detection detection;
    detection.x = x;
    detection.y = y;
    detection.w = w;
    detection.h = h;
    detection.class_id = class_id;
    detection.mask = scene::fullMask(6, 4);
    expectReadAs("{\"detections\": [{" + members + ", \"class_info\": \"" + scene::fullMask(6, 4) + "\"}]}",
                 {detection});
  }
};

const char kDrawable[] =
    "{\"x\": 0, \"y\": 0, \"w\": 6, \"h\": 4, \"score\": 1, \"class_info\": \"SEG1|1|1|AQ==\"}";

Detection drawable() {
  Detection detection;
  detection.w = 6;
  detection.h = 4;
  detection.mask = "SEG1|1|1|AQ==";
  return detection;
}

TEST_F(PluginPayloads, FractionsAreCutTowardZero) {
  expectMembersReadAs("\"x\": 1.9, \"y\": -0.9, \"w\": 2.999, \"h\": 3.5, \"class_id\": -3.7", 1, 0, 2, 3,
                      -3);
}

TEST_F(PluginPayloads, TruthValuesAreOneAndZero) {
  expectMembersReadAs("\"x\": true, \"y\": false, \"w\": 4, \"h\": 4, \"class_id\": true", 1, 0, 4, 4, 1);
}

TEST_F(PluginPayloads, LargeIntegersKeepTheirLow32Bits) {
  // 2^32 + 1, -2^32 + 2, 2^32 + 3, 2^40 + 2 and 2^31, which becomes the smallest number.
  expectMembersReadAs(
      "\"x\": 4294967297, \"y\": -4294967294, \"w\": 4294967299, \"h\": 1099511627778, \"class_id\": "
      "2147483648",
      1, 2, 3, 2, INT32_MIN);
}

TEST_F(PluginPayloads, OtherKindsAndMissingNumbersAreZero) {
  expectMembersReadAs("\"x\": \"3\", \"y\": null, \"w\": 6, \"h\": 4, \"class_id\": [7]", 0, 0, 6, 4, 0);
  expectMembersReadAs("\"w\": 6, \"h\": 4", 0, 0, 6, 4, 0);
  expectMembersReadAs("\"x\": {}, \"w\": 6, \"h\": 4, \"X\": 3", 0, 0, 6, 4, 0);
}

TEST_F(PluginPayloads, HugeFractionsStayAtTheEndOfTheRange) {
  expectMembersReadAs("\"x\": -1e300, \"y\": 0, \"w\": 1e300, \"h\": 4, \"class_id\": 0", INT32_MIN, 0,
                      INT32_MAX, 4, 0);
  expectMembersReadAs("\"x\": 2, \"y\": 1, \"w\": 1e10, \"h\": 1e10, \"class_id\": 4", 2, 1, INT32_MAX,
                      INT32_MAX, 4);
}

TEST_F(PluginPayloads, ScoresOfEveryKind) {
  const std::pair<const char*, float> kScores[] = {
      {"0.5", 0.5F},   {"1", 1.0F},   {"true", 1.0F},      {"false", 0.0F}, {"null", 0.0F},
      {"\"1\"", 0.0F}, {"[1]", 0.0F}, {"{\"a\":1}", 0.0F}, {"7", 7.0F},     {"-1", -1.0F}};
  for (const auto& [text, score] : kScores) {
    Scene scene = scene::oneProducer(6, 4, {drawable()});
    scene.inputs[0].detections[0].score = score;
    scene.settings.min_score = 0.5F;
    host().configure(scene.settings);
    Frame frame(scene, host().stream());
    frame.inputs()[0].payload =
        SwAny("{\"detections\": [{\"w\": 6, \"h\": 4, \"score\": " + std::string(text) +
              ", \"class_info\": \"SEG1|1|1|AQ==\"}]}");
    host().render(frame);
    EXPECT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels())) << text;
  }
}

TEST_F(PluginPayloads, MissingScoreIsZeroAndPassesTheDefaultThreshold) {
  expectReadAs("{\"detections\": [{\"w\": 6, \"h\": 4, \"class_info\": \"SEG1|1|1|AQ==\"}]}", {drawable()});
}

TEST_F(PluginPayloads, ElementsThatAreNoObjectsDoNotCountTowardTheCap) {
  expectReadAs("{\"detections\": [1, null, \"x\", [], true, 2.5, " + std::string(kDrawable) + "]}",
               {drawable()}, 1);
}

TEST_F(PluginPayloads, MasksThatAreNoTextAreDroppedButCountTowardTheCap) {
  for (const char* mask : {"null", "7", "true", "[\"SEG1|1|1|AQ==\"]", "{}", "\"\""}) {
    const std::string payload =
        "{\"detections\": [{\"w\": 6, \"h\": 4, \"class_info\": " + std::string(mask) + "}, " + kDrawable +
        "]}";
    expectReadAs(payload, {drawable()}, 2);
    expectReadAs(payload, {}, 1);
  }
  expectReadAs("{\"detections\": [{}, " + std::string(kDrawable) + "]}", {}, 1);
}

TEST_F(PluginPayloads, PayloadsWithoutADetectionListDrawNothing) {
  const std::string list = "[" + std::string(kDrawable) + "]";
  for (const std::string& payload :
       {std::string(), std::string("{}"), std::string("null"), list, std::string("{\"detections\": null}"),
        std::string("{\"detections\": {\"0\": ") + kDrawable + "}}", "{\"Detections\": " + list + "}",
        std::string("{\"detections\": []}"), std::string("{\"detections\": \"x\"}"),
        "{\"detections\": " + list, std::string("no JSON at all")}) {
    expectReadAs(payload, {});
  }
}

TEST_F(PluginPayloads, OtherMembersDoNotMatter) {
  expectReadAs("{\"version\": 3, \"detections\": [" + std::string(kDrawable) + "], \"zzz\": [{\"x\": 1}]}",
               {drawable()});
}

TEST_F(PluginPayloads, ResolverGetsTheInputsFrameNumberOrElseTheContexts) {
  Scene scene = scene::oneProducer(6, 4, {drawable()});
  scene.inputs.resize(3, scene.inputs[0]);
  Frame frame(scene, host().stream());
  frame.context().frame_id = 900;
  frame.inputs()[1].frame_id = 77;
  frame.inputs()[2].frame_id = UINT64_MAX;
  host().render(frame);
  EXPECT_EQ(frame.resolvedFrames(), (std::vector<uint64_t>{900, 77, UINT64_MAX}));
}

TEST_F(PluginPayloads, WhatTheResolverReturnsIsDrawn) {
  const Scene stored = scene::oneProducer(6, 4, {drawable()});
  Scene resolved = stored;
  resolved.inputs[0].detections[0].class_id = 9;
  Frame frame(stored, host().stream());
  RenderPayloadResolver resolver;
  resolver.resolve = [&](uint64_t, const SwAny&) {
    return scene::payloadOf(resolved.inputs[0].detections, scene::PayloadForm::object);
  };
  frame.context().payload_resolver = &resolver;
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(resolved, model::expectedFrame(resolved), frame.pixels()));
}

TEST_F(PluginPayloads, WithoutAResolverInputsCannotBeRead) {
  const Scene scene = scene::oneProducer(6, 4, {drawable()});
  const RenderPayloadResolver empty;
  for (const RenderPayloadResolver* resolver : {static_cast<const RenderPayloadResolver*>(nullptr), &empty}) {
    Frame frame(scene, host().stream());
    frame.context().payload_resolver = resolver;
    host().render(frame);
    EXPECT_TRUE(plugin_test::sameFrame(scene, scene.frame, frame.pixels()));
  }
}

TEST_F(PluginPayloads, AbsentPayloadsAreNotResolved) {
  Scene scene = scene::oneProducer(6, 4, {drawable()});
  scene.inputs[0].form = scene::PayloadForm::absent;
  Frame frame(scene, host().stream());
  host().render(frame);
  EXPECT_TRUE(frame.resolvedFrames().empty());
}

TEST_F(PluginPayloads, ProducersPastTheCapAreNotResolved) {
  Scene scene = scene::oneProducer(6, 4, {drawable()});
  scene.inputs.push_back(scene.inputs[0]);
  scene.inputs[1].producer = "q";
  scene.settings.cap = 1;
  host().configure(scene.settings);
  Frame frame(scene, host().stream());
  host().render(frame);
  EXPECT_EQ(frame.resolvedFrames().size(), 1U);
}

TEST_F(PluginPayloads, OtherPayloadTypesAreNotTouched) {
  const Scene scene = scene::oneProducer(6, 4, {drawable()});
  Frame frame(scene, host().stream());
  const std::unordered_map<std::string, std::vector<RenderInput>> other = {{"detection.v2", frame.inputs()},
                                                                           {"track.v1", frame.inputs()}};
  frame.context().inputs = &other;
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(scene, scene.frame, frame.pixels()));
}

TEST_F(PluginPayloads, ContextsWithoutAnyListsAreFrames) {
  const Scene scene = scene::oneProducer(6, 4, {drawable()});
  Frame frame(scene, host().stream());
  frame.context().inputs = nullptr;
  frame.context().producer_statuses = nullptr;
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(scene, scene.frame, frame.pixels()));
}

TEST_F(PluginPayloads, WhatTheResolverThrowsReachesTheHostAndTheNextFrameIsDrawn) {
  const Scene scene = scene::oneProducer(6, 4, {drawable()});
  Frame frame(scene, host().stream());
  RenderPayloadResolver resolver;
  resolver.resolve = [](uint64_t, const SwAny&) -> SwAny { throw std::runtime_error("store closed"); };
  frame.context().payload_resolver = &resolver;
  EXPECT_THROW(host().render(frame), std::runtime_error);
  expectGolden(scene);
}

// A producer's own type, whose conversion to JSON throws a T.
template <class T>
struct Throws {
  T thrown;
};

template <class T>
SwAny throwing(const T& thrown) {
  SwAny::registerMetaType<Throws<T>>();
  SwAny::registerConversion<Throws<T>, SwJsonObject>(
      [](const Throws<T>& payload) -> SwJsonObject { throw payload.thrown; });
  return SwAny::from(Throws<T>{thrown});
}

// A payload that cannot even be copied, as a resolver does that hands on what is stored.
struct Uncopyable {
  Uncopyable() = default;
  Uncopyable(const Uncopyable& other) : isStored(true) {
    if (other.isStored) throw std::domain_error("cannot be copied twice");
  }
  Uncopyable& operator=(const Uncopyable&) = default;
  bool isStored = false;
};

// Three producers, of which the second one has a bad day.
class BadPayloads : public plugin_test::PluginTest {
 protected:
  BadPayloads() {
    scene_.inputs.resize(3, scene_.inputs[0]);
    scene_.inputs[1].producer = "q";
    scene_.inputs[2].producer = "r";
    scene_.inputs[1].detections[0].class_id = 5;
    scene_.inputs[2].detections[0].class_id = 9;
    others_.inputs = {scene_.inputs[0], scene_.inputs[2]};
  }

  void expectOthersDrawn(const SwAny& bad) {
    Frame frame(scene_, host().stream());
    frame.inputs()[1].payload = bad;
    EXPECT_NO_THROW(host().render(frame));
    EXPECT_TRUE(plugin_test::sameFrame(others_, model::expectedFrame(others_), frame.pixels()));
    expectGolden(scene_);
  }

  // The context's own resolver, but for the second call.
  template <class Action>
  RenderPayloadResolver failingAtTheSecond(Action action) {
    return {[calls = 0, action](uint64_t, const SwAny& stored) mutable {
      if (++calls == 2) action();
      return stored;
    }};
  }

  // A pass that threw has neither drawn nor mapped, and another one over the same context is as good as the
  // first.
  void expectUntouchedAndUsable(Frame& frame) {
    EXPECT_EQ(frame.context().picture.writable, nullptr);
    EXPECT_FALSE(frame.context().guard_active);
    const RenderPayloadResolver handOn{[](uint64_t, const SwAny& stored) { return stored; }};
    frame.context().payload_resolver = &handOn;
    host().render(frame);
    EXPECT_TRUE(plugin_test::sameFrame(scene_, model::expectedFrame(scene_), frame.pixels()));
    expectGolden(scene_);
  }

  Scene scene_ = scene::oneProducer(6, 4, {drawable()});
  Scene others_ = scene_;
};

TEST_F(BadPayloads, AConversionThatThrowsContributesNothingAndTheOthersAreDrawn) {
  expectOthersDrawn(throwing(std::runtime_error("a bad day")));
  expectOthersDrawn(throwing(std::logic_error("a bad idea")));
  expectOthersDrawn(throwing(42));
  expectOthersDrawn(throwing(std::string("thrown text")));
}

TEST_F(BadPayloads, APayloadOfAForeignKindContributesNothingAndTheOthersAreDrawn) {
  for (const SwAny& bad : {SwAny(7), SwAny(-1.5), SwAny(true), SwAny(std::string("{\"detections\": [")),
                           SwAny(std::string("{\"detections\": [{\"x\": 1e999}]}")), SwAny(SwJsonArray()),
                           SwAny(SwJsonObject())}) {
    expectOthersDrawn(bad);
  }
}

// A payload whose conversion ends the thread, as a cancelled one does; the C++ runtime ends the process where
// that is taken for an exception.
struct LastOne {};

TEST_F(BadPayloads, AConversionThatEndsItsThreadEndsThatAlone) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP()
      << "GCC's null check, in the same build, takes the ended thread's missing exception for an error";
#endif
  SwAny::registerMetaType<LastOne>();
  SwAny::registerConversion<LastOne, SwJsonObject>(
      [](const LastOne&) -> SwJsonObject { pthread_exit(nullptr); });
  Frame frame(scene_, host().stream());
  const SwAny good = frame.inputs()[1].payload;
  frame.inputs()[1].payload = SwAny::from(LastOne());
  std::pair<plugin_test::Host*, Frame*> pass(&host(), &frame);
  const auto render = [](void* data) -> void* {
    const auto& [host, of] = *static_cast<std::pair<plugin_test::Host*, Frame*>*>(data);
    host->render(*of);
    return data;
  };
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, nullptr, render, &pass), 0);
  void* returned = &pass;
  ASSERT_EQ(pthread_join(thread, &returned), 0);
  EXPECT_EQ(returned, nullptr) << "the pass came back";
  frame.inputs()[1].payload = good;
  expectUntouchedAndUsable(frame);
}

TEST_F(BadPayloads, AConversionWithoutMemoryLeavesAsBadAlloc) {
  Frame frame(scene_, host().stream());
  const SwAny good = frame.inputs()[1].payload;
  frame.inputs()[1].payload = throwing(std::bad_alloc());
  EXPECT_THROW(host().render(frame), std::bad_alloc);
  frame.inputs()[1].payload = good;
  expectUntouchedAndUsable(frame);
}

TEST_F(BadPayloads, WhateverTheResolverThrowsInTheMiddleReachesTheHost) {
  const auto expectLetOut = [this](const RenderPayloadResolver& resolver, auto thrown) {
    Frame frame(scene_, host().stream());
    frame.context().payload_resolver = &resolver;
    EXPECT_THROW(host().render(frame), decltype(thrown));
    expectUntouchedAndUsable(frame);
  };
  expectLetOut(failingAtTheSecond([] { throw 42; }), 42);
  expectLetOut(failingAtTheSecond([] { throw std::out_of_range("the host's own"); }), std::out_of_range(""));
  expectLetOut(failingAtTheSecond([] { throw std::bad_alloc(); }), std::bad_alloc());
}

TEST_F(BadPayloads, WhatCopyingAStoredPayloadThrowsIsTheResolvers) {
  SwAny::registerMetaType<Uncopyable>();
  Frame frame(scene_, host().stream());
  const SwAny good = frame.inputs()[1].payload;
  frame.inputs()[1].payload = SwAny::from(Uncopyable());
  EXPECT_THROW(host().render(frame), std::domain_error);
  frame.inputs()[1].payload = good;
  expectUntouchedAndUsable(frame);
}

// The view is made once per context; a host may also hand over one that it made itself.
class PluginProducerView : public plugin_test::PluginTest {
 protected:
  Scene scene_ = scene::oneProducer(6, 4, {drawable()});
};

TEST_F(PluginProducerView, ViewOfTheContextIsUsedAsItIs) {
  Frame frame(scene_, host().stream());
  frame.context().producer_views[plugin_test::kDetections];  // an empty view
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(scene_, scene_.frame, frame.pixels()));
}

TEST_F(PluginProducerView, NullInputsArePassedOver) {
  Frame frame(scene_, host().stream());
  RenderProducerTypeView& view = frame.context().producer_views[plugin_test::kDetections];
  view.producers = {"p"};
  view.inputsByProducer["p"] = {nullptr, &frame.inputs()[0], nullptr};
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(scene_, model::expectedFrame(scene_), frame.pixels()));
}

TEST_F(PluginProducerView, UnnamedProducersArePassedOver) {
  Frame frame(scene_, host().stream());
  RenderProducerTypeView& view = frame.context().producer_views[plugin_test::kDetections];
  view.producers = {""};
  view.inputsByProducer[""] = {&frame.inputs()[0]};
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(scene_, scene_.frame, frame.pixels()));
}

}  // namespace
