#pragma once

#include "render_base/geometry.h"

struct RenderContext;
class IRenderBackend;

namespace render_base {

/// Makes sure that the context holds its writable picture, mapped by `backend`: keeps the mapping of an
/// earlier pass of the same backend, replaces any other. False when there is no render target or no valid
/// mapping, or when the copy that was made does not hold `size`, that of its source: a host's copier must not
/// make the drawing end in memory that is not the picture's. The context's target is null then. Throws what
/// the detaching of the picture throws.
bool mapWritablePicture(RenderContext& ctx, IRenderBackend& backend, const FrameSize& size);

}  // namespace render_base
