// Times what a C++ host does to draw detections that it has as numbers and texts into the planes of a frame
// in its memory: the counterpart of the Python package's Overlay.draw, for scripts/bench --python.

#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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

struct Options {
  std::string library;
  int width;
  int height;
  std::string frame;
  std::string detections;
  int repetitions;
  std::string drawn;
};

/// The processor time of this thread.
double threadMilliseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// A frame in the host's own memory, and what was found in it.
class HostDrawing {
 public:
  explicit HostDrawing(const Options& options)
      : layout_{options.width, options.height}, renderer_(layout_), host_(options.library) {
    std::ifstream file(options.frame, std::ios::binary);
    planes_.assign(std::istreambuf_iterator<char>(file), {});
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

  const std::vector<unsigned char>& planes() const { return planes_; }

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

void run(const Options& options) {
  segmask::registerDetectionPayload();
  HostDrawing drawing(options);
  drawing.pass();
  std::ofstream file(options.drawn, std::ios::binary);
  file.write(reinterpret_cast<const char*>(drawing.planes().data()),
             static_cast<std::streamsize>(drawing.planes().size()));
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
    std::fprintf(stderr, "time_host: %s\n", error.what());
    return 1;
  }
}
