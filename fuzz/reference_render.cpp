#include "fuzz/reference_render.h"

#include <algorithm>
#include <optional>

namespace reference {
namespace {

using cudart_cpu::Call;

bool covers(const golden::Mask& mask, fuzz::Size frame, int x, int y) {
  if (x >= frame.width || y >= frame.height) return false;
  const int column = golden::sourceIndex(x, frame.width, mask.width);
  const int row = golden::sourceIndex(y, frame.height, mask.height);
  return mask.inside.at(static_cast<std::size_t>(row) * static_cast<std::size_t>(mask.width) +
                        static_cast<std::size_t>(column));
}

bool holds(const golden::Rectangle& part, int x, int y) {
  return x >= part.x0 && x <= part.x1 && y >= part.y0 && y <= part.y1;
}

void drawLuma(fuzz::Canvas& canvas, const golden::Mask& mask, const golden::Rectangle& part, uint8_t colour,
              float alpha) {
  const fuzz::Size frame = canvas.frame();
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      if (!holds(part, x, y) || !covers(mask, frame, x, y)) continue;
      canvas.luma(x, y) = golden::blend(canvas.luma(x, y), colour, alpha);
    }
  }
}

// The samples whose block has its second column and its second row in the part. False if there are none.
template <typename Action>
bool forEachSample(fuzz::Size frame, const golden::Rectangle& part, const Action& action) {
  bool any = false;
  for (int cy = 0; 2 * cy < frame.height; ++cy) {
    for (int cx = 0; 2 * cx < frame.width; ++cx) {
      if (!holds(part, 2 * cx + 1, 2 * cy + 1)) continue;
      any = true;
      action(cx, cy);
    }
  }
  return any;
}

void drawChroma(fuzz::Canvas& canvas, const golden::Mask& mask, const golden::Rectangle& part,
                const golden::Colour& colour, float alpha) {
  const fuzz::Size frame = canvas.frame();
  forEachSample(frame, part, [&](int cx, int cy) {
    const int x = 2 * cx;
    const int y = 2 * cy;
    if (!covers(mask, frame, x, y) && !covers(mask, frame, x + 1, y) && !covers(mask, frame, x, y + 1) &&
        !covers(mask, frame, x + 1, y + 1)) {
      return;
    }
    canvas.chroma(cx, cy, 0) = golden::blend(canvas.chroma(cx, cy, 0), colour.u, alpha);
    canvas.chroma(cx, cy, 1) = golden::blend(canvas.chroma(cx, cy, 1), colour.v, alpha);
  });
}

bool reserve(std::size_t bytes, Device& device, DeviceCalls& calls) {
  if (device.hasBuffer && bytes <= device.bufferBytes) return true;
  if (device.hasBuffer) device.freeFailed = !calls.succeeds(Call::cudaFree);
  device.hasBuffer = calls.succeeds(Call::cudaMalloc);
  device.bufferBytes = device.hasBuffer ? bytes : 0;
  return device.hasBuffer;
}

}  // namespace

bool DeviceCalls::succeeds(Call call) {
  made_.push_back(call);
  return std::find(plans_.begin(), plans_.end(), std::make_pair(call, count(call))) == plans_.end();
}

unsigned DeviceCalls::count(Call call) const {
  return static_cast<unsigned>(std::count(made_.begin(), made_.end(), call));
}

std::vector<Item> drawableItems(const std::vector<scene::Detection>& detections, float minScore) {
  std::vector<Item> items;
  for (const scene::Detection& detection : detections) {
    if (detection.score < minScore) continue;
    if (std::optional<golden::Mask> mask = golden::readMask(detection.mask)) {
      items.push_back({*std::move(mask), detection});
    }
  }
  return items;
}

void draw(fuzz::Canvas& canvas, const std::vector<Item>& items, float alpha, Device& device,
          DeviceCalls& calls) {
  const fuzz::Size frame = canvas.frame();
  if (!reserve(static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(frame.height), device, calls))
    return;
  for (const Item& item : items) {
    const std::optional<golden::Rectangle> part =
        golden::visiblePart(item.detection, frame.width, frame.height);
    if (!part) continue;
    if (!calls.succeeds(Call::cudaMemcpyAsync)) return;
    const golden::Colour colour = golden::classColour(item.detection.class_id);
    if (calls.succeeds(Call::cudaLaunchHostFunc)) drawLuma(canvas, item.mask, *part, colour.y, alpha);
    const bool hasChroma = forEachSample(frame, *part, [](int, int) {});
    if (hasChroma && calls.succeeds(Call::cudaLaunchHostFunc)) {
      drawChroma(canvas, item.mask, *part, colour, alpha);
    }
  }
}

}  // namespace reference
