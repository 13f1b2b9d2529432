// A host made with the installed package: lets a plug-in draw the detections of a file into a grey frame, and
// says how many pixels it drew.

#include <cstdint>
#include <exception>
#include <iostream>
#include <string>

#include "host/DetectionPayload.h"
#include "host/DetectionStream.h"
#include "host/FrameRenderer.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "io/Frame.h"
#include "io/nv12.h"

namespace {

constexpr segmask::Nv12Layout kLayout{64, 48};

uint64_t drawnPixels(const std::string& detections, const std::string& library) {
  segmask::FrameRenderer renderer(kLayout.width,
                                  kLayout.height);  // has the backend, so it outlives the plug-in
  segmask::PluginHost host(library);
  std::cout << host.plugin().getName() << ": ";
  host.plugin().setConfig(R"({"alpha": 1.0})");
  renderer.use(host.plugin());

  segmask::DetectionStream stream(detections, {kLayout.width, kLayout.height});
  segmask::ProducerInputs inputs(0);
  inputs.advance(0, stream.take(0));

  segmask::Frame frame;
  frame.nv12.assign(kLayout.frameBytes(), 100);
  if (!renderer.render(0, frame, inputs).drawn) return 0;
  return segmask::countChangedPixels(renderer.undrawn().data(), frame.nv12.data(), kLayout,
                                     {0, 0, kLayout.width, kLayout.height});
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    std::cerr << "usage: overlay_host detections.jsonl [plugin.so]\n";
    return 2;
  }
  try {
    segmask::registerDetectionPayload();  // once, before anybody else uses SwAny
    const std::string library = argc == 3 ? argv[2] : segmask::defaultPluginPath();
    std::cout << drawnPixels(argv[1], library) << " pixels drawn\n";
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "overlay_host: " << error.what() << '\n';
    return 1;
  }
}
