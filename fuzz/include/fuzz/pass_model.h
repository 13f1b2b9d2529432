#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/Canvas.h"
#include "fuzz/reference_render.h"
#include "fuzz/render_host.h"

namespace fuzz {

/// What a pass is given by the host and by the device.
struct Plan {
  Map map = Map::good;
  std::shared_ptr<Canvas> canvas;
  reference::DeviceCalls calls;
  bool timeIsUp = false;
  bool held = false;  ///< the stream's work waits until after the pass
};

/// The plug-in as the model has it.
struct Plugin {
  Backend* backend = nullptr;
  bool debug = false;
  float alpha = 0.45F;
  float minScore = 0.0F;
  std::int32_t cap = 256;
  std::uint64_t skipped = 0;
  reference::Device device;
};

/// What a pass leaves behind.
struct Result {
  explicit Result(const HostContext& host)
      : active(host.ctx.guard_active),
        backend(host.ctx.guard_backend),
        hasTarget(host.ctx.render_target != nullptr),
        writable(host.ctx.picture.writable),
        holdsOld(!host.token.expired()) {}

  std::string line;
  std::vector<std::uint64_t> asked;
  bool active;
  const IRenderBackend* backend;
  bool hasTarget;
  SharedPicture writable;
  bool holdsOld;          ///< the mapping from before the pass
  bool holdsNew = false;  ///< the one that the pass has made
  unsigned maps = 0;
};

/// The pass as the rules read. Throws what render throws; `result` holds what has become of everything by
/// then, and the canvas what is drawn.
void modelPass(const HostContext& host, Plugin& plugin, Plan& plan, Result& result);

}  // namespace fuzz
