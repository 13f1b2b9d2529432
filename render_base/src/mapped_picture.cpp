#include "render_base/mapped_picture.h"

#include <utility>

#include "render_base/RenderContext.h"
#include "zelvo/ZelvoPicture.h"

namespace render_base {
namespace {

bool areValid(const IRenderBackend::MappedPlanes& planes) {
  return planes.y && planes.uv && planes.yPitch > 0 && planes.uvPitch > 0;
}

/// Gives up another backend's mapping: the guard first, then what it mapped.
void releaseMapping(RenderContext& ctx) {
  ctx.guard_active = false;
  ctx.guard = IRenderBackend::Guard();
  ctx.render_target.reset();
  ctx.guard_backend = nullptr;
}

bool holds(const zelvo::ZelvoPicture& picture, const FrameSize& size) {
  return picture.width() >= size.width && picture.height() >= size.height;
}

/// Replaces the context's render target by one of the writable picture. False when there is none.
bool makeRenderTarget(RenderContext& ctx, const FrameSize& size) {
  const std::shared_ptr<zelvo::ZelvoPicture> picture = ctx.picture.ensureWritablePicShared();
  ctx.render_target = picture && holds(*picture, size) ? picture->makeRenderTarget() : nullptr;
  return ctx.render_target != nullptr;
}

}  // namespace

bool mapWritablePicture(RenderContext& ctx, IRenderBackend& backend, const FrameSize& size) {
  if (ctx.guard_active && areValid(ctx.planes)) {
    if (ctx.guard_backend == &backend) return true;
    releaseMapping(ctx);
  }
  if (!makeRenderTarget(ctx, size)) return false;

  IRenderBackend::Mapping mapping = backend.map(*ctx.render_target);
  if (!areValid(mapping.planes)) {
    ctx.render_target.reset();
    ctx.guard_backend = nullptr;
    return false;
  }
  ctx.guard_backend = &backend;
  ctx.guard = std::move(mapping.guard);
  ctx.planes = mapping.planes;
  ctx.guard_active = true;
  return true;
}

}  // namespace render_base
