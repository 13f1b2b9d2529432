#include "src/render/ContactSheet.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "io/OutputFile.h"
#include "io/nv12.h"
#include "video/PngEncoder.h"

namespace segmask {
namespace {

constexpr int kMostTileWidth = 960;
constexpr int kMostTileHeight = 540;
constexpr int kTilesPerSide = 2;
constexpr std::size_t kTiles = std::size_t{kTilesPerSide} * kTilesPerSide;

std::size_t rgbRowBytes(int width) {
  return 3 * static_cast<std::size_t>(width);
}

int scaledDimension(int dimension, double scale) {
  return std::max(1, static_cast<int>(std::lround(dimension * scale)));
}

}  // namespace

ContactSheet::ContactSheet(const std::string& path, const VideoFormat& format)
    : path_(path), stage_(path), tile_(tileSize(format)), converter_(format, tile_.width, tile_.height) {}

ContactSheet::Size ContactSheet::tileSize(const VideoFormat& format) {
  const double scale = std::min({1.0, static_cast<double>(kMostTileWidth) / format.width,
                                 static_cast<double>(kMostTileHeight) / format.height});
  return {scaledDimension(format.width, scale), scaledDimension(format.height, scale)};
}

void ContactSheet::offer(uint64_t number, const Frame& frame, bool drawn) {
  SpreadChoice<Tile>& choice = drawn ? drawn_ : plain_;
  if (!choice.wants(number)) return;
  const AVFrame& picture = converter_.convert(frame.nv12);
  const std::size_t rowBytes = rgbRowBytes(tile_.width);
  Tile tile{number, std::vector<unsigned char>(rowBytes * static_cast<std::size_t>(tile_.height))};
  copyRows({picture.data[0], picture.linesize[0]}, {tile.rgb.data(), static_cast<std::ptrdiff_t>(rowBytes)},
           rowBytes, tile_.height);
  choice.add(std::move(tile));
}

void ContactSheet::finish() {
  const AVFramePtr sheet = compose();
  OutputFile file(stage_.path(), path_);
  file.write(PngEncoder(sheet->width, sheet->height).encode(*sheet));
  file.close();
}

AVFramePtr ContactSheet::compose() const {
  std::vector<const Tile*> tiles = drawn_.pick(kTiles);
  for (const Tile* tile : plain_.pick(kTiles - tiles.size())) tiles.push_back(tile);
  std::sort(tiles.begin(), tiles.end(), [](const Tile* a, const Tile* b) { return a->frame < b->frame; });

  AVFramePtr sheet = makeAVFrame(AV_PIX_FMT_RGB24, kTilesPerSide * tile_.width, kTilesPerSide * tile_.height);
  const auto stride = static_cast<std::ptrdiff_t>(sheet->linesize[0]);
  std::memset(sheet->data[0], 0, static_cast<std::size_t>(stride) * static_cast<std::size_t>(sheet->height));
  const auto rowBytes = static_cast<std::ptrdiff_t>(rgbRowBytes(tile_.width));
  std::ptrdiff_t place = 0;
  for (const Tile* tile : tiles) {
    const std::ptrdiff_t top = place / kTilesPerSide * tile_.height;
    const std::ptrdiff_t left = place % kTilesPerSide * rowBytes;
    copyRows({tile->rgb.data(), rowBytes}, {sheet->data[0] + top * stride + left, stride},
             rgbRowBytes(tile_.width), tile_.height);
    ++place;
  }
  return sheet;
}

}  // namespace segmask
