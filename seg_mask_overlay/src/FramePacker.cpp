#include "src/FramePacker.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <type_traits>

using render_base::FrameSize;
using seg_mask::MaskView;
using seg_mask::OverlayItem;

namespace seg_mask_overlay {
namespace {

static_assert(std::is_trivially_copyable_v<FusedFrame> && std::is_trivially_copyable_v<FusedItem>,
              "they are copied to the device");

/// Where the parts of a block lie, by bytes from its start.
class Layout {
 public:
  template <class T>
  std::size_t add(const std::vector<T>& part) {
    return addBytes(part.size() * sizeof(T));
  }

  std::size_t addBytes(std::size_t bytes) {
    const std::size_t at = end_;
    end_ += (bytes + FramePacker::kAlignment - 1) / FramePacker::kAlignment * FramePacker::kAlignment;
    return at;
  }

  std::size_t end() const { return end_; }

 private:
  std::size_t end_ = 0;
};

struct Offsets {
  std::size_t frame, items, maps, tileFirst, tileItems, bits, end;
};

Offsets layOut(const std::vector<FusedItem>& items, const std::vector<int32_t>& maps,
               const TileListBuilder& tiles, std::size_t bitsSize) {
  Layout layout;
  Offsets at{};
  at.frame = layout.addBytes(sizeof(FusedFrame));
  at.items = layout.add(items);
  at.maps = layout.add(maps);
  at.tileFirst = layout.add(tiles.first());
  at.tileItems = layout.add(tiles.items());
  at.bits = layout.addBytes(bitsSize);
  at.end = layout.end();
  return at;
}

template <class T>
void writePart(unsigned char* to, const std::vector<T>& part) {
  if (!part.empty()) std::memcpy(to, part.data(), part.size() * sizeof(T));
}

}  // namespace

std::size_t FramePacker::plan(const MappedFrame& frame, const std::vector<OverlayItem>& items, float alpha) {
  const FrameSize size = frame.size;
  items_.clear();
  masks_.clear();
  shared_.clear();
  for (const OverlayItem& item : items) {
    const std::optional<LumaRect> rect = render_base::clipBox(item.box, size);
    if (!rect) continue;
    const LumaRect cover = coverRect(*rect);
    const int32_t columns = shareMap(item.mask.width, size.width, cover.x0, cover.x1);
    const int32_t rows = shareMap(item.mask.height, size.height, cover.y0, cover.y1);
    items_.push_back({*rect, chromaRect(*rect), columns, rows, item.mask.width, item.color.y, item.color.u,
                      item.color.v, 0});
    masks_.push_back(item.mask);
  }
  if (items_.empty()) return 0;

  packMaps();
  rows_.clear();
  frame_ = {};
  frame_.yPlane = frame.planes.y;
  frame_.uvPlane = frame.planes.uv;
  frame_.yPitch = frame.planes.yPitch;
  frame_.uvPitch = frame.planes.uvPitch;
  frame_.size = size;
  frame_.alpha = alpha;
  frame_.itemCount = static_cast<uint32_t>(items_.size());
  for (std::size_t i = 0; i < items_.size(); ++i) packRows(items_[i], masks_[i]);
  if (fusedNeedsTiles()) tiles_.build(items_);
  return layOut(items_, maps_, tiles_, frame_.bitsSize).end;
}

/// The number of the map in shared_, which is widened to these frame pixels.
int32_t FramePacker::shareMap(int maskDimension, int frameDimension, int from, int to) {
  const auto isWanted = [&](const SharedMap& map) {
    return map.maskDimension == maskDimension && map.frameDimension == frameDimension;
  };
  const auto found = std::find_if(shared_.begin(), shared_.end(), isWanted);
  if (found == shared_.end()) {
    shared_.push_back({maskDimension, frameDimension, from, to, 0});
    return static_cast<int32_t>(shared_.size() - 1);
  }
  found->from = std::min(found->from, from);
  found->to = std::max(found->to, to);
  return static_cast<int32_t>(found - shared_.begin());
}

void FramePacker::packMaps() {
  maps_.clear();
  for (SharedMap& shared : shared_) {
    const std::vector<int>& pixels = cache_.get(shared.maskDimension, shared.frameDimension).maskPixels();
    shared.offset = static_cast<int32_t>(maps_.size()) - shared.from;
    maps_.insert(maps_.end(), pixels.begin() + shared.from, pixels.begin() + shared.to + 1);
  }
  for (FusedItem& item : items_) {
    item.columns = shared_[static_cast<std::size_t>(item.columns)].offset;
    item.rows = shared_[static_cast<std::size_t>(item.rows)].offset;
  }
}

void FramePacker::packRows(FusedItem& item, const MaskView& mask) {
  const LumaRect cover = coverRect(item.luma);
  const auto maskRow = [&](int y) {
    return static_cast<std::size_t>(maps_[static_cast<std::size_t>(item.rows + y)]);
  };
  const auto width = static_cast<std::size_t>(mask.width);
  const std::size_t from = maskRow(cover.y0) * width / 8;
  const std::size_t to = ((maskRow(cover.y1) + 1) * width + 7) / 8;
  item.firstBit = 8 * (static_cast<int64_t>(frame_.bitsSize) - static_cast<int64_t>(from));
  rows_.push_back({mask.bits + from, to - from});
  frame_.bitsSize += to - from;
}

FusedFrame FramePacker::write(unsigned char* block, unsigned char* device, unsigned char* scratch) const {
  const Offsets at = layOut(items_, maps_, tiles_, frame_.bitsSize);
  FusedFrame frame = frame_;
  frame.items = reinterpret_cast<const FusedItem*>(device + at.items);
  frame.maps = reinterpret_cast<const int32_t*>(device + at.maps);
  frame.bits = device + at.bits;
  frame.tiles = tiles_.grid();
  frame.tiles.first = reinterpret_cast<const uint32_t*>(device + at.tileFirst);
  frame.tiles.items = reinterpret_cast<const uint32_t*>(device + at.tileItems);
  frame.scratch = scratch;

  std::memcpy(block + at.frame, &frame, sizeof(frame));
  writePart(block + at.items, items_);
  writePart(block + at.maps, maps_);
  writePart(block + at.tileFirst, tiles_.first());
  writePart(block + at.tileItems, tiles_.items());
  unsigned char* to = block + at.bits;
  for (const MaskRows& rows : rows_) {
    std::memcpy(to, rows.bytes, rows.size);
    to += rows.size;
  }
  return frame;
}

}  // namespace seg_mask_overlay
