#pragma once

struct RenderContext;
class IRenderBackend;

namespace seg_mask_overlay {

/// Makes sure that the context holds its writable picture, mapped by `backend`: keeps the mapping of an
/// earlier pass of the same backend, replaces any other. False when there is no render target or no valid
/// mapping; the context's target is null then. Throws what the detaching of the picture throws.
bool mapWritablePicture(RenderContext& ctx, IRenderBackend& backend);

}  // namespace seg_mask_overlay
