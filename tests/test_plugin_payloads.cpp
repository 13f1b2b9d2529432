// The ways from a context's inputs to what is drawn, and payloads on a bad day.

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

class PluginPayloads : public plugin_test::PluginTest {};

Detection drawable() {
  Detection detection;
  detection.w = 6;
  detection.h = 4;
  detection.mask = "SEG1|1|1|AQ==";
  return detection;
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

}  // namespace
