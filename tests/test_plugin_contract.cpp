// What a host relies on before and around the frames: the factory, the instance's identity, its declarations,
// its settings, and when it does nothing.

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"
#include "zelvo/ZelvoPicture.h"

namespace {

using plugin_test::Frame;
using plugin_test::LoadedPlugin;
using plugin_test::PluginLibrary;
using plugin_test::PluginTest;
using scene::Scene;

class PluginContract : public PluginTest {};

TEST(PluginFactory, OffersExactlyOneClass) {
  EXPECT_EQ(PluginLibrary().classes(), std::vector<std::string>{"SegMaskOverlayPlugin"});
}

TEST(PluginIdentity, NameIsTheFactorysClass) {
  EXPECT_STREQ(LoadedPlugin()->getName(), "SegMaskOverlayPlugin");
}

TEST(PluginIdentity, IdIsThePrefixAndTheAddressInDecimal) {
  const LoadedPlugin plugin;
  const auto address = reinterpret_cast<std::uintptr_t>(dynamic_cast<const void*>(&*plugin));
  EXPECT_EQ(plugin->getUuid(), "segmask-" + std::to_string(address));
}

TEST(PluginIdentity, IdsAreStableAndUniqueAmongLiveInstances) {
  PluginLibrary library;
  std::vector<PluginLibrary::Instance> instances;
  std::set<std::string> ids;
  for (int i = 0; i < 8; ++i) {
    instances.push_back(library.create());
    ids.insert(instances.back()->getUuid());
  }
  EXPECT_EQ(ids.size(), instances.size());
  for (const auto& instance : instances) EXPECT_EQ(ids.count(instance->getUuid()), 1U);
}

TEST(PluginDeclarations, ConsumesDetectionsAlone) {
  const LoadedPlugin plugin;
  EXPECT_EQ(plugin->input_types(), std::vector<std::string>{"detection.v1"});
  const std::vector<RenderInputRequirement> requirements = plugin->input_requirements();
  ASSERT_EQ(requirements.size(), 1U);
  EXPECT_EQ(requirements[0].type, "detection.v1");
  EXPECT_FALSE(requirements[0].flag);
}

TEST(PluginDeclarations, SchemaIsTheAgreedTextWhateverIsConfigured) {
  const std::string schema =
      "\n"
      "{\n"
      "  \"$schema\": \"http://json-schema.org/draft-07/schema#\",\n"
      "  \"title\": \"SegMaskOverlayPlugin configuration\",\n"
      "  \"type\": \"object\",\n"
      "  \"properties\": {\n"
      "    \"alpha\": { \"type\": \"number\", \"minimum\": 0.0, \"maximum\": 1.0, \"default\": 0.45 },\n"
      "    \"min_score\": { \"type\": \"number\", \"minimum\": 0.0, \"maximum\": 1.0, \"default\": 0.0 },\n"
      "    \"max_overlay_dets\": {\n"
      "      \"type\": \"integer\",\n"
      "      \"minimum\": 1,\n"
      "      \"maximum\": 4096,\n"
      "      \"default\": 256\n"
      "    }\n"
      "  },\n"
      "  \"additionalProperties\": false\n"
      "}\n";
  ASSERT_EQ(schema.size(), 477U);
  const LoadedPlugin plugin;
  EXPECT_EQ(plugin->getConfigList(), schema);
  plugin->setConfig("{\"alpha\": 1, \"min_score\": 1, \"max_overlay_dets\": 1}");
  EXPECT_EQ(plugin->getConfigList(), schema);
}

TEST(PluginInit, TakesANullBackend) {
  EXPECT_TRUE(LoadedPlugin()->init(RenderInit()));
}

TEST_F(PluginContract, DefaultsAreThoseOfTheSchema) {
  // 300 detections of score 0 with the default weight: the cap of 256 cuts the last ones off, nothing else
  // does.
  Scene scene = scene::oneProducer(2, 2, {});
  for (int32_t i = 0; i < 300; ++i) {
    scene.inputs[0].detections.push_back(scene::coverAll(2, 2, i < 255 ? 1 : i == 255 ? 5 : 16));
    scene.inputs[0].detections.back().score = 0.0F;
  }
  Frame frame(scene, host().stream());
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels()));
}

