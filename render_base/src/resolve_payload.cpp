#include "render_base/resolve_payload.h"

#include <cxxabi.h>

#include <new>
#include <utility>

#include "core/render_payload.h"
#include "render_base/RenderContext.h"

namespace render_base {

SwJsonObject resolvePayload(const RenderContext& ctx, const RenderInput& input) {
  if (!ctx.payload_resolver || !ctx.payload_resolver->resolve || input.payload.isEmpty()) return {};
  const uint64_t frame_id = input.frame_id != 0 ? input.frame_id : ctx.frame_id;
  SwAny payload = ctx.payload_resolver->resolve(frame_id, input.payload);
  try {
    return render_payload::anyToJsonObject(std::move(payload));
  } catch (const std::bad_alloc&) {
    throw;  // lack of memory is not a fault of the payload
  } catch (const abi::__forced_unwind&) {
    throw;  // the host cancels this thread; the C++ runtime allows nothing else
  } catch (...) {
    // A conversion that a host registered may throw anything; one producer's payload must not suppress those
    // of the others.
    return {};
  }
}

}  // namespace render_base
