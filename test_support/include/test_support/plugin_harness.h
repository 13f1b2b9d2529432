#pragma once

#include <gtest/gtest.h>

#include <class_loader/class_loader.hpp>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "render_base/IRenderPlugin.h"
#include "test_support/FrameContext.h"
#include "test_support/TestStream.h"
#include "test_support/scene.h"
#include "zelvo/DeviceRenderBackend.h"

/// A host for tests: loads a plug-in as hosts do, and makes contexts from scenes.
namespace plugin_test {

/// The library file of the overlay plug-in: libseg_mask_overlay.so, or the file that the environment variable
/// SEG_MASK_PLUGIN names.
std::string pluginPath();

/// Which plug-in to load: the overlay, where a test says nothing else.
struct PluginFile {
  std::string path = pluginPath();
  std::string class_name = "SegMaskOverlayPlugin";
};

/// Whether there is a device to draw on.
bool deviceAvailable();

/// Runs `action` and gives what it wrote to the standard error stream, the plug-in's lines included.
std::string standardErrorOf(const std::function<void()>& action);

/// The library, kept loaded. Instances must be gone before it is.
class PluginLibrary {
 public:
  using Instance = class_loader::ClassLoader::UniquePtr<IRenderPlugin>;

  explicit PluginLibrary(PluginFile file = {});
  std::vector<std::string> classes() const;
  Instance create();

 private:
  PluginFile file_;
  class_loader::ClassLoader loader_;
};

/// One instance together with its library.
class LoadedPlugin {
 public:
  explicit LoadedPlugin(PluginFile file = {}) : library_(std::move(file)), instance_(library_.create()) {}

  IRenderPlugin* operator->() const { return instance_.get(); }
  IRenderPlugin& operator*() const { return *instance_; }
  void destroyInstance() { instance_.reset(); }

 private:
  PluginLibrary library_;  // before the instance: class_loader aborts when a library goes first
  PluginLibrary::Instance instance_;
};

/// A backend that maps nothing and needs no device.
class IdleBackend : public IRenderBackend {
 public:
  Mapping map(zelvo::RenderTarget&) override { return {}; }
};

/// One frame on its way through the plug-in: a context that a scene has filled.
class Frame {
 public:
  /// `stream` must outlive the frame.
  Frame(const scene::Scene& scene, cudaStream_t stream);

  /// For where there is no device: the picture is the empty one, which has no pixels. The plug-in gathers the
  /// scene's detections, and draws none.
  explicit Frame(const scene::Scene& scene);

  RenderContext& context() { return parts_.ctx; }

  /// The scene's inputs as the plug-in gets them, in the same order. To be changed before the first pass
  /// only.
  std::vector<RenderInput>& inputs() { return parts_.inputs[kDetections]; }

  /// The frame number of each call of the payload resolver, in order.
  const std::vector<uint64_t>& resolvedFrames() const { return parts_.resolved_frames; }

  /// The frame as others see it after the pass, and the host's own source picture.
  std::vector<uint8_t> pixels() const { return parts_.pixels(stream_); }
  std::vector<uint8_t> sourcePixels() const { return samplesOf(*parts_.ctx.picture.source, stream_); }

 private:
  cudaStream_t stream_ = nullptr;
  FrameContext parts_;
};

/// A device, a backend and an initialised plug-in with its default settings.
class Host {
 public:
  explicit Host(PluginFile file = {});

  cudaStream_t stream() const { return stream_.get(); }
  zelvo::DeviceRenderBackend& backend() { return backend_; }
  LoadedPlugin& plugin() { return plugin_; }

  void configure(const scene::Settings& settings);
  void render(Frame& frame) { plugin_->render(frame.context()); }

  /// The scene's frame after a pass with the scene's settings.
  std::vector<uint8_t> drawn(const scene::Scene& scene);

 private:
  TestStream stream_;
  zelvo::DeviceRenderBackend backend_;
  LoadedPlugin plugin_;
};

/// Gives each test a host of its own, and skips it where there is no device.
class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override;

  Host& host() { return *host_; }

  /// Renders the scene with its settings and compares with the model; the source picture must stay as it was.
  void expectGolden(const scene::Scene& scene);

 private:
  std::optional<Host> host_;
};

}  // namespace plugin_test
