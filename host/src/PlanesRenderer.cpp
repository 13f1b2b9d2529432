#include "host/PlanesRenderer.h"

#include <cstddef>
#include <exception>
#include <limits>
#include <new>
#include <string>

#include "host/CudaStream.h"
#include "io/UserError.h"
#include "render_base/RenderContext.h"
#include "zelvo/IRenderBackend.h"
#include "zelvo/ZelvoPicture.h"

namespace segmask {
namespace {

constexpr bool kDeviceMemoryIsTheHosts = SEG_MASK_CPU_DEVICE != 0;

/// Whether a plug-in can draw on such rows: its pitches are positive 32-bit numbers.
bool rise(const Plane& plane, std::size_t rowBytes) {
  return plane.stride >= static_cast<std::ptrdiff_t>(rowBytes) &&
         plane.stride <= std::numeric_limits<int32_t>::max();
}

}  // namespace

/// A picture whose planes are the host's. The picture itself stands for the size alone, and the writable copy
/// that a plug-in asks for is there from the start: what maps it gives the host's planes.
class PlanesRenderer::InPlace : public IRenderBackend {
 public:
  explicit InPlace(const Nv12Layout& layout)
      : picture_(std::make_shared<zelvo::ZelvoPicture>(layout.width, layout.height)),
        token_(std::make_shared<int>()) {}

  bool render(IRenderPlugin& plugin, uint64_t number, Plane y, Plane uv, const ProducerInputs& inputs) {
    planes_ = {y.samples, uv.samples,   static_cast<int32_t>(y.stride), static_cast<int32_t>(uv.stride),
               0,         stream_.get()};
    mapped_ = false;
    plugin.init(RenderInit{this});
    RenderContext context;
    inputs.fill(context, number);
    context.picture.source = picture_;
    context.picture.sourceId = number + 1;  // 0 would mean "unknown"
    context.picture.writable = picture_;
    plugin.render(context);
    return mapped_;
  }

  Mapping map(zelvo::RenderTarget&) override {
    mapped_ = true;
    return {Guard(token_), planes_};
  }

 private:
  CudaStream stream_;
  std::shared_ptr<zelvo::ZelvoPicture> picture_;
  std::shared_ptr<void> token_;  ///< what a guard of the mapping holds
  MappedPlanes planes_;
  bool mapped_ = false;
};

PlanesRenderer::PlanesRenderer(Nv12Layout layout) : layout_(layout) {
  if (kDeviceMemoryIsTheHosts) inPlace_ = std::make_unique<InPlace>(layout);
}

PlanesRenderer::~PlanesRenderer() = default;

bool PlanesRenderer::render(IRenderPlugin& plugin, uint64_t number, Plane y, Plane uv,
                            const ProducerInputs& inputs) {
  const bool inPlace =
      inPlace_ && rise(y, static_cast<std::size_t>(layout_.width)) && rise(uv, layout_.chromaRowBytes());
  if (!inPlace) return renderCopy(plugin, number, y, uv, inputs);
  const std::string prefix = "frame " + std::to_string(number) + ": ";
  try {
    return inPlace_->render(plugin, number, y, uv, inputs);
  } catch (const std::bad_alloc&) {
    throw UserError(prefix + "out of memory");
  } catch (const std::exception& error) {
    throw UserError(prefix + error.what());
  }
}

bool PlanesRenderer::renderCopy(IRenderPlugin& plugin, uint64_t number, Plane y, Plane uv,
                                const ProducerInputs& inputs) {
  if (!copying_) copying_ = std::make_unique<FrameRenderer>(layout_.width, layout_.height);
  copying_->use(plugin);
  const auto width = static_cast<std::ptrdiff_t>(layout_.width);
  const auto chroma = static_cast<std::ptrdiff_t>(layout_.chromaRowBytes());
  const auto copyPlanes = [&](ConstPlane fromY, ConstPlane fromUv, Plane toY, Plane toUv) {
    copyRows(fromY, toY, static_cast<std::size_t>(width), layout_.height);
    copyRows(fromUv, toUv, layout_.chromaRowBytes(), layout_.chromaRows());
  };
  frame_.nv12.resize(layout_.frameBytes());
  unsigned char* bytes = frame_.nv12.data();
  copyPlanes({y.samples, y.stride}, {uv.samples, uv.stride}, {bytes, width},
             {bytes + layout_.lumaBytes(), chroma});
  if (!copying_->render(number, frame_, inputs).drawn) return false;
  bytes = frame_.nv12.data();
  copyPlanes({bytes, width}, {bytes + layout_.lumaBytes(), chroma}, y, uv);
  return true;
}

}  // namespace segmask
