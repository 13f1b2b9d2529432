// How a pass gets at the picture: what is kept in the context from pass to pass, what is replaced, and what
// is left behind when no picture can be had.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"
#include "zelvo/RenderTarget.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"

namespace {

using plugin_test::Frame;
using plugin_test::sameFrame;
using scene::Scene;
using Events = std::vector<std::string>;

// Maps like the reference host's backend and notes what happens; a spoiler may damage what is handed out.
class ProbeBackend : public IRenderBackend {
 public:
  using Spoil = void (*)(MappedPlanes& planes);

  ProbeBackend(std::string name, IRenderBackend& inner, Events& events)
      : name_(std::move(name)), inner_(inner), events_(events) {}

  Mapping map(zelvo::RenderTarget& target) override {
    events_.push_back(name_ + " maps");
    target_ = &target;
    const auto inner = std::make_shared<Mapping>(inner_.map(target));
    Mapping mapping;
    mapping.planes = inner->planes;
    if (spoil_ != nullptr) spoil_(mapping.planes);
    mapping.guard = Guard(
        std::shared_ptr<void>(this, [this, inner](void*) { events_.push_back(name_ + " is released"); }));
    return mapping;
  }

  void spoilWith(Spoil spoil) { spoil_ = spoil; }
  const zelvo::RenderTarget* lastTarget() const { return target_; }

 private:
  std::string name_;
  IRenderBackend& inner_;
  Events& events_;
  Spoil spoil_ = nullptr;
  const zelvo::RenderTarget* target_ = nullptr;
};

class PictureMapping : public plugin_test::PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    if (IsSkipped()) return;
    scene_.inputs[0].detections[0].score = 0.5F;
    first_ = std::make_unique<ProbeBackend>("first", host().backend(), events_);
    second_ = std::make_unique<ProbeBackend>("second", host().backend(), events_);
    frame_ = std::make_unique<Frame>(scene_, host().stream());
    once_ = model::expectedFrame(scene_);
    Scene again = scene_;
    again.frame = once_;
    twice_ = model::expectedFrame(again);
  }

  void pass(ProbeBackend& backend) {
    RenderInit init;
    init.backend = &backend;
    host().plugin()->init(init);
    host().render(*frame_);
  }

  RenderContext& context() { return frame_->context(); }

  void expectNothingMapped() {
    EXPECT_EQ(context().render_target, nullptr);
    EXPECT_EQ(context().guard_backend, nullptr);
    EXPECT_FALSE(context().guard_active);
  }

  Scene scene_ = scene::oneProducer(6, 4, {scene::coverAll(6, 4)});
  Events events_;
  std::unique_ptr<ProbeBackend> first_;
  std::unique_ptr<ProbeBackend> second_;
  std::unique_ptr<Frame> frame_;  // after the backends, which its guard refers to
  std::vector<uint8_t> once_;
  std::vector<uint8_t> twice_;
};

TEST_F(PictureMapping, FirstPassLeavesItsMappingInTheContext) {
  pass(*first_);
  EXPECT_EQ(events_, Events{"first maps"});
  EXPECT_TRUE(context().guard_active);
  EXPECT_TRUE(context().guard.holds());
  EXPECT_EQ(context().guard_backend, first_.get());
  ASSERT_NE(context().render_target, nullptr);
  EXPECT_EQ(first_->lastTarget(), context().render_target.get());
  EXPECT_EQ(context().planes.y, context().picture.writable->yPlane());
  EXPECT_EQ(context().planes.uv, context().picture.writable->uvPlane());
  EXPECT_EQ(context().planes.stream, host().stream());
  EXPECT_TRUE(sameFrame(scene_, once_, frame_->pixels()));
}

TEST_F(PictureMapping, InvalidMappingDrawsNothingAndLeavesNoMapping) {
  const ProbeBackend::Spoil kSpoils[] = {
      [](IRenderBackend::MappedPlanes& planes) { planes.y = nullptr; },
      [](IRenderBackend::MappedPlanes& planes) { planes.uv = nullptr; },
      [](IRenderBackend::MappedPlanes& planes) { planes.yPitch = 0; },
      [](IRenderBackend::MappedPlanes& planes) { planes.uvPitch = 0; },
      [](IRenderBackend::MappedPlanes& planes) { planes.yPitch = -64; },
      [](IRenderBackend::MappedPlanes& planes) { planes.uvPitch = INT32_MIN; },
  };
  for (const ProbeBackend::Spoil spoil : kSpoils) {
    first_->spoilWith(spoil);
    events_.clear();
    pass(*first_);
    EXPECT_EQ(events_, (Events{"first maps", "first is released"}));
    expectNothingMapped();
    EXPECT_TRUE(sameFrame(scene_, scene_.frame, frame_->pixels()));
  }
  first_->spoilWith(nullptr);
  pass(*first_);
  EXPECT_TRUE(sameFrame(scene_, once_, frame_->pixels()));
}

