#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "render_base/RenderContext.h"
#include "render_base/mapped_picture.h"
#include "test_support/FrameContext.h"
#include "zelvo/ZelvoPicture.h"

namespace render_base {
namespace {

/// What happened, in order, to the guards and mappings of a test.
using Events = std::vector<std::string>;

/// A backend that maps to made-up addresses and logs.
class FakeBackend : public IRenderBackend {
 public:
  FakeBackend(std::string name, Events& events) : name_(std::move(name)), events_(events) {
    planes.y = &sample;
    planes.uv = &sample;
    planes.yPitch = 4;
    planes.uvPitch = 2;
  }

  Mapping map(zelvo::RenderTarget& target) override {
    events_.push_back("map " + name_);
    lastTarget = &target;
    if (onMap) onMap();
    std::shared_ptr<void> token(&sample, [this](void*) {
      events_.push_back("unmap " + name_);
      if (onUnmap) onUnmap();
    });
    return {Guard(std::move(token)), planes};
  }

  MappedPlanes planes;
  zelvo::RenderTarget* lastTarget = nullptr;
  std::function<void()> onMap;
  std::function<void()> onUnmap;  ///< called when a mapping ends

 private:
  std::string name_;
  Events& events_;
  unsigned char sample = 0;
};

/// A target of which a test sees the end.
class WatchedTarget : public zelvo::RenderTarget {
 public:
  explicit WatchedTarget(std::function<void()> onEnd)
      : zelvo::RenderTarget(nullptr), onEnd_(std::move(onEnd)) {}
  ~WatchedTarget() override { onEnd_(); }

 private:
  std::function<void()> onEnd_;
};

struct MappedPicture : testing::Test {
  static constexpr FrameSize kSize{4, 2};

  Events events;
  FakeBackend a{"a", events};
  FakeBackend b{"b", events};
  plugin_test::FrameContext parts;
  RenderContext& ctx = parts.ctx;
  KnownMapping known;
  std::shared_ptr<zelvo::ZelvoPicture> copy = std::make_shared<zelvo::ZelvoPicture>(4, 2);

  MappedPicture() {
    parts.show(std::make_shared<zelvo::ZelvoPicture>(4, 2));
    ctx.picture.pool = nullptr;
    ctx.picture.cloneDetached = [this](const std::string&, uint64_t) { return copy; };
  }

