#pragma once

#include "render_base/geometry.h"

struct RenderContext;
class IRenderBackend;
class LazyDetachedPicture;

namespace zelvo {
class RenderTarget;
}

namespace render_base {

/// The size of the readable picture. Throws std::runtime_error when there is none; a host's payload resolver
/// may have removed it since the pass began.
FrameSize readableSize(const LazyDetachedPicture& picture);

/// A plug-in's record of the mapping that it made last, because a context does not tell the size of the
/// mapped picture.
struct KnownMapping {
  const zelvo::RenderTarget* target = nullptr;  ///< not owned; only compared, because it may be gone
  const unsigned char* luma = nullptr;          ///< the mapped plane; not owned
  FrameSize size{0, 0};                         ///< of the picture
};

/// Makes sure that the context holds its writable picture, mapped by `backend`, for drawing `size`: keeps the
/// mapping of an earlier pass of the same backend, replaces any other, and remembers what it maps in `known`.
///
/// False when there is no render target or no valid mapping, or when the copy that was made does not hold
/// `size`, that of its source; the context's target is null then. False too, with the context as it is, when
/// a kept mapping is `known` to be of a picture that does not hold `size`: drawing must not leave the memory
/// that is mapped. Throws what the detaching of the picture throws.
bool mapWritablePicture(RenderContext& ctx, IRenderBackend& backend, FrameSize size, KnownMapping& known);

}  // namespace render_base
