#include "test_support/model/drawing.h"

#include <algorithm>
#include <optional>

namespace model {
namespace {

bool reserve(std::size_t bytes, MaskBuffer& buffer, DeviceCalls& calls) {
  if (buffer.there && bytes <= buffer.bytes) return true;
  if (buffer.there) calls.succeeds(Call::free);  // or not: the buffer is given up
  buffer.there = calls.succeeds(Call::allocate);
  buffer.bytes = buffer.there ? bytes : 0;
  return buffer.there;
}

}  // namespace

bool DeviceCalls::succeeds(Call call) {
  const auto plan = std::make_pair(call, count(call) + 1);
  made_.emplace_back(call, std::find(plans_.begin(), plans_.end(), plan) == plans_.end());
  return made_.back().second;
}

unsigned DeviceCalls::count(Call call) const {
  return static_cast<unsigned>(
      std::count_if(made_.begin(), made_.end(), [call](const auto& made) { return made.first == call; }));
}

unsigned DeviceCalls::failed(Call call) const {
  return static_cast<unsigned>(std::count(made_.begin(), made_.end(), std::make_pair(call, false)));
}

std::vector<Item> drawableItems(const std::vector<scene::Detection>& detections, float min_score) {
  std::vector<Item> items;
  for (const scene::Detection& detection : detections) {
    if (detection.score < min_score) continue;
    if (std::optional<Mask> mask = readMask(detection.mask)) items.push_back({*std::move(mask), detection});
  }
  return items;
}

void OneByOne::draw(const Planes& frame, const std::vector<Item>& items, float alpha) {
  if (!reserve(static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(frame.height), buffer_,
               calls_))
    return;
  for (const Item& item : items) {
    const std::optional<Rectangle> part = visiblePart(item.detection, frame.width, frame.height);
    if (!part) continue;
    if (!calls_.succeeds(Call::upload)) return;
    const Colour colour = classColour(item.detection.class_id);
    if (calls_.succeeds(Call::launch)) drawLuma(frame, item.mask, *part, colour.y, alpha);
    if (hasChroma(frame, *part) && calls_.succeeds(Call::launch))
      drawChroma(frame, item.mask, *part, colour, alpha);
  }
}

void AllAtOnce::draw(const Planes& frame, const std::vector<Item>& items, float alpha) {
  frame_ = frame;
  alpha_ = alpha;
  for (const Item& item : items) {
    if (visiblePart(item.detection, frame.width, frame.height)) items_.push_back(item);
  }
}

void AllAtOnce::finish(bool could) {
  if (could && isDue()) model::draw(frame_, items_, alpha_);
  items_.clear();
}

void draw(const Planes& frame, const std::vector<Item>& items, float alpha) {
  MaskBuffer buffer;
  DeviceCalls calls;
  OneByOne(buffer, calls).draw(frame, items, alpha);
}

}  // namespace model
