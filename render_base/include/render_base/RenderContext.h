#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/SwAny.h"
#include "render_base/LazyDetachedPicture.h"
#include "render_base/RenderInput.h"
#include "render_base/RenderProducerStatus.h"
#include "render_base/RenderProducerTypeView.h"
#include "zelvo/IRenderBackend.h"
#include "zelvo/RenderTarget.h"

/// Turns a stored payload into one that can be read, for a frame number. The callable may be empty; what it
/// throws leaves the plug-in's render.
struct RenderPayloadResolver {
  std::function<SwAny(uint64_t frame_id, const SwAny& stored)> resolve;
};

/// Everything a render plug-in gets for one frame. One thread at a time may use a context.
struct RenderContext {
  /// The frame's number.
  uint64_t frame_id = 0;

  /// Not owned; null when the host resolves nothing, and then no input can be read.
  const RenderPayloadResolver* payload_resolver = nullptr;

  /// Reports and inputs by payload type. Not owned, either may be null; they must not change while the
  /// context lives, because producer views point into them.
  const std::unordered_map<std::string, std::vector<RenderProducerStatus>>* producer_statuses = nullptr;
  const std::unordered_map<std::string, std::vector<RenderInput>>* inputs = nullptr;

  /// Filled by RenderBase::producerTypeView, once a payload type, and kept as long as the context.
  mutable std::unordered_map<std::string, RenderProducerTypeView> producer_views;

  /// The frame's picture; plug-ins draw on its writable copy.
  LazyDetachedPicture picture;

  /// The picture as mapped by the last pass that drew, kept so that the next pass of the same backend need
  /// not map it again. `planes` belong to `guard`; both mean nothing unless `guard_active` is set.
  std::unique_ptr<zelvo::RenderTarget> render_target;
  IRenderBackend::Guard guard;
  IRenderBackend::MappedPlanes planes;
  bool guard_active = false;

  /// The backend that made `guard`; not owned, may be null.
  IRenderBackend* guard_backend = nullptr;
};
