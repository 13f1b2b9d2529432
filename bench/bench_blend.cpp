// The blend of one box on the CPU device, luma and chroma, whatever share of the mask is set. The floor
// beside it is the time that memcpy takes for the bytes that it touches, the box's rows of luma, chroma and
// mask, each once, and row by row as they lie in the frame.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "blend/host_blend.h"
#include "blend/scalar_blend.h"

namespace {

using namespace seg_mask_overlay;
using Plane = std::vector<unsigned char>;

constexpr FrameSize kFrame{1920, 1080};
constexpr unsigned char kColorY = 200;
constexpr unsigned char kColorU = 20;
constexpr unsigned char kColorV = 90;

/// Whether the mask covers a pixel of the box; places in it from 0 to 1.
using Shape = std::function<bool(double x, double y)>;

/// One frame, one mask over it, and one box.
class Case {
 public:
  Case(LumaRect box, const Shape& shape, float alpha) : box_(box), alpha_(alpha) {
    std::mt19937 random(1);
    for (Plane* plane : {&luma_, &chroma_}) {
      for (unsigned char& byte : *plane) byte = static_cast<unsigned char>(random());
    }
    for (int y = box.y0; y <= box.y1; ++y) {
      for (int x = box.x0; x <= box.x1; ++x) {
        if (shape((x - box.x0 + 0.5) / width(), (y - box.y0 + 0.5) / height())) mask_[at(x, y)] = 255;
      }
    }
  }

  void blend() {
    blendLuma(luma_.data(), kFrame.width, mask_.data(), kFrame.width, box_, kColorY, alpha_);
    blendChroma(chroma_.data(), kFrame.width, mask_.data(), kFrame.width, chromaRect(box_), kColorU, kColorV,
                alpha_);
  }

  void blendPlainly() {
    scalarBlendLuma(luma_.data(), kFrame.width, mask_.data(), kFrame.width, box_, kColorY, alpha_);
    scalarBlendChroma(chroma_.data(), kFrame.width, mask_.data(), kFrame.width, kFrame, chromaRect(box_),
                      kColorU, kColorV, alpha_);
  }

  void copy() {
    copied_.resize(bytes());
    unsigned char* to = copied_.data();
    for (int y = box_.y0; y <= box_.y1; ++y) to = copyRow(luma_, y, to);
    for (int y = box_.y0 / 2; y <= box_.y1 / 2; ++y) to = copyRow(chroma_, y, to);
    for (int y = box_.y0; y <= box_.y1; ++y) to = copyRow(mask_, y, to);
  }

  /// What is touched, each byte once.
  std::size_t bytes() const {
    return static_cast<std::size_t>(width()) * static_cast<std::size_t>(height()) * 5 / 2;
  }

  void requireSameAsPlain() const {
    Case ours = *this;
    Case plain = *this;
    ours.blend();
    plain.blendPlainly();
    if (ours.luma_ != plain.luma_ || ours.chroma_ != plain.chroma_)
      throw std::runtime_error("the blends differ");
  }

 private:
  static std::size_t at(int x, int y) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(kFrame.width) + static_cast<std::size_t>(x);
  }

  unsigned char* copyRow(const Plane& plane, int y, unsigned char* to) const {
    std::memcpy(to, plane.data() + at(box_.x0, y), static_cast<std::size_t>(width()));
    return to + width();
  }

  int width() const { return box_.x1 - box_.x0 + 1; }
  int height() const { return box_.y1 - box_.y0 + 1; }

  LumaRect box_;
  float alpha_;
  Plane luma_ = Plane(kFrame.pixels());
  Plane chroma_ = Plane(kFrame.pixels() / 2);
  Plane mask_ = Plane(kFrame.pixels());
  Plane copied_;
};

void add(const std::string& name, const Case& original, void (Case::*work)()) {
  benchmark::RegisterBenchmark(name.c_str(), [original, work](benchmark::State& state) {
    Case mine = original;
    for (auto _ : state) {
      (mine.*work)();
      benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(original.bytes()));
  });
}

void addBox(const std::string& boxName, LumaRect box) {
  std::mt19937 random(2);
  const struct {
    const char* name;
    Shape shape;
    float alpha;
  } kinds[] = {
      {"empty", [](double, double) { return false; }, 0.45F},
      {"silhouette", [](double x, double y) { return (x - .5) * (x - .5) + (y - .5) * (y - .5) <= 0.25; },
       0.45F},
      {"full", [](double, double) { return true; }, 0.45F},
      {"every_other", [even = true](double, double) mutable { return even = !even; }, 0.45F},
      {"one_in_eight", [random](double, double) mutable { return random() % 8 == 0; }, 0.45F},
      {"full_at_0.35", [](double, double) { return true; }, 0.35F},  // lines with raised bytes,
  };
  for (const auto& kind : kinds) {
    const Case work(box, kind.shape, kind.alpha);
    work.requireSameAsPlain();
    const std::string name = boxName + "/" + kind.name;
    add(name + "/memcpy", work, &Case::copy);
    add(name + "/ours", work, &Case::blend);
    add(name + "/plain", work, &Case::blendPlainly);
  }
}

}  // namespace

int main(int argc, char** argv) {
  addBox("blend/200x400", {600, 300, 799, 699});
  addBox("blend/1920x1080", {0, 0, kFrame.width - 1, kFrame.height - 1});
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
