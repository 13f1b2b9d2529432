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

TEST_F(PluginSettings, KeysApplyOnTheirOwn) {
  expectSettings("{\"alpha\": 0.75}", 0.75F, 0.25F, 7);
  expectSettings("{\"min_score\": 0.65}\n \t", 0.5F, 0.65F, 7);
  expectSettings("{\"max_overlay_dets\": 3}", 0.5F, 0.25F, 3);
  expectSettings("{\"alpha\": null, \"min_score\": [], \"max_overlay_dets\": 4}", 0.5F, 0.25F, 4);
  expectSettings("{\"alpha\": \"abc\", \"min_score\": {}, \"other\": 1}", 0.5F, 0.25F, 7);
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

}  // namespace