TEST_F(PluginContract, InstancesKeepSettingsOfTheirOwn) {
  plugin_test::Host other;
  Scene scene = scene::oneProducer(4, 4, {scene::coverAll(4, 4)});
  Scene strong = scene;
  strong.settings.alpha = 1.0F;
  other.configure(strong.settings);
  Frame frame(scene, host().stream());
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels()));
  Frame strong_frame(strong, other.stream());
  other.render(strong_frame);
  EXPECT_TRUE(plugin_test::sameFrame(strong, model::expectedFrame(strong), strong_frame.pixels()));
}

// Which settings a document leaves in force, seen by what is drawn: ten detections, each over the last.
class PluginSettings : public PluginTest {
 protected:
  void expectSettings(const std::string& document, float alpha, float min_score, int32_t cap) {
    Scene scene = scene::oneProducer(2, 2, {});
    for (int32_t i = 0; i < 10; ++i) {
      scene.inputs[0].detections.push_back(scene::coverAll(2, 2, i));
      scene.inputs[0].detections.back().score = static_cast<float>(10 - i) / 10.0F;
    }
    scene.settings.alpha = alpha;
    scene.settings.min_score = min_score;
    scene.settings.cap = cap;
    LoadedPlugin plugin;
    RenderInit init;
    init.backend = &host().backend();
    plugin->init(init);
    plugin->setConfig("{\"alpha\": 0.5, \"min_score\": 0.25, \"max_overlay_dets\": 7}");
    plugin->setConfig(document);
    Frame frame(scene, host().stream());
    plugin->render(frame.context());
    EXPECT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels())) << document;
  }
};

TEST_F(PluginSettings, UnusableDocumentsChangeNothing) {
  for (const char* document :
       {"", " ", "{", "{}", "[1,2]", "null", "1", "\"alpha\"", "{\"alpha\": 1} x", "{\"alpha\": 1",
        "{\"Alpha\": 1}", "{\"other\": 1}", "{\"a\": {\"alpha\": 1}}"}) {
    expectSettings(document, 0.5F, 0.25F, 7);
  }
}

TEST_F(PluginSettings, KeysApplyOnTheirOwn) {
  expectSettings("{\"alpha\": 0.75}", 0.75F, 0.25F, 7);
  expectSettings("{\"min_score\": 0.65}\n \t", 0.5F, 0.65F, 7);
  expectSettings("{\"max_overlay_dets\": 3}", 0.5F, 0.25F, 3);
  expectSettings("{\"alpha\": null, \"min_score\": [], \"max_overlay_dets\": 4}", 0.5F, 0.25F, 4);
  expectSettings("{\"alpha\": \"abc\", \"min_score\": {}, \"other\": 1}", 0.5F, 0.25F, 7);
}

TEST_F(PluginSettings, NumbersAreClampedAndConverted) {
  expectSettings("{\"alpha\": 2, \"min_score\": -0.5}", 1.0F, 0.0F, 7);
  expectSettings("{\"alpha\": -1e300, \"min_score\": true}", 0.0F, 1.0F, 7);
  expectSettings("{\"alpha\": \"0.125\", \"min_score\": false}", 0.125F, 0.0F, 7);
  expectSettings("{\"alpha\": \"nan\"}", 1.0F, 0.25F, 7);
}

TEST_F(PluginSettings, CapTakesAnythingAndStaysInItsRange) {
  for (const char* one :
       {"0", "-5", "null", "true", "\"12\"", "[]", "{}", "0.9", "-3.5", "4294967297", "1e-9", "1e300"}) {
    expectSettings("{\"max_overlay_dets\": " + std::string(one) + "}", 0.5F, 0.25F, 1);
  }
  for (const char* many : {"10000", "4096", "4294971392", "1e9", "4097.5"}) {
    expectSettings("{\"max_overlay_dets\": " + std::string(many) + "}", 0.5F, 0.25F, 4096);
  }
  expectSettings("{\"max_overlay_dets\": 5.7}", 0.5F, 0.25F, 5);
}

