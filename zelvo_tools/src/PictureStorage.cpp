#include "src/PictureStorage.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "src/CudaError.h"
#include "src/GuardBytes.h"

namespace zelvo {
namespace {

/// The layout. Throws std::invalid_argument for one that drawing code cannot address.
PictureLayout checkedLayout(int width, int height) {
  if (width <= 0 || height <= 0) throw std::invalid_argument("a picture's sides must be positive");
  const PictureLayout layout = layoutOf(width, height);
  constexpr std::size_t kMost = std::numeric_limits<int32_t>::max();
  if (layout.luma.bytes() > kMost || layout.chroma.bytes() > kMost) {
    throw std::invalid_argument("a picture plane must fit 32-bit byte offsets");
  }
  return layout;
}

/// Replaces control bytes in a writer's name, because a report is one line.
std::string onOneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20) c = '?';
  }
  return text;
}

}  // namespace

PictureStorage::PictureStorage(int width, int height)
    : width_(width),
      height_(height),
      luma_(checkedLayout(width, height).luma),
      chroma_(layoutOf(width, height).chroma) {}

PictureStorage::~PictureStorage() {
  checkGuardBytes();
}

void PictureStorage::setWriter(std::string name) {
  writer_ = onOneLine(std::move(name));
}

bool PictureStorage::checkGuardBytes() {
  if (!kGuardBytes) return true;
  if (damaged_) return false;
  // Work may be in flight on any stream, including those without order to the default stream.
  if (cudaDeviceSynchronize() != cudaSuccess) return true;
  const bool lumaIsWhole = checkPlane(luma_, "luma");
  const bool chromaIsWhole = checkPlane(chroma_, "chroma");
  damaged_ = !lumaIsWhole || !chromaIsWhole;
  return !damaged_;
}

bool PictureStorage::checkPlane(const Plane& plane, const char* name) const {
  const std::optional<std::ptrdiff_t> offset = plane.damage();
  if (!offset) return true;
  reportDamage("guard bytes overwritten by " + (writer_.empty() ? "unknown writer" : writer_) + ": " + name +
               " plane of a " + std::to_string(width_) + "x" + std::to_string(height_) +
               " picture, first at byte offset " + std::to_string(*offset));
  return false;
}

}  // namespace zelvo
