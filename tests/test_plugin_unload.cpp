// The library comes and goes within one process without a trace. Works without a device.

#include <console_bridge/console.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support/plugin_harness.h"
#include "test_support/process_facts.h"
#include "test_support/scene.h"

namespace {

using process_facts::isMapped;

/// What a host does that has no frame to draw.
void loadUseAndUnload() {
  plugin_test::IdleBackend backend;
  const plugin_test::LoadedPlugin plugin;
  ASSERT_STREQ(plugin->getName(), "SegMaskOverlayPlugin");
  ASSERT_EQ(plugin->input_types(), std::vector<std::string>{"detection.v1"});
  plugin->setConfig("{\"alpha\": 0.5, \"max_overlay_dets\": 2}");
  plugin->enableDebug(true);
  RenderInit init;
  init.backend = &backend;
  plugin->init(init);

  scene::Scene scene = scene::oneProducer(2, 2, {scene::coverAll(2, 2)});
  scene.inputs[0].form = scene::PayloadForm::text;  // goes through the value registries
  plugin_test::Frame frame(scene);
  plugin->render(frame.context());
  ASSERT_EQ(frame.resolvedFrames().size(), 1U);
}

TEST(PluginUnload, LeavesMemoryEachOfManyTimes) {
#ifdef SEG_MASK_SANITIZED
  GTEST_SKIP() << "sanitizer builds keep plug-ins mapped on purpose";
#endif
  ASSERT_FALSE(isMapped(plugin_test::pluginPath()));
  for (int cycle = 1; cycle <= 500; ++cycle) {
    {
      const plugin_test::LoadedPlugin plugin;
      ASSERT_TRUE(isMapped(plugin_test::pluginPath())) << "cycle " << cycle;
    }
    ASSERT_FALSE(isMapped(plugin_test::pluginPath())) << "cycle " << cycle;
  }
}

// In a sanitizer build also the search for leaks, which comes when the program ends.
TEST(PluginUnload, LeavesNoFileOpen) {
  ASSERT_NO_FATAL_FAILURE(loadUseAndUnload());
  const std::size_t files = process_facts::openFiles();
  for (int cycle = 2; cycle <= 500; ++cycle) ASSERT_NO_FATAL_FAILURE(loadUseAndUnload());
  EXPECT_EQ(process_facts::openFiles(), files);
}

// Measured: no byte on the CPU device, 512 in all where the CUDA runtime finds no GPU. The smallest leak of
// every cycle would be 400 times 24.
TEST(PluginUnload, TakesNoMoreMemoryHoweverOften) {
#ifdef SEG_MASK_SANITIZED
  GTEST_SKIP() << "a sanitizer's allocator has no figures to compare";
#endif
  for (int cycle = 1; cycle <= 100; ++cycle) ASSERT_NO_FATAL_FAILURE(loadUseAndUnload());
  const std::size_t mappings = process_facts::mappings();
  const std::size_t bytes = process_facts::allocatedBytes();
  for (int cycle = 101; cycle <= 500; ++cycle) ASSERT_NO_FATAL_FAILURE(loadUseAndUnload());
  EXPECT_EQ(process_facts::mappings(), mappings);
  EXPECT_LE(process_facts::allocatedBytes(), bytes + 4096);
}

TEST(PluginLoad, LibraryStaysWhileAnyLoaderHoldsIt) {
  const plugin_test::LoadedPlugin kept;
  { const plugin_test::LoadedPlugin other; }
  EXPECT_TRUE(isMapped(plugin_test::pluginPath()));
  EXPECT_STREQ(kept->getName(), "SegMaskOverlayPlugin");
}

// Where class_loader's registrations with a message would write it; a pipeline may show all levels.
class NotedMessages : public console_bridge::OutputHandler {
 public:
  NotedMessages() : level_(console_bridge::getLogLevel()) {
    console_bridge::useOutputHandler(this);
    console_bridge::setLogLevel(console_bridge::CONSOLE_BRIDGE_LOG_INFO);
  }
  ~NotedMessages() override {
    console_bridge::setLogLevel(level_);
    console_bridge::restorePreviousOutputHandler();
  }

  void log(const std::string& text, console_bridge::LogLevel, const char*, int) override {
    texts.push_back(text);
  }

  std::vector<std::string> texts;

 private:
  console_bridge::LogLevel level_;
};

TEST(PluginLoad, RegistersWithoutAMessage) {
  const NotedMessages messages;
  const plugin_test::LoadedPlugin plugin;
  EXPECT_EQ(messages.texts, std::vector<std::string>{});
}

TEST(PluginLoad, PrintsNothing) {
  ::testing::internal::CaptureStdout();
  const std::string errors = plugin_test::standardErrorOf([] {
    for (int i = 0; i < 3; ++i) {
      const plugin_test::LoadedPlugin plugin;
      plugin->getUuid();
    }
  });
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(errors, "");
}

}  // namespace