TEST_F(PluginSettings, CapIsNeverAboveItsMaximum) {
  // Nothing is left of the first 4096 once the next one would be drawn over them at full weight.
  Scene scene = scene::oneProducer(1, 1, std::vector<scene::Detection>(4096, scene::coverAll(1, 1, 1)));
  scene.inputs[0].detections.push_back(scene::coverAll(1, 1, 16));
  scene.settings.alpha = 1.0F;
  scene.settings.cap = 4096;
  host().plugin()->setConfig("{\"alpha\": 1, \"max_overlay_dets\": 5000}");
  Frame frame(scene, host().stream());
  host().render(frame);
  EXPECT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels()));
}

TEST_F(PluginSettings, TakeEffectAtTheNextFrame) {
  Scene scene = scene::oneProducer(4, 4, {scene::coverAll(4, 4)});
  for (const float alpha : {1.0F, 0.2F, 0.0F, 0.7F}) {
    scene.settings.alpha = alpha;
    expectGolden(scene);
  }
}

TEST_F(PluginContract, WithoutBackendNothingHappens) {
  const Scene scene = scene::oneProducer(4, 4, {scene::coverAll(4, 4)});
  LoadedPlugin plugin;
  for (const bool initialised : {false, true}) {
    if (initialised) plugin->init(RenderInit());
    Frame frame(scene, host().stream());
    plugin->render(frame.context());
    EXPECT_TRUE(plugin_test::sameFrame(scene, scene.frame, frame.pixels()));
    EXPECT_TRUE(frame.resolvedFrames().empty());
    EXPECT_EQ(frame.context().picture.writable, nullptr);
  }
}

TEST_F(PluginContract, BackendCanBeTakenAwayAndGivenBack) {
  const Scene scene = scene::oneProducer(4, 4, {scene::coverAll(4, 4)});
  host().plugin()->init(RenderInit());
  EXPECT_TRUE(plugin_test::sameFrame(scene, scene.frame, host().drawn(scene)));
  RenderInit init;
  init.backend = &host().backend();
  host().plugin()->init(init);
  expectGolden(scene);
}

TEST_F(PluginContract, WithoutSourcePictureNothingHappens) {
  const Scene scene = scene::oneProducer(4, 4, {scene::coverAll(4, 4)});
  Frame frame(scene, host().stream());
  const auto writable = frame.context().picture.ensureWritablePicShared();
  frame.context().picture.source = nullptr;
  host().render(frame);
  EXPECT_TRUE(frame.resolvedFrames().empty());
  EXPECT_TRUE(plugin_test::sameFrame(scene, scene.frame, frame.pixels()));  // the writable copy
}

TEST_F(PluginContract, UndrawnFramesAreNeitherCopiedNorMapped) {
  Scene scene = scene::oneProducer(4, 4, {scene::coverAll(4, 4)});
  scene.settings.min_score = 0.5F;
  scene.inputs[0].detections[0].score = 0.25F;
  host().configure(scene.settings);
  Frame frame(scene, host().stream());
  host().render(frame);
  EXPECT_EQ(frame.context().picture.writable, nullptr);
  EXPECT_EQ(frame.context().render_target, nullptr);
  EXPECT_FALSE(frame.context().guard_active);
}

TEST_F(PluginContract, EmptyPictureIsLeftAlone) {
  Frame frame(scene::oneProducer(4, 4, {scene::coverAll(4, 4)}), host().stream());
  frame.context().picture.source = std::make_shared<zelvo::ZelvoPicture>();
  host().render(frame);
  EXPECT_EQ(frame.context().picture.writable, nullptr);
  EXPECT_FALSE(frame.context().guard_active);
}

}  // namespace
