// The compositors of both libraries against each other on the CPU device. The input is a program: frames with
// items of any box, mask and colour, drawn by one instance of each, some behind a held stream. Every byte of
// all planes, those around the rows too, has to be what the reference for a packed frame writes.

#include <cuda_runtime.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "cudart_cpu/control.h"
#include "fuzz/Canvas.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "mask/mask_bits.h"
#include "tests/compositor_drawings.h"

namespace {

using fuzz::Canvas;
using seg_mask::MaskBits;
using seg_mask::OverlayItem;
using seg_mask_overlay::Compositor;
using seg_mask_overlay::MappedFrame;

constexpr unsigned kMostFrames = 7;  // more than there are staging buffers
constexpr unsigned kMostItems = 7;
constexpr int kMostShift = 3;

float buildAlpha(FuzzInput& input) {
  using Limits = std::numeric_limits<float>;
  static constexpr std::array<float, 14> kAlphas{
      0.45F,  0.5F,   1.0F,   0.0F,          1.0F / 3.0F,        0.999999F,           1.5F,
      -0.25F, 300.0F, -300.F, Limits::max(), Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()};
  const unsigned kind = input.below(20);
  if (kind < kAlphas.size()) return kAlphas[kind];
  return kind == 19 ? input.number<float>() : static_cast<float>(input.byte()) / 255.0F;
}

// A box's number: near the frame mostly, seldom any, and often at the ends of 32 bits.
std::int32_t buildBoxNumber(FuzzInput& input) {
  static constexpr std::array<std::int32_t, 4> kEnds{INT32_MIN, INT32_MIN + 1, INT32_MAX - 1, INT32_MAX};
  const unsigned kind = input.below(16);
  if (kind < kEnds.size()) return kEnds[kind];
  if (kind == 4) return input.number<std::int32_t>();
  return kind < 8 ? input.number<std::int8_t>() : static_cast<std::int32_t>(input.byte());
}

int buildMaskSide(FuzzInput& input, int frameSide) {
  const unsigned kind = input.below(8);
  if (kind == 0) return frameSide;
  if (kind == 1) return 1 + 11 * input.byte();
  return 1 + static_cast<int>(input.below(kind < 5 ? 20 : 160));
}

MaskBits buildMask(FuzzInput& input, render_base::FrameSize frame) {
  MaskBits mask;
  mask.width = buildMaskSide(input, frame.width);
  mask.height = buildMaskSide(input, frame.height);
  const std::size_t pixels = static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height);
  mask.bits.resize((pixels + 7) / 8);
  const unsigned kind = input.below(4);
  const std::string pattern = kind == 0 ? "\xFF" : input.piece() + '\0';
  std::uint32_t chance = input.byte();  // of the kind 1
  std::size_t i = 0;
  for (std::uint8_t& byte : mask.bits) {
    byte = static_cast<std::uint8_t>(pattern[i++ % pattern.size()]);
    if (kind != 1) continue;
    chance = static_cast<std::uint32_t>((std::uint64_t{chance} * 1664525U + 1013904223U) & 0xFFFFFFFFU);
    byte = static_cast<std::uint8_t>(chance >> 24U);
  }
  return mask;
}

// A frame's items with the masks that they point to.
struct Items {
  Items(FuzzInput& input, render_base::FrameSize frame) {
    const unsigned count = input.below(kMostItems + 1);
    for (unsigned i = 0; i < count; ++i) {
      if (masks.empty() || input.below(3) != 0) masks.push_back(buildMask(input, frame));
      owners.push_back(masks.size() - 1);
    }
    for (const std::size_t owner : owners) {
      const std::int32_t x = buildBoxNumber(input);
      const std::int32_t y = buildBoxNumber(input);
      const std::int32_t w = buildBoxNumber(input);
      const std::int32_t h = buildBoxNumber(input);
      list.push_back({masks[owner], {x, y, w, h}, {input.byte(), input.byte(), input.byte()}});
    }
  }

  std::vector<MaskBits> masks;
  std::vector<std::size_t> owners;
  std::vector<OverlayItem> list;
};

// The compositors of the libraries, each with the canvases that it draws on, and the reference.
class World {
 public:
  void drawFrame(FuzzInput& input);
  void check() const {
    for (const auto& canvas : canvases_) canvas->check();
  }

 private:
  seg_mask_overlay::ScalarCompositor reference_;
  std::array<std::unique_ptr<Compositor>, 2> compositors_{
      std::make_unique<seg_mask_overlay::FrameMaskCompositor>(),
      std::make_unique<seg_mask_overlay::FusedCompositor>()};
  std::vector<std::unique_ptr<Canvas>> canvases_;
};

void World::drawFrame(FuzzInput& input) {
  const unsigned flags = input.byte();
  const render_base::FrameSize size{1 + static_cast<int>(input.below((flags & 1U) != 0 ? 256 : 40)),
                                    1 + static_cast<int>(input.below((flags & 2U) != 0 ? 100 : 12))};
  const int yShift = static_cast<int>(flags >> 2U & kMostShift);
  const int uvShift = static_cast<int>(flags >> 4U & kMostShift);
  const int yExtra = kMostShift + static_cast<int>(input.below(20));
  const int uvExtra = kMostShift + static_cast<int>(input.below(20));
  const float alpha = buildAlpha(input);
  Items items(input, size);

  for (const auto& compositor : compositors_) {
    canvases_.push_back(std::make_unique<Canvas>(fuzz::Size{size.width, size.height}, yExtra, uvExtra));
    Canvas& canvas = *canvases_.back();
    IRenderBackend::MappedPlanes planes = canvas.planes();
    planes.y += yShift;
    planes.uv += uvShift;
    planes.stream = fuzz::theStream();
    compositor->draw(MappedFrame{planes, size}, items.list, alpha);

    const model::Planes expected = canvas.expected();
    planes.y = expected.luma + yShift;
    planes.uv = expected.chroma + uvShift;
    reference_.draw(MappedFrame{planes, size}, items.list, alpha);
  }
  // What is queued owns what it reads.
  for (MaskBits& mask : items.masks) std::fill(mask.bits.begin(), mask.bits.end(), std::uint8_t{0x5A});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const cudart_cpu::ScopedReset reset;
  const std::size_t liveBefore = cudart_cpu::liveAllocations().count;
  {
    FuzzInput program(data, size);
    World world;
    for (unsigned frames = 0; frames < kMostFrames && !program.atEnd(); ++frames) {
      const unsigned behind = program.below(4);
      if (behind == 0) cudart_cpu::hold(fuzz::theStream());
      if (behind == 1) cudart_cpu::release(fuzz::theStream());
      world.drawFrame(program);
    }
    fuzz::check(cudart_cpu::waitingCalls() == 0, "a call that waits");
    cudart_cpu::release(fuzz::theStream());
    world.check();
  }
  fuzz::check(cudart_cpu::liveAllocations().count == liveBefore, "device memory is freed");
  return 0;
}