TEST_F(PictureMapping, WhatMappingThrowsReachesTheHostAndTheNextPassDraws) {
  const ProbeBackend::Spoil kThrows = [](IRenderBackend::MappedPlanes&) {
    throw std::range_error("mapping");
  };
  first_->spoilWith(kThrows);
  EXPECT_THROW(pass(*first_), std::range_error);
  EXPECT_FALSE(context().guard_active);
  EXPECT_FALSE(context().guard.holds());
  EXPECT_TRUE(sameFrame(scene_, scene_.frame, frame_->pixels()));
  first_->spoilWith(nullptr);
  pass(*first_);
  EXPECT_TRUE(sameFrame(scene_, once_, frame_->pixels()));

  // A mapping of another backend's is released before, and not taken for one of this backend's after.
  second_->spoilWith(kThrows);
  EXPECT_THROW(pass(*second_), std::range_error);
  EXPECT_FALSE(context().guard_active);
  EXPECT_FALSE(context().guard.holds());
  EXPECT_EQ(context().guard_backend, nullptr);
  second_->spoilWith(nullptr);
  pass(*second_);
  EXPECT_TRUE(sameFrame(scene_, twice_, frame_->pixels()));
}

// A pitch below the width makes rows that lie over each other. What is drawn stays within them.
TEST_F(PictureMapping, PitchesThatLieDrawOnlyWhereTheySayThatRowsLie) {
  scene_.settings.alpha = 1.0F;
  scene_.inputs[0].detections[0].w = 2;
  host().configure(scene_.settings);
  Frame frame(scene_, host().stream());
  first_->spoilWith([](IRenderBackend::MappedPlanes& planes) {
    planes.yPitch = 1;
    planes.uvPitch = 2;
  });
  RenderInit init;
  init.backend = first_.get();
  host().plugin()->init(init);
  host().render(frame);
  // Class 0 is Y 115, U 94, V 227. Four luma rows of two begin at bytes 0 to 3, two chroma rows of one pair
  // at bytes 0 and 2: all in the first row of the picture's own.
  std::vector<uint8_t> expected = scene_.frame;
  for (std::size_t x = 0; x < 5; ++x) expected[x] = 115;
  for (std::size_t x = 0; x < 4; ++x) expected[24 + x] = x % 2 == 0 ? 94 : 227;
  EXPECT_TRUE(sameFrame(scene_, expected, frame.pixels()));
}

// Passes that draw nothing have no use for the picture.
TEST_F(PictureMapping, PassWithoutItemsLeavesTheMappingAlone) {
  pass(*first_);
  scene::Settings strict;
  strict.min_score = 0.75F;
  host().configure(strict);
  events_.clear();
  pass(*second_);
  EXPECT_EQ(events_, Events{});
  EXPECT_EQ(context().guard_backend, first_.get());
  EXPECT_TRUE(context().guard_active);
}

// Runs the pass, which must throw a std::runtime_error, and gives its text.
class UnreadablePicture : public PictureMapping {
 protected:
  std::string errorOfPass() {
    try {
      pass(*first_);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "nothing was thrown";
  }
};

// Gives nothing, or throws what it is told to.
class BadPool : public zelvo::ZelvoPicturePool {
 public:
  std::shared_ptr<zelvo::ZelvoPicture> clone(const zelvo::ZelvoPicture&) override {
    if (throws) throw std::length_error("the pool's own");
    return nullptr;
  }
  bool throws = false;
};

TEST_F(UnreadablePicture, WhatPoolAndCopierThrowReachesTheHostAndTheNextPassDraws) {
  const auto good_pool = context().picture.pool;
  const auto pool = std::make_shared<BadPool>();
  pool->throws = true;
  context().picture.pool = pool;
  EXPECT_THROW(pass(*first_), std::length_error);
  context().picture.pool = nullptr;
  context().picture.cloneDetached = [](const std::string&, uint64_t) -> std::shared_ptr<zelvo::ZelvoPicture> {
    throw 42;
  };
  EXPECT_THROW(pass(*first_), int);
  EXPECT_EQ(context().picture.writable, nullptr);
  expectNothingMapped();
  context().picture.pool = good_pool;
  pass(*first_);
  EXPECT_TRUE(sameFrame(scene_, once_, frame_->pixels()));
}

TEST_F(UnreadablePicture, PictureThatVanishesFromAFrameWithoutDetectionsIsNot) {
  RenderPayloadResolver resolver;
  resolver.resolve = [this](uint64_t, const SwAny&) {
    context().picture.source = nullptr;
    return SwAny();
  };
  context().payload_resolver = &resolver;
  EXPECT_EQ(errorOfPass(), "nothing was thrown");
}

// The picture that the masks are fitted to is the copy, once there is one.
TEST_F(PictureMapping, CopyDecidesTheSizeOnceItIsThere) {
  Scene small = scene::oneProducer(4, 2, {scene::coverAll(6, 4)});
  Frame other(small, host().stream());
  context().picture.writable = other.context().picture.ensureWritablePicShared();
  pass(*first_);
  EXPECT_TRUE(sameFrame(small, model::expectedFrame(small), frame_->pixels()));
}

}  // namespace
