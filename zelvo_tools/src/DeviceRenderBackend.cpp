#include "zelvo/DeviceRenderBackend.h"

#include "src/PictureStorage.h"
#include "zelvo/RenderTarget.h"

namespace zelvo {
namespace {

/// The objects that a guard keeps alive: the samples, and one use of the backend's token, which counts the
/// live mappings.
struct HeldMapping {
  std::shared_ptr<PictureStorage> storage;
  std::shared_ptr<void> token;
};

}  // namespace

DeviceRenderBackend::DeviceRenderBackend(CUstream_st* stream)
    : token_(std::make_shared<char>()), stream_(stream) {}

DeviceRenderBackend::~DeviceRenderBackend() = default;

IRenderBackend::Mapping DeviceRenderBackend::map(RenderTarget& target) {
  const std::shared_ptr<PictureStorage>& storage = target.storage();
  if (!storage) return {};
  Mapping mapping;
  mapping.guard = Guard(std::make_shared<HeldMapping>(HeldMapping{storage, token_}));
  mapping.planes.y = storage->luma().samples();
  mapping.planes.uv = storage->chroma().samples();
  mapping.planes.yPitch = storage->luma().pitch();
  mapping.planes.uvPitch = storage->chroma().pitch();
  mapping.planes.stream = stream_;
  return mapping;
}

std::size_t DeviceRenderBackend::liveMappings() const {
  return static_cast<std::size_t>(token_.use_count() - 1);
}

}  // namespace zelvo
