// Times the passes of one frame through the plug-in, loaded as hosts load it, for measurements that are made
// from outside: from the payload's text to the frame drawn in place.

#include <cuda_runtime_api.h>

#include <chrono>
#include <class_loader/class_loader.hpp>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

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

struct Options {
  std::string library;
  int width;
  int height;
  std::string frame;
  std::string payload;
  int repetitions;
  std::string drawn;
};

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The plug-in and one frame, on the default stream.
class LoadedDrawing {
 public:
  LoadedDrawing(const Options& options, const std::string& frame, std::string payload)
      : loader_(options.library),
        plugin_(loader_.createUniqueInstance<IRenderPlugin>("SegMaskOverlayPlugin")) {
    plugin_->init(RenderInit{&backend_});
    RenderInput input;
    input.payload_type = "detection.v1";
    input.producer_id = "detector";
    input.payload = SwAny(std::move(payload));
    inputs_[input.payload_type].push_back(std::move(input));
    context_.frame_id = 1;
    context_.payload_resolver = &resolver_;
    context_.inputs = &inputs_;
    context_.picture.sourceId = 1;
    context_.picture.source = std::make_shared<zelvo::ZelvoPicture>(options.width, options.height);
    context_.picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();
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

void run(const Options& options) {
  LoadedDrawing drawing(options, contentsOf(options.frame), contentsOf(options.payload));
  drawing.pass();
  const std::vector<unsigned char> pixels = drawing.pixels();
  std::ofstream file(options.drawn, std::ios::binary);
  file.write(reinterpret_cast<const char*>(pixels.data()), static_cast<std::streamsize>(pixels.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + options.drawn);
  for (int i = 0; i < options.repetitions; ++i) {
    std::printf("%s%.6f", i == 0 ? "[" : ", ", drawing.pass());
  }
  std::puts("]");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 8) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  try {
    run({argv[1], std::stoi(argv[2]), std::stoi(argv[3]), argv[4], argv[5], std::stoi(argv[6]), argv[7]});
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "time_render: %s\n", error.what());
    return 1;
  }
}
