// The library comes and goes on a device at work: each time it draws, and then it leaves.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/process_facts.h"
#include "test_support/scene.h"

namespace {

const char kRegistryMarker[] = "********************CALL ONCE NOT TWICE********************";

int occurrences(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
    ++count;
  return count;
}

// Draws one frame whose payload is text, which sends the plug-in through the value registries.
void loadDrawAndUnload(cudaStream_t stream, IRenderBackend& backend) {
  scene::Scene scene = scene::oneProducer(6, 4, {scene::coverAll(6, 4, 2)});
  scene.inputs[0].form = scene::PayloadForm::text;
  plugin_test::Frame frame(scene, stream);
  const plugin_test::LoadedPlugin plugin;
  RenderInit init;
  init.backend = &backend;
  plugin->init(init);
  plugin->render(frame.context());
  EXPECT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels()));
}

TEST(PluginUnload, LeavesMemoryAfterDrawing) {
#ifdef SEG_MASK_SANITIZED
  GTEST_SKIP() << "sanitizer builds keep plug-ins mapped on purpose";
#endif
  if (!plugin_test::deviceAvailable()) GTEST_SKIP() << "no CUDA device";
  ASSERT_FALSE(process_facts::isMapped(plugin_test::pluginPath()));
  const plugin_test::TestStream stream;
  zelvo::DeviceRenderBackend backend(stream.get());
  for (int cycle = 1; cycle <= 500; ++cycle) {
    loadDrawAndUnload(stream.get(), backend);
    ASSERT_FALSE(process_facts::isMapped(plugin_test::pluginPath())) << "cycle " << cycle;
  }
}

// Runs in a process of its own, because the registries of this one may be filled already.
TEST(PluginLoadDeathTest, RegistriesFillOnceAProcessHoweverOftenTheLibraryIsLoaded) {
  if (!plugin_test::deviceAvailable()) GTEST_SKIP() << "no CUDA device";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto markersOfFiveCycles = [] {
    const plugin_test::TestStream stream;
    zelvo::DeviceRenderBackend backend(stream.get());
    const std::string printed = plugin_test::standardErrorOf([&] {
      for (int i = 0; i < 5; ++i) loadDrawAndUnload(stream.get(), backend);
    });
    return occurrences(printed, kRegistryMarker);
  };
  EXPECT_EXIT(std::_Exit(markersOfFiveCycles()), ::testing::ExitedWithCode(1), "");
}

}  // namespace
