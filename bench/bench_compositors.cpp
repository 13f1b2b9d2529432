// Drawing a frame's items by each compositor of the plug-in, beside copying the bytes that their masks cover;
// and a whole pass by each, from the payload's tree to the drawn frame.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Drawing.h"
#include "bench/random_mask.h"
#include "detection/overlay_item.h"
#include "mask/MaskArena.h"
#include "mask/mask_text.h"
#include "src/FrameMaskCompositor.h"
#include "src/FusedCompositor.h"
#include "test_support/scene.h"

namespace {

using seg_mask_overlay::Compositor;
using seg_mask_overlay::FrameMaskCompositor;
using seg_mask_overlay::FusedCompositor;

struct Size {
  int width, height;
};

std::string nameOf(Size size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

struct Way {
  const char* name;
  std::unique_ptr<Compositor> (*make)();
};

const Way kWays[] = {
    {"frame_mask", []() -> std::unique_ptr<Compositor> { return std::make_unique<FrameMaskCompositor>(); }},
    {"fused", []() -> std::unique_ptr<Compositor> { return std::make_unique<FusedCompositor>(); }},
};

/// What makeCompositor gives, to a plug-in whose first frame is drawn.
const Way* chosen = kWays;

struct PhotographBox {
  int32_t class_id;
  float x, y, w, h;
};

const PhotographBox kPhotographBoxes[] = {
#include "bench/photograph_boxes.inc"
};

/// An ellipse that fills the box, in a mask of the whole frame.
std::string ellipseIn(const scene::Detection& box, Size frame, Size mask) {
  std::vector<uint8_t> pixels;
  for (int y = 0; y < mask.height; ++y) {
    for (int x = 0; x < mask.width; ++x) {
      const double dx = ((x + 0.5) * frame.width / mask.width - box.x) / box.w - 0.5;
      const double dy = ((y + 0.5) * frame.height / mask.height - box.y) / box.h - 0.5;
      pixels.push_back(dx * dx + dy * dy <= 0.25 ? 1 : 0);
    }
  }
  return seg_mask::encodeMaskText(seg_mask::packMask(pixels.data(), mask.width, mask.height, mask.width));
}

constexpr Size kMask{160, 160};

/// `count` boxes of 200x400 all over the frame.
std::vector<scene::Detection> people(int count, Size frame, Size mask = kMask) {
  std::vector<scene::Detection> all;
  for (int i = 0; i < count; ++i) {
    scene::Detection one;
    one.w = 200;
    one.h = 400;
    one.x = i * 397 % std::max(1, frame.width - one.w);
    one.y = i * 211 % std::max(1, frame.height - one.h);
    one.class_id = i % 10;
    one.mask = ellipseIn(one, frame, mask);
    all.push_back(one);
  }
  return all;
}

/// `count` boxes of objects in photographs: every ninth of those that there are, because 30 of these have the
/// average area, 1.05 times the frame's.
std::vector<scene::Detection> mixed(int count, Size frame) {
  std::vector<scene::Detection> all;
  for (int i = 0; i < count; ++i) {
    const PhotographBox& box =
        kPhotographBoxes[static_cast<std::size_t>(i) * 9 % std::size(kPhotographBoxes)];
    scene::Detection one;
    one.x = static_cast<int>(box.x * static_cast<float>(frame.width));
    one.y = static_cast<int>(box.y * static_cast<float>(frame.height));
    one.w = std::max(1, static_cast<int>(box.w * static_cast<float>(frame.width)));
    one.h = std::max(1, static_cast<int>(box.h * static_cast<float>(frame.height)));
    one.class_id = box.class_id;
    one.mask = ellipseIn(one, frame, kMask);
    all.push_back(one);
  }
  return all;
}

std::vector<scene::Detection> withMask(std::vector<scene::Detection> all, const std::string& mask) {
  for (scene::Detection& one : all) one.mask = mask;
  return all;
}

/// A frame in memory, with its items.
class Canvas {
 public:
  Canvas(Size size, const std::vector<scene::Detection>& detections)
      : size_{size.width, size.height}, pixels_(scene::patternFrame(size.width, size.height)) {
    for (const scene::Detection& one : detections) {
      seg_mask::DetView view;
      view.x = one.x;
      view.y = one.y;
      view.w = one.w;
      view.h = one.h;
      view.class_id = one.class_id;
      view.score = one.score;
      view.class_info = one.mask;
      views_.push_back(view);
    }
    decode();
    planes_.y = pixels_.data();
    planes_.uv = pixels_.data() + size_.pixels();
    planes_.yPitch = size.width;
    planes_.uvPitch = size.width;
  }

  void decode() { items_ = seg_mask::makeOverlayItems(views_, 0.0F, arena_); }
  void draw(Compositor& compositor) { compositor.draw({planes_, size_}, items_, 0.45F); }
  const std::vector<uint8_t>& pixels() const { return pixels_; }

  /// The bytes that the items' masks cover, as runs of luma and of chroma.
  std::vector<std::pair<unsigned char*, std::size_t>> coveredRuns() {
    std::vector<std::pair<unsigned char*, std::size_t>> runs;
    for (const seg_mask::OverlayItem& item : items_) addRuns(item, runs);
    return runs;
  }

 private:
  void addRuns(const seg_mask::OverlayItem& item, std::vector<std::pair<unsigned char*, std::size_t>>& runs) {
    const auto rect = render_base::clipBox(item.box, size_);
    if (!rect) return;
    for (int y = rect->y0; y <= rect->y1; ++y) {
      const auto row = static_cast<std::size_t>(y * int64_t{item.mask.height} / size_.height);
      const auto inside = [&](int x) {
        const auto column = static_cast<std::size_t>(x * int64_t{item.mask.width} / size_.width);
        return item.mask.inside(row * static_cast<std::size_t>(item.mask.width) + column);
      };
      for (int x = rect->x0; x <= rect->x1; ++x) {
        const int from = x;
        while (x <= rect->x1 && inside(x)) ++x;
        if (x == from) continue;
        runs.emplace_back(planes_.y + std::ptrdiff_t{y} * planes_.yPitch + from, x - from);
        if (y % 2 == 0) {
          runs.emplace_back(planes_.uv + std::ptrdiff_t{y / 2} * planes_.uvPitch + from / 2 * 2, x - from);
        }
      }
    }
  }

  render_base::FrameSize size_;
  std::vector<uint8_t> pixels_;
  IRenderBackend::MappedPlanes planes_{};
  std::vector<seg_mask::DetView> views_;
  seg_mask::MaskArena arena_;
  std::vector<seg_mask::OverlayItem> items_;
};

/// Empties the caches of the frame: walks through memory of another 64 MB.
void emptyCaches() {
  static std::vector<uint64_t> other(std::size_t{8} << 20);
  for (std::size_t i = 0; i < other.size(); i += 8) other[i] += i;
}

enum class Cache { warm, cold };

/// Frames of a repetition with a cold cache. More than these, and walking through memory takes minutes.
constexpr int kColdFrames = 3;

void repeat(benchmark::State& state, Cache cache, const std::function<void()>& work) {
  work();
  for (auto _ : state) {
    if (cache == Cache::cold) {
      state.PauseTiming();
      emptyCaches();
      state.ResumeTiming();
    }
    work();
  }
}

using Detections = std::vector<scene::Detection>;

void draw(benchmark::State& state, const Way& way, Size size, const Detections& detections, Cache cache) {
  Canvas canvas(size, detections);
  const auto compositor = way.make();
  repeat(state, cache, [&] { canvas.draw(*compositor); });
}

void decodeAndDraw(benchmark::State& state, const Way& way, Size size, const Detections& detections) {
  Canvas canvas(size, detections);
  const auto compositor = way.make();
  repeat(state, Cache::warm, [&] {
    canvas.decode();
    canvas.draw(*compositor);
  });
}

void copyCovered(benchmark::State& state, Size size, const Detections& detections, Cache cache) {
  Canvas canvas(size, detections);
  const auto runs = canvas.coveredRuns();
  const std::vector<unsigned char> other(static_cast<std::size_t>(size.width));
  repeat(state, cache, [&] {
    for (const auto& [at, bytes] : runs) std::memcpy(at, other.data(), bytes);
    benchmark::ClobberMemory();
  });
}

void render(benchmark::State& state, const Way& way, Size size, const Detections& detections) {
  chosen = &way;
  Drawing drawing(scene::oneProducer(size.width, size.height, detections));
  repeat(state, Cache::warm, [&] { drawing.render(); });
}

void requireSameBytes(Size size, const Detections& detections) {
  std::vector<std::vector<uint8_t>> drawn;
  for (const Way& way : kWays) {
    Canvas canvas(size, detections);
    canvas.draw(*way.make());
    drawn.push_back(canvas.pixels());
  }
  if (drawn[0] != drawn[1] || drawn[0] == scene::patternFrame(size.width, size.height)) {
    throw std::runtime_error("the compositors draw " + nameOf(size) + " otherwise");
  }
}

void requireSameRender(Size size, const Detections& detections) {
  std::vector<std::vector<uint8_t>> drawn;
  for (const Way& way : kWays) {
    chosen = &way;
    Drawing drawing(scene::oneProducer(size.width, size.height, detections));
    drawing.render();
    drawn.push_back(drawing.pixels());
  }
  if (drawn[0] != drawn[1]) throw std::runtime_error("the plug-in renders " + nameOf(size) + " otherwise");
}

template <class... Arguments>
benchmark::internal::Benchmark* add(const std::string& name, Arguments... arguments) {
  return benchmark::RegisterBenchmark(name.c_str(), arguments...);
}

/// Drawing with and without decoding; `name` is the frame's size and what is drawn.
void addDrawing(const std::string& name, Size size, const Detections& detections) {
  requireSameBytes(size, detections);
  for (const Way& way : kWays) {
    add("warm/" + name + "/" + way.name, draw, way, size, detections, Cache::warm);
    add("cold/" + name + "/" + way.name, draw, way, size, detections, Cache::cold)->Iterations(kColdFrames);
    add("decode/" + name + "/" + way.name, decodeAndDraw, way, size, detections);
  }
  add("warm/" + name + "/memcpy", copyCovered, size, detections, Cache::warm);
  add("cold/" + name + "/memcpy", copyCovered, size, detections, Cache::cold)->Iterations(kColdFrames);
}

void addRender(const std::string& name, Size size, const Detections& detections) {
  requireSameRender(size, detections);
  for (const Way& way : kWays) add("render/" + name + "/" + way.name, render, way, size, detections);
}

void addSizes() {
  for (const Size size : {Size{640, 360}, Size{1280, 720}, Size{1920, 1080}, Size{3840, 2160}}) {
    for (const int count : {1, 10, 30, 100}) {
      addDrawing(nameOf(size) + "/people" + std::to_string(count), size, people(count, size));
    }
    addDrawing(nameOf(size) + "/mixed30", size, mixed(30, size));
    addRender(nameOf(size) + "/people30", size, people(30, size));
    addRender(nameOf(size) + "/mixed30", size, mixed(30, size));
  }
}

void addMask(const std::string& name, Size frame, const Detections& detections) {
  requireSameBytes(frame, detections);
  for (const Way& way : kWays) {
    add("mask/" + nameOf(frame) + "/" + name + "/" + way.name, draw, way, frame, detections, Cache::warm);
  }
}

/// Ten items with masks of every kind. Whatever the mask, one pass must not be slower.
void addMasks(Size frame) {
  scene::Detection whole;
  whole.w = frame.width;
  whole.h = frame.height;
  for (const Size mask : {kMask, Size{640, 640}, frame, Size{3840, 2160}}) {
    const std::string size = nameOf(mask) == nameOf(frame) ? "of the frame's size" : "of " + nameOf(mask);
    whole.mask = ellipseIn(whole, frame, mask);
    addMask("ellipses " + size + "/200x400", frame, people(10, frame, mask));
    addMask("ellipses " + size + "/the frame", frame, Detections(10, whole));
    const std::string random = bench::randomMaskText(mask.width, mask.height);
    addMask("random bits " + size + "/200x400", frame, withMask(people(10, frame), random));
    addMask("random bits " + size + "/the frame", frame, withMask(Detections(10, whole), random));
  }
}

}  // namespace

std::unique_ptr<Compositor> seg_mask_overlay::makeCompositor() {
  return chosen->make();
}

int main(int argc, char** argv) {
  addSizes();
  addMasks({640, 360});
  addMasks({1920, 1080});
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
