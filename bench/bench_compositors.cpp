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

/// `count` boxes of objects in photographs.
std::vector<scene::Detection> mixed(int count, Size frame) {
  std::vector<scene::Detection> all;
  for (int i = 0; i < count; ++i) {
    const PhotographBox& box = kPhotographBoxes[static_cast<std::size_t>(i) % std::size(kPhotographBoxes)];
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

template <class... Arguments>
void add(const std::string& name, Arguments... arguments) {
  benchmark::RegisterBenchmark(name.c_str(), arguments...);
}

void addDrawing(const std::string& name, Size size, const Detections& detections) {
  requireSameBytes(size, detections);
  const auto addCache = [&](const std::string& what, Cache cache) {
    for (const Way& way : kWays) add(what + name + "/" + way.name, draw, way, size, detections, cache);
    add(what + name + "/memcpy", copyCovered, size, detections, cache);
  };
  addCache("warm/", Cache::warm);
  addCache("cold/", Cache::cold);
}

void addMask(const std::string& name, const Detections& detections) {
  constexpr Size kFrame{1920, 1080};
  requireSameBytes(kFrame, detections);
  for (const Way& way : kWays) {
    add("mask/" + name + "/" + way.name, draw, way, kFrame, detections, Cache::warm);
  }
}

void addSizes() {
  for (const Size size : {Size{640, 360}, Size{1280, 720}, Size{1920, 1080}, Size{3840, 2160}}) {
    const auto people30 = people(30, size);
    const auto mixed30 = mixed(30, size);
    for (const int count : {1, 10, 30, 100}) {
      addDrawing(nameOf(size) + "/people" + std::to_string(count), size, people(count, size));
    }
    addDrawing(nameOf(size) + "/mixed30", size, mixed30);
    for (const Way& way : kWays) {
      add("decode/" + nameOf(size) + "/people30/" + way.name, decodeAndDraw, way, size, people30);
      add("render/" + nameOf(size) + "/people30/" + way.name, render, way, size, people30);
      add("render/" + nameOf(size) + "/mixed30/" + way.name, render, way, size, mixed30);
    }
  }
}

/// Whatever the mask, one pass must not be slower.
void addMasks() {
  constexpr Size kFrame{1920, 1080};
  const auto some = people(10, kFrame);
  scene::Detection whole;
  whole.w = kFrame.width;
  whole.h = kFrame.height;
  whole.mask = ellipseIn(whole, kFrame, kMask);
  addMask("640x640", people(10, kFrame, {640, 640}));
  addMask("of_the_frame", people(10, kFrame, kFrame));
  addMask("full_box", Detections(10, whole));
  addMask("random_160", withMask(some, bench::randomMaskText(160, 160)));
  addMask("random_640", withMask(some, bench::randomMaskText(640, 640)));
  addMask("random_of_the_frame", withMask(some, bench::randomMaskText(kFrame.width, kFrame.height)));
  addMask("random_640_full_box", withMask(Detections(10, whole), bench::randomMaskText(640, 640)));
  addMask("random_of_the_frame_full_box",
          withMask(Detections(10, whole), bench::randomMaskText(kFrame.width, kFrame.height)));
}

}  // namespace

std::unique_ptr<Compositor> seg_mask_overlay::makeCompositor() {
  return chosen->make();
}

int main(int argc, char** argv) {
  addSizes();
  addMasks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
