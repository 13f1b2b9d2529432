// Times what a C++ host does to draw detections that it has as numbers and texts into the planes of a frame
// in its memory: the counterpart of the Python package's Overlay.draw, for scripts/bench --python.

#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/timed_passes.h"
#include "detection/detections.h"
#include "host/DetectionPayload.h"
#include "host/DetectionStream.h"
#include "host/PlanesRenderer.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "io/nv12.h"

namespace {

const char kUsage[] =
    "usage: time_host LIBRARY WIDTH HEIGHT FRAME DETECTIONS REPETITIONS DRAWN\n"
    "\n"
    "Draws the first line of DETECTIONS into the raw NV12 file FRAME, writes the result to DRAWN,\n"
    "then draws it REPETITIONS times more and prints the milliseconds of processor time that each\n"
    "took, as a JSON array.\n";

/// The processor time of this thread.
double threadMilliseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// A frame in the host's own memory, and what was found in it.
class HostDrawing {
 public:
  explicit HostDrawing(const TimedOptions& options)
      : layout_{options.width, options.height}, renderer_(layout_), host_(options.library) {
    segmask::registerDetectionPayload();
    const std::string frame = contentsOf(options.frame);
    planes_.assign(frame.begin(), frame.end());
    if (planes_.size() != layout_.frameBytes()) throw std::runtime_error(options.frame + ": not one frame");
    segmask::DetectionStream stream(options.detections, {options.width, options.height});
    for (const segmask::DetectionLine& line : stream.take(0)) {
      seg_mask::collectDetections(*line.payload.object, line.detections, found_);
    }
  }

  /// Draws once; gives the milliseconds of processor time.
  double pass() {
    const double start = threadMilliseconds();
    std::vector<segmask::DetectionLine> lines(1);
    lines[0].producer = "bench";
    lines[0].detections = found_.size();
    lines[0].payload = payload();
    inputs_.advance(++number_, std::move(lines));
    renderer_.render(
        host_.plugin(), number_, {planes_.data(), layout_.width},
        {planes_.data() + layout_.lumaBytes(), static_cast<std::ptrdiff_t>(layout_.chromaRowBytes())},
        inputs_);
    return threadMilliseconds() - start;
  }

  const std::vector<unsigned char>& pixels() const { return planes_; }

 private:
  segmask::DetectionPayload payload() const {
    SwJsonArray array;
    array.reserve(found_.size());
    for (const seg_mask::DetView& one : found_) {
      SwJsonObject object;
      object.insert("x", one.x);
      object.insert("y", one.y);
      object.insert("w", one.w);
      object.insert("h", one.h);
      object.insert("class_id", one.class_id);
      object.insert("score", static_cast<double>(one.score));
      object.insert("class_info", one.class_info);
      array.append(std::move(object));
    }
    SwJsonObject payload;
    payload.insert("detections", std::move(array));
    return {std::make_shared<const SwJsonObject>(std::move(payload))};
  }

  segmask::Nv12Layout layout_;
  std::vector<unsigned char> planes_;
  std::vector<seg_mask::DetView> found_;
  segmask::ProducerInputs inputs_{0};
  uint64_t number_ = 0;
  segmask::PlanesRenderer renderer_;  // outlives the plug-in, which draws with its backend
  segmask::PluginHost host_;
};

}  // namespace

int main(int argc, char** argv) {
  return timePasses<HostDrawing>("time_host", kUsage, argc, argv);
}