  /// Puts a target into the place of the context's, whose end is noted and shown to `look`.
  void watchTarget(std::function<void()> look) {
    ctx.render_target = std::make_unique<WatchedTarget>([this, look = std::move(look)] {
      events.emplace_back("target ends");
      look();
    });
  }
};

TEST_F(MappedPicture, TheFirstPassMapsATargetOfTheWritablePictureAndASecondOfTheSameBackendKeepsBoth) {
  EXPECT_TRUE(mapWritablePicture(ctx, a, kSize, known));
  const zelvo::RenderTarget* target = ctx.render_target.get();
  EXPECT_TRUE(mapWritablePicture(ctx, a, kSize, known));
  EXPECT_EQ(events, Events{"map a"});
  EXPECT_EQ(ctx.picture.writable, copy);
  EXPECT_EQ(a.lastTarget, target);
  EXPECT_EQ(ctx.render_target.get(), target);
  EXPECT_TRUE(ctx.guard_active);
  EXPECT_TRUE(ctx.guard.holds());
  EXPECT_EQ(ctx.guard_backend, &a);
  EXPECT_EQ(ctx.planes.yPitch, 4);
}

TEST_F(MappedPicture, AnotherBackendsMappingIsReleasedStepByStep) {
  mapWritablePicture(ctx, a, kSize, known);
  a.onUnmap = [this] {
    EXPECT_FALSE(ctx.guard_active);
    EXPECT_NE(ctx.render_target, nullptr);
    EXPECT_EQ(ctx.guard_backend, &a);
  };
  watchTarget([this] {
    EXPECT_FALSE(ctx.guard_active);
    EXPECT_FALSE(ctx.guard.holds());
    EXPECT_EQ(ctx.guard_backend, &a);
  });
  b.onMap = [this] {
    EXPECT_FALSE(ctx.guard_active);
    EXPECT_EQ(ctx.guard_backend, nullptr);
  };
  EXPECT_TRUE(mapWritablePicture(ctx, b, kSize, known));
  EXPECT_EQ(events, (Events{"map a", "unmap a", "target ends", "map b"}));
  EXPECT_EQ(ctx.guard_backend, &b);
}

TEST_F(MappedPicture, TheNewTargetIsThereWhenTheOldOneEndsAndTheBackendIsNamedWhenTheOldGuardDoes) {
  mapWritablePicture(ctx, a, kSize, known);
  ctx.guard_active = false;
  const zelvo::RenderTarget* seen = nullptr;
  watchTarget([this, &seen] { seen = ctx.render_target.get(); });
  a.onUnmap = [this] {
    EXPECT_EQ(ctx.guard_backend, &b);
    EXPECT_FALSE(ctx.guard_active);
  };
  EXPECT_TRUE(mapWritablePicture(ctx, b, kSize, known));
  EXPECT_NE(seen, nullptr);
  EXPECT_EQ(seen, b.lastTarget);
  EXPECT_EQ(events, (Events{"map a", "target ends", "map b", "unmap a"}));
  EXPECT_TRUE(ctx.guard_active);
  a.onUnmap = nullptr;
}

TEST_F(MappedPicture, AMappingThatNamesNoBackendIsReleasedBeforeTheNextOne) {
  mapWritablePicture(ctx, a, kSize, known);
  ctx.guard_backend = nullptr;
  EXPECT_TRUE(mapWritablePicture(ctx, a, kSize, known));
  EXPECT_EQ(events, (Events{"map a", "unmap a", "map a"}));
  EXPECT_EQ(ctx.guard_backend, &a);
}

/// Each of the ways in which planes can be invalid.
const std::function<void(IRenderBackend::MappedPlanes&)> kSpoilers[] = {
    [](auto& planes) { planes.y = nullptr; }, [](auto& planes) { planes.uv = nullptr; },
    [](auto& planes) { planes.yPitch = 0; },  [](auto& planes) { planes.uvPitch = 0; },
    [](auto& planes) { planes.yPitch = -1; }, [](auto& planes) { planes.uvPitch = -1; }};

TEST_F(MappedPicture, AnActiveGuardWithInvalidPlanesIsReplacedAfterTheNewMapping) {
  for (const auto& spoil : kSpoilers) {
    ctx.guard_active = false;
    ctx.guard = IRenderBackend::Guard();
    mapWritablePicture(ctx, a, kSize, known);
    spoil(ctx.planes);
    events.clear();
    EXPECT_TRUE(mapWritablePicture(ctx, a, kSize, known));
    EXPECT_EQ(events, (Events{"map a", "unmap a"})) << &spoil - kSpoilers;
    EXPECT_EQ(ctx.planes.uvPitch, 2);
  }
}

TEST_F(MappedPicture, AnInvalidMappingClearsTargetAndBackendAndEndsTheMapping) {
  for (int way = 0; way < 4; ++way) {
    events.clear();
    FakeBackend bad("bad", events);
    if (way == 0) bad.planes.y = nullptr;
    if (way == 1) bad.planes.uv = nullptr;
    if (way == 2) bad.planes.yPitch = -1;
    if (way == 3) bad.planes.uvPitch = 0;
    EXPECT_FALSE(mapWritablePicture(ctx, bad, kSize, known));
    EXPECT_EQ(events, (Events{"map bad", "unmap bad"})) << way;
    EXPECT_EQ(ctx.render_target, nullptr);
    EXPECT_EQ(ctx.guard_backend, nullptr);
    EXPECT_FALSE(ctx.guard_active);
  }
}

TEST_F(MappedPicture, AnInvalidMappingEndsOnceTheContextHasForgottenItsTargetAndBackend) {
  mapWritablePicture(ctx, a, kSize, known);
  ctx.guard_active = false;
  b.planes.y = nullptr;
  b.onUnmap = [this] {
    EXPECT_EQ(ctx.render_target, nullptr);
    EXPECT_EQ(ctx.guard_backend, nullptr);
  };
  // While it maps, since the target is one that the pass has made.
  b.onMap = [this] { watchTarget([this] { EXPECT_EQ(ctx.guard_backend, &a); }); };
  EXPECT_FALSE(mapWritablePicture(ctx, b, kSize, known));
  EXPECT_EQ(events, (Events{"map a", "map b", "target ends", "unmap b"}));
}

TEST_F(MappedPicture, AnInvalidMappingByAnotherBackendLeavesNothingOfTheFirst) {
  mapWritablePicture(ctx, a, kSize, known);
  b.planes.y = nullptr;
  EXPECT_FALSE(mapWritablePicture(ctx, b, kSize, known));
  EXPECT_EQ(events, (Events{"map a", "unmap a", "map b", "unmap b"}));
  EXPECT_EQ(ctx.render_target, nullptr);
  EXPECT_FALSE(ctx.guard.holds());
}

TEST_F(MappedPicture, AnActiveGuardWithInvalidPlanesStaysWhereTheNewMappingIsInvalidToo) {
  mapWritablePicture(ctx, a, kSize, known);
  ctx.planes.y = nullptr;
  events.clear();
  b.planes.uv = nullptr;
  EXPECT_FALSE(mapWritablePicture(ctx, b, kSize, known));
  EXPECT_EQ(events, (Events{"map b", "unmap b"}));
  EXPECT_TRUE(ctx.guard_active);
  EXPECT_TRUE(ctx.guard.holds());
  EXPECT_EQ(ctx.render_target, nullptr);
  EXPECT_EQ(ctx.guard_backend, nullptr);
}

TEST_F(MappedPicture, APictureWithoutARenderTargetMapsNothingAndDropsTheOldTarget) {
  mapWritablePicture(ctx, a, kSize, known);
  events.clear();
  ctx.guard_active = false;
  ctx.picture.writable = std::make_shared<zelvo::ZelvoPicture>();  // the empty picture has no target
  EXPECT_FALSE(mapWritablePicture(ctx, a, kSize, known));
  EXPECT_EQ(ctx.render_target, nullptr);
  EXPECT_EQ(events, Events{});
}

TEST_F(MappedPicture, ACopySmallerThanTheFrameIsNotMappedAndALargerOneIs) {
  for (const FrameSize size : {FrameSize{3, 2}, FrameSize{4, 1}, FrameSize{3, 3}, FrameSize{5, 1}}) {
    ctx.picture.writable = nullptr;
    copy = std::make_shared<zelvo::ZelvoPicture>(size.width, size.height);
    EXPECT_FALSE(mapWritablePicture(ctx, a, kSize, known)) << size.width << 'x' << size.height;
    EXPECT_EQ(ctx.render_target, nullptr);
  }
  EXPECT_EQ(events, Events{});
  ctx.picture.writable = std::make_shared<zelvo::ZelvoPicture>(5, 3);
  EXPECT_TRUE(mapWritablePicture(ctx, a, kSize, known));
}

TEST_F(MappedPicture, APictureWithoutARenderTargetLeavesAnActiveGuardWithInvalidPlanes) {
  mapWritablePicture(ctx, a, kSize, known);
  ctx.planes.y = nullptr;
  ctx.picture.writable = std::make_shared<zelvo::ZelvoPicture>();
  EXPECT_FALSE(mapWritablePicture(ctx, a, kSize, known));
  EXPECT_EQ(events, Events{"map a"});
  EXPECT_EQ(ctx.render_target, nullptr);
  EXPECT_TRUE(ctx.guard_active);
  EXPECT_TRUE(ctx.guard.holds());
  EXPECT_EQ(ctx.guard_backend, &a);
}

TEST_F(MappedPicture, WhatDetachingThrowsPassesThroughAndTheTargetOfTheLastPassStays) {
  mapWritablePicture(ctx, a, kSize, known);
  const zelvo::RenderTarget* target = ctx.render_target.get();
  ctx.guard_active = false;
  ctx.picture.writable = nullptr;
  ctx.picture.sourceId = 0;
  EXPECT_THROW(mapWritablePicture(ctx, a, kSize, known), std::runtime_error);
  EXPECT_EQ(events, Events{"map a"});
  EXPECT_NE(target, nullptr);
  EXPECT_EQ(ctx.render_target.get(), target);
  EXPECT_EQ(ctx.guard_backend, &a);
}

TEST_F(MappedPicture, WhenDetachingThrowsAnotherBackendsMappingIsReleasedWhole) {
  mapWritablePicture(ctx, a, kSize, known);
  ctx.picture.writable = nullptr;
  ctx.picture.sourceId = 0;
  EXPECT_THROW(mapWritablePicture(ctx, b, kSize, known), std::runtime_error);
  EXPECT_EQ(events, (Events{"map a", "unmap a"}));
  EXPECT_FALSE(ctx.guard_active);
  EXPECT_FALSE(ctx.guard.holds());
  EXPECT_EQ(ctx.render_target, nullptr);
  EXPECT_EQ(ctx.guard_backend, nullptr);
}

TEST_F(MappedPicture, AKeptMappingOfASmallerPictureIsNotDrawnOnAndTheContextStaysAsItIs) {
  ASSERT_TRUE(mapWritablePicture(ctx, a, kSize, known));
  const zelvo::RenderTarget* target = ctx.render_target.get();
  for (const FrameSize larger : {FrameSize{8, 4}, FrameSize{5, 2}, FrameSize{4, 3}}) {
    EXPECT_FALSE(mapWritablePicture(ctx, a, larger, known));
    EXPECT_EQ(events, Events{"map a"});
    EXPECT_EQ(ctx.render_target.get(), target);
    EXPECT_TRUE(ctx.guard_active);
    EXPECT_EQ(ctx.guard_backend, &a);
  }
  EXPECT_TRUE(mapWritablePicture(ctx, a, kSize, known));
  EXPECT_TRUE(mapWritablePicture(ctx, a, {3, 1}, known));
}

TEST_F(MappedPicture, AMappingThatAnotherInstanceMadeIsKeptWhateverThisOneHasMapped) {
  ASSERT_TRUE(mapWritablePicture(ctx, a, kSize, known));
  KnownMapping others;
  EXPECT_TRUE(mapWritablePicture(ctx, a, {8, 4}, others));
  unsigned char elsewhere = 0;
  ctx.planes.y = &elsewhere;  // another mapping of a target at the same address
  EXPECT_TRUE(mapWritablePicture(ctx, a, {8, 4}, known));
}

TEST_F(MappedPicture, AMappingOfTheSameMemoryByAnotherTargetIsNotTheKnownOne) {
  ASSERT_TRUE(mapWritablePicture(ctx, a, kSize, known));
  watchTarget([] {});
  EXPECT_TRUE(mapWritablePicture(ctx, a, {8, 4}, known)) << "it may be of a larger picture";
}

}  // namespace
}  // namespace render_base
