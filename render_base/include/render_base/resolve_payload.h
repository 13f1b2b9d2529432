#pragma once

#include "core/SwJsonObject.h"

struct RenderContext;
struct RenderInput;

namespace render_base {

/// The input's payload as JSON: what the context's payload resolver makes of it for the input's frame number,
/// or for the context's where that is 0. Empty when there is no resolver, no payload or no JSON object in it,
/// or when a conversion that the host registered throws.
///
/// Throws what the resolver throws, and std::bad_alloc. Threads: as for the context.
SwJsonObject resolvePayload(const RenderContext& ctx, const RenderInput& input);

}  // namespace render_base
