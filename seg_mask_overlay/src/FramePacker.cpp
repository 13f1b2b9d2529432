#include "src/FramePacker.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <type_traits>

using render_base::FrameSize;
using seg_mask::MaskView;
using seg_mask::OverlayItem;

namespace seg_mask_overlay {
namespace {

static_assert(std::is_trivially_copyable_v<FusedFrame> && std::is_trivially_copyable_v<FusedItem>,
              "they are copied to the device");

/// A row that is packed by itself takes as long as copying so many bytes more.
constexpr int64_t kBytesACall = 128;

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
                      item.color.v, 0, 0});
    masks_.push_back(item.mask);
  }
  if (items_.empty()) return 0;

  packMaps();
  bits_.clear();
  frame_ = {};
  frame_.yPlane = frame.planes.y;
  frame_.uvPlane = frame.planes.uv;
  frame_.yPitch = frame.planes.yPitch;
  frame_.uvPitch = frame.planes.uvPitch;
  frame_.size = size;
  frame_.alpha = alpha;
  frame_.itemCount = static_cast<uint32_t>(items_.size());
  for (std::size_t i = 0; i < items_.size(); ++i) packMask(items_[i], masks_[i]);
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

int32_t FramePacker::mapped(int32_t map, int framePixel) const {
  const int32_t at = map + framePixel;
  return maps_[static_cast<std::size_t>(at)];
}

void FramePacker::packMask(FusedItem& item, const MaskView& mask) {
  const LumaRect cover = coverRect(item.luma);
  const int64_t rows = int64_t{mapped(item.rows, cover.y1)} - mapped(item.rows, cover.y0) + 1;
  const int64_t columns = int64_t{mapped(item.columns, cover.x1)} - mapped(item.columns, cover.x0) + 1;
  const int64_t frameRows = cover.y1 - cover.y0 + 1;
  const int64_t shownRows = std::min(rows, frameRows);
  const int64_t together = rows * mask.width / 8;
  const int64_t oneByOne = frameRows * int64_t{sizeof(int32_t)} + shownRows * (columns / 8 + 2);
  // The map's numbers of bits have to fit 32 bits.
  if (oneByOne + shownRows * kBytesACall < together && 8 * oneByOne < std::numeric_limits<int32_t>::max()) {
    packRowsOneByOne(item, mask);
  } else {
    packRowsTogether(item, mask);
  }
}

/// Packs all rows from the first to the last that the box shows, as they lie in the mask.
void FramePacker::packRowsTogether(FusedItem& item, const MaskView& mask) {
  const LumaRect cover = coverRect(item.luma);
  const auto width = static_cast<std::size_t>(mask.width);
  const std::size_t from = static_cast<std::size_t>(mapped(item.rows, cover.y0)) * width / 8;
  const std::size_t to = ((static_cast<std::size_t>(mapped(item.rows, cover.y1)) + 1) * width + 7) / 8;
  item.firstBit = 8 * (static_cast<int64_t>(frame_.bitsSize) - static_cast<int64_t>(from));
  item.rowBits = mask.width;
  packBytes(mask.bits + from, to - from);
}

/// Packs of each row that the box shows only its columns, and gives the item a map of its own, from frame
/// rows to the places of these rows: for a mask that has many more pixels than the box shows.
void FramePacker::packRowsOneByOne(FusedItem& item, const MaskView& mask) {
  const LumaRect cover = coverRect(item.luma);
  const auto firstColumn = static_cast<std::size_t>(mapped(item.columns, cover.x0));
  const auto lastColumn = static_cast<std::size_t>(mapped(item.columns, cover.x1));
  const int32_t rowMap = item.rows;
  const std::size_t start = frame_.bitsSize;
  item.rows = static_cast<int32_t>(maps_.size()) - cover.y0;
  item.rowBits = 1;
  item.firstBit = 8 * static_cast<int64_t>(start) - static_cast<int64_t>(firstColumn);
  int32_t packed = -1;
  int32_t place = 0;
  for (int y = cover.y0; y <= cover.y1; ++y) {
    const int32_t row = mapped(rowMap, y);
    if (row != packed) {
      const std::size_t rowStart = static_cast<std::size_t>(row) * static_cast<std::size_t>(mask.width);
      const std::size_t from = rowStart + firstColumn;
      place = static_cast<int32_t>(8 * (frame_.bitsSize - start) + from % 8);
      packBytes(mask.bits + from / 8, (rowStart + lastColumn) / 8 - from / 8 + 1);
      packed = row;
    }
    maps_.push_back(place);
  }
}

void FramePacker::packBytes(const uint8_t* bytes, std::size_t size) {
  bits_.push_back({bytes, size});
  frame_.bitsSize += size;
}

FusedFrame FramePacker::write(unsigned char* block, const unsigned char* device,
                              unsigned char* scratch) const {
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
  for (const MaskBytes& part : bits_) {
    std::memcpy(to, part.bytes, part.size);
    to += part.size;
  }
  return frame;
}

}  // namespace seg_mask_overlay
