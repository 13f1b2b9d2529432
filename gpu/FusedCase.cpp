#include "gpu/FusedCase.h"

#include <algorithm>
#include <cstring>

namespace gpu_check {
namespace {

using seg_mask_overlay::FusedFrame;
using seg_mask_overlay::FusedItem;
using seg_mask_overlay::LumaRect;

constexpr std::size_t kGuard = 256;  // what cudaMalloc aligns to, so that planes start aligned

int below(std::mt19937& random, int limit) {
  return std::uniform_int_distribution<int>(0, limit - 1)(random);
}

unsigned char anyByte(std::mt19937& random) {
  return static_cast<unsigned char>(random() >> 24);
}

std::size_t planeBytes(int pitch, int rows) {
  return static_cast<std::size_t>(pitch) * static_cast<std::size_t>(rows);
}

/// Adds the map for the frame pixels `from` to `to`; returns its number for frame pixel 0.
int32_t addMap(FusedCase& frame, int from, int to, int frameDimension, int maskDimension) {
  const auto number = static_cast<int32_t>(frame.maps.size()) - from;
  for (int i = from; i <= to; ++i)
    frame.maps.push_back(static_cast<int32_t>(int64_t{i} * maskDimension / frameDimension));
  return number;
}

bool meet(const LumaRect& a, const LumaRect& b) {
  return a.x0 <= b.x1 && b.x0 <= a.x1 && a.y0 <= b.y1 && b.y0 <= a.y1;
}

}  // namespace

FusedCase emptyFused(int width, int height, int spare, float alpha, std::mt19937& random) {
  FusedCase made;
  made.frame.size = {width, height};
  made.frame.yPitch = width + spare;
  made.frame.uvPitch = width / 2 * 2 + spare;
  made.frame.alpha = alpha;
  made.y = kGuard;
  made.uv = made.y + planeBytes(made.frame.yPitch, height) + kGuard;
  made.planes.resize(made.uv + planeBytes(made.frame.uvPitch, height / 2) + kGuard);
  for (unsigned char& byte : made.planes) byte = anyByte(random);
  return made;
}

void addItem(FusedCase& frame, const LumaRect& rect, int maskWidth, int maskHeight, int sparsity,
             std::mt19937& random) {
  const LumaRect cover = seg_mask_overlay::coverRect(rect);
  FusedItem item{};
  item.luma = rect;
  item.chroma = seg_mask_overlay::chromaRect(rect);
  item.columns = addMap(frame, cover.x0, cover.x1, frame.frame.size.width, maskWidth);
  item.rows = addMap(frame, cover.y0, cover.y1, frame.frame.size.height, maskHeight);
  item.maskWidth = maskWidth;
  item.rowBits = maskWidth;
  item.colorY = anyByte(random);
  item.colorU = anyByte(random);
  item.colorV = anyByte(random);
  item.firstBit = 8 * static_cast<int64_t>(frame.bits.size());
  const std::size_t pixels = static_cast<std::size_t>(maskWidth) * static_cast<std::size_t>(maskHeight);
  frame.bits.resize(frame.bits.size() + (pixels + 7) / 8);
  for (std::size_t i = 0; i < pixels; ++i) {
    const std::size_t bit = static_cast<std::size_t>(item.firstBit) + i;
    if (below(random, sparsity) == 0)
      frame.bits[bit / 8] = static_cast<uint8_t>(frame.bits[bit / 8] | 1U << bit % 8);
  }
  frame.items.push_back(item);
}

void makeTiles(FusedCase& frame, int shift) {
  const int side = seg_mask_overlay::kFusedBlockSide << shift;
  const auto tilesOf = [side](int pixels) { return (pixels + side - 1) / side; };
  frame.frame.tiles = {
      0, 0, tilesOf(frame.frame.size.width), tilesOf(frame.frame.size.height), shift, nullptr, nullptr};
  frame.tileFirst = {0};
  frame.tileItems.clear();
  for (int row = 0; row < frame.frame.tiles.rows; ++row) {
    for (int column = 0; column < frame.frame.tiles.columns; ++column) {
      const LumaRect tile = {column * side, row * side, (column + 1) * side - 1, (row + 1) * side - 1};
      for (std::size_t i = 0; i < frame.items.size(); ++i) {
        if (meet(seg_mask_overlay::coverRect(frame.items[i].luma), tile))
          frame.tileItems.push_back(static_cast<uint32_t>(i));
      }
      frame.tileFirst.push_back(static_cast<uint32_t>(frame.tileItems.size()));
    }
  }
}

FusedFrame onHost(FusedCase& frame) {
  FusedFrame made = frame.frame;
  made.yPlane = frame.planes.data() + frame.y;
  made.uvPlane = frame.planes.data() + frame.uv;
  made.itemCount = static_cast<uint32_t>(frame.items.size());
  made.items = frame.items.data();
  made.maps = frame.maps.data();
  made.bits = frame.bits.data();
  made.bitsSize = frame.bits.size();
  return made;
}

FusedOnDevice::FusedOnDevice(const FusedCase& frame, cudaStream_t stream)
    : planes_(std::make_unique<DeviceBytes>(frame.planes.size())), frame_(frame.frame) {
  planes_->upload(frame.planes, stream);
  frame_.yPlane = planes_->get() + frame.y;
  frame_.uvPlane = planes_->get() + frame.uv;
  frame_.itemCount = static_cast<uint32_t>(frame.items.size());
  frame_.items = copyOf(frame.items, stream);
  frame_.maps = copyOf(frame.maps, stream);
  frame_.bits = copyOf(frame.bits, stream);
  frame_.bitsSize = frame.bits.size();
  frame_.tiles.first = copyOf(frame.tileFirst, stream);
  frame_.tiles.items = copyOf(frame.tileItems, stream);
}

template <class T>
const T* FusedOnDevice::copyOf(const std::vector<T>& part, cudaStream_t stream) {
  std::vector<unsigned char> bytes(std::max<std::size_t>(part.size() * sizeof(T), 1));
  if (!part.empty()) std::memcpy(bytes.data(), part.data(), part.size() * sizeof(T));
  parts_.push_back(std::make_unique<DeviceBytes>(bytes.size()));
  parts_.back()->upload(bytes, stream);
  return reinterpret_cast<const T*>(parts_.back()->get());
}

}  // namespace gpu_check
