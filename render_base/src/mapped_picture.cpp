#include "render_base/mapped_picture.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include "render_base/RenderContext.h"
#include "zelvo/ZelvoPicture.h"

namespace render_base {
namespace {

bool areValid(const IRenderBackend::MappedPlanes& planes) {
  return planes.y && planes.uv && planes.yPitch > 0 && planes.uvPitch > 0;
}

/// Ends another backend's mapping: releases the guard first, then the target that it mapped.
void releaseMapping(RenderContext& ctx) {
  ctx.guard_active = false;
  ctx.guard = IRenderBackend::Guard();
  ctx.render_target.reset();
  ctx.guard_backend = nullptr;
}

bool holds(FrameSize picture, FrameSize drawn) {
  return picture.width >= drawn.width && picture.height >= drawn.height;
}

/// Whether the context's mapping is the known one, of a picture that does not hold `size`. Compares the
/// plane's address besides the target's, because another plug-in's later target may have the address of one
/// that is gone.
bool isKnownTooSmall(const RenderContext& ctx, FrameSize size, const KnownMapping& known) {
  return known.target && known.target == ctx.render_target.get() && known.luma == ctx.planes.y &&
         !holds(known.size, size);
}

/// Replaces the context's render target by one of the writable picture, or by none where that does not hold
/// `size`. Returns the picture's size.
FrameSize makeRenderTarget(RenderContext& ctx, FrameSize size) {
  const std::shared_ptr<zelvo::ZelvoPicture> picture = ctx.picture.ensureWritablePicShared();
  const FrameSize copy = picture ? FrameSize{picture->width(), picture->height()} : FrameSize{0, 0};
  const bool fits = picture && holds(copy, size);
  ctx.render_target = fits ? picture->makeRenderTarget() : nullptr;
  return copy;
}

}  // namespace

FrameSize readableSize(const LazyDetachedPicture& picture) {
  const std::shared_ptr<zelvo::ZelvoPicture> readable = picture.readable();
  if (!readable) throw std::runtime_error("LazyDetachedPicture has no readable picture");
  return {readable->width(), readable->height()};
}

bool mapWritablePicture(RenderContext& ctx, IRenderBackend& backend, FrameSize size, KnownMapping& known) {
  if (ctx.guard_active && areValid(ctx.planes)) {
    if (ctx.guard_backend == &backend) return !isKnownTooSmall(ctx, size, known);
    releaseMapping(ctx);
  }
  const FrameSize copy = makeRenderTarget(ctx, size);
  if (!ctx.render_target) return false;

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
  known = {ctx.render_target.get(), ctx.planes.y, copy};
  return true;
}

}  // namespace render_base
