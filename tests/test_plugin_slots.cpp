// The order of IRenderPlugin's virtual functions, which hosts are compiled against: each is called by its
// place in the table, and shows itself by what it does. Works without a device.

#include <gtest/gtest.h>

#include <class_loader/class_loader.hpp>
#include <cstring>
#include <string>
#include <vector>

#include "core/SwAny.h"
#include "render_base/RenderInputRequirement.h"
#include "test_support/Allocations.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"

namespace {

using plugin_test::Frame;
using scene::Scene;

/// A free function whose first argument stands for `this` is called exactly like a member function, on
/// x86-64 and on 64-bit Arm.
template <class Function>
Function* inSlot(const IRenderPlugin& plugin, std::size_t number) {
  void* const* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&plugin), sizeof table);
  return reinterpret_cast<Function*>(table[number - 1]);
}

class PluginSlots : public ::testing::Test {
 protected:
  // The registries write one line when they fill. It must not turn up in what a test captures.
  void SetUp() override { SwAny::getConversionRules(); }

  void* self() { return &*plugin_; }

  template <class Function>
  Function* slot(std::size_t number) {
    return inSlot<Function>(*plugin_, number);
  }

  void init() {
    RenderInit init;
    init.backend = &backend_;
    EXPECT_TRUE(slot<bool(void*, const RenderInit&)>(8)(self(), init));
  }

  /// What one pass over the frame writes.
  std::string render(Frame& frame) {
    return plugin_test::standardErrorOf(
        [&] { slot<void(void*, RenderContext&)>(11)(self(), frame.context()); });
  }

  plugin_test::IdleBackend backend_;
  plugin_test::LoadedPlugin plugin_;
};

const char kLine[] =
    "[SegMask][Fallback] frame=1 decision=skip providers_missing=1 providers_using_lookback=0\n";

Scene twoProducers() {
  Scene scene = scene::oneProducer(2, 2, {scene::coverAll(2, 2)});
  scene.inputs.push_back(scene.inputs[0]);
  scene.inputs[1].producer = "q";
  return scene;
}

TEST_F(PluginSlots, ThirdGivesTheName) {
  EXPECT_STREQ(slot<const char*(const void*)>(3)(self()), "SegMaskOverlayPlugin");
}

TEST_F(PluginSlots, FourthGivesTheId) {
  const auto address = reinterpret_cast<std::uintptr_t>(self());
  EXPECT_EQ(slot<std::string(const void*)>(4)(self()), "segmask-" + std::to_string(address));
}

TEST_F(PluginSlots, FifthGivesTheInputTypes) {
  EXPECT_EQ(slot<std::vector<std::string>(const void*)>(5)(self()), std::vector<std::string>{"detection.v1"});
}

TEST_F(PluginSlots, SixthGivesTheInputRequirements) {
  const auto requirements = slot<std::vector<RenderInputRequirement>(const void*)>(6)(self());
  ASSERT_EQ(requirements.size(), 1U);
  EXPECT_EQ(requirements[0].type, "detection.v1");
  EXPECT_FALSE(requirements[0].flag);
}

TEST_F(PluginSlots, SeventhTurnsDebuggingOnAndOff) {
  init();
  for (const bool on : {true, false}) {
    slot<void(void*, bool)>(7)(self(), on);
    // A frame with detections first, so that the next one is the first of its run.
    Frame full(twoProducers());
    EXPECT_EQ(render(full), "");
    Frame empty(scene::oneProducer(2, 2, {}));
    EXPECT_EQ(render(empty), on ? kLine : "");
  }
}

TEST_F(PluginSlots, EighthTakesTheBackend) {
  Frame before(twoProducers());
  render(before);
  EXPECT_TRUE(before.resolvedFrames().empty());
  init();
  Frame after(twoProducers());
  render(after);
  EXPECT_EQ(after.resolvedFrames().size(), 2U);
}

TEST_F(PluginSlots, NinthGivesTheSchema) {
  const std::string schema = slot<std::string(void*)>(9)(self());
  EXPECT_NE(schema.find("\"title\": \"SegMaskOverlayPlugin configuration\""), std::string::npos) << schema;
}

// With a cap of one detection the second producer is not asked any more.
TEST_F(PluginSlots, TenthTakesTheConfiguration) {
  init();
  slot<void(void*, std::string)>(10)(self(), "{\"max_overlay_dets\": 1}");
  Frame frame(twoProducers());
  render(frame);
  EXPECT_EQ(frame.resolvedFrames().size(), 1U);
}

TEST_F(PluginSlots, EleventhRenders) {
  plugin_->enableDebug(true);
  init();
  Frame frame(scene::oneProducer(2, 2, {}));
  EXPECT_EQ(render(frame), kLine);
  EXPECT_EQ(frame.resolvedFrames().size(), 1U);
}

std::vector<const void*> givenBack;

/// The addresses, in order, of the memory that `function` gives back.
std::vector<const void*> givenBackBy(void (*function)(void*), void* object) {
  givenBack.clear();
  givenBack.reserve(100);
  watchGivenBack([](void* memory) { givenBack.push_back(memory); });
  function(object);
  watchGivenBack(nullptr);
  return givenBack;
}

/// An instance that nobody destroys, and that holds one piece of memory besides its own: the text of its id.
IRenderPlugin& instanceWithId(class_loader::ClassLoader& loader) {
  IRenderPlugin* instance = loader.createUnmanagedInstance<IRenderPlugin>("SegMaskOverlayPlugin");
  instance->getUuid();
  return *instance;
}

TEST(PluginDestructorSlots, FirstDestroysWithoutFreeing) {
  class_loader::ClassLoader loader(plugin_test::pluginPath());
  IRenderPlugin& plugin = instanceWithId(loader);
  void* const memory = &plugin;
  const std::vector<const void*> freed = givenBackBy(inSlot<void(void*)>(plugin, 1), memory);
  ASSERT_EQ(freed.size(), 1U);
  EXPECT_NE(freed[0], memory);
  ::operator delete(memory);
}

TEST(PluginDestructorSlots, SecondDestroysAndFrees) {
  class_loader::ClassLoader loader(plugin_test::pluginPath());
  IRenderPlugin& plugin = instanceWithId(loader);
  void* const memory = &plugin;
  const std::vector<const void*> freed = givenBackBy(inSlot<void(void*)>(plugin, 2), memory);
  ASSERT_EQ(freed.size(), 2U);
  EXPECT_NE(freed[0], memory);
  EXPECT_EQ(freed[1], memory);
}

}  // namespace
