// Times the passes of one frame through the plug-in, loaded as hosts load it, for measurements that are made
// from outside: from the payload's text to the frame drawn in place.

#include <cuda_runtime_api.h>

#include <chrono>
#include <class_loader/class_loader.hpp>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/timed_passes.h"
#include "core/SwAny.h"
#include "render_base/IRenderPlugin.h"
#include "render_base/RenderContext.h"
#include "zelvo/DeviceRenderBackend.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace {

const char kUsage[] =
    "usage: time_render LIBRARY WIDTH HEIGHT FRAME PAYLOAD REPETITIONS DRAWN\n"
    "\n"
    "Draws the detections of the text PAYLOAD into the raw NV12 file FRAME, writes the result to\n"
    "DRAWN, then draws them REPETITIONS times more and prints the milliseconds that each time took,\n"
    "as a JSON array.\n";

/// The plug-in and one frame, on the default stream.
class LoadedDrawing {
 public:
  explicit LoadedDrawing(const TimedOptions& options)
      : loader_(options.library),
        plugin_(loader_.createUniqueInstance<IRenderPlugin>("SegMaskOverlayPlugin")) {
    plugin_->init(RenderInit{&backend_});
    RenderInput input;
    input.payload_type = "detection.v1";
    input.producer_id = "detector";
    input.payload = SwAny(contentsOf(options.detections));
    inputs_[input.payload_type].push_back(std::move(input));
    context_.frame_id = 1;
    context_.payload_resolver = &resolver_;
    context_.inputs = &inputs_;
    context_.picture.sourceId = 1;
    context_.picture.source = std::make_shared<zelvo::ZelvoPicture>(options.width, options.height);
    context_.picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();
    const std::string frame = contentsOf(options.frame);
    if (frame.size() != zelvo::packedNv12Bytes(options.width, options.height)) {
      throw std::runtime_error(options.frame + " is not one NV12 frame of that size");
    }
    zelvo::upload(*context_.picture.source, reinterpret_cast<const unsigned char*>(frame.data()), nullptr);
  }

  /// Milliseconds until the frame was drawn. The first pass copies the frame and maps it; the others draw
  /// over what is there.
  double pass() {
    const auto begin = std::chrono::steady_clock::now();
    plugin_->render(context_);
    if (cudaStreamSynchronize(nullptr) != cudaSuccess) throw std::runtime_error("the device failed");
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
  }

  std::vector<unsigned char> pixels() const {
    const auto picture = context_.picture.readable();
    std::vector<unsigned char> bytes(zelvo::packedNv12Bytes(picture->width(), picture->height()));
    zelvo::download(*picture, bytes.data(), nullptr);
    return bytes;
  }

 private:
  zelvo::DeviceRenderBackend backend_{nullptr};
  class_loader::ClassLoader loader_;  // before the instance, which has to go first
  class_loader::ClassLoader::UniquePtr<IRenderPlugin> plugin_;
  std::unordered_map<std::string, std::vector<RenderInput>> inputs_;
  RenderPayloadResolver resolver_{[](uint64_t, const SwAny& stored) { return stored; }};
  RenderContext context_;
};

}  // namespace

int main(int argc, char** argv) {
  return timePasses<LoadedDrawing>("time_render", kUsage, argc, argv);
}
