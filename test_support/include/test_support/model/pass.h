#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "test_support/model/drawing.h"
#include "test_support/model/pixels.h"
#include "test_support/model/producers.h"
#include "test_support/scene.h"
#include "zelvo/IRenderBackend.h"

namespace model {

struct Size {
  int width = 0;
  int height = 0;
};

/// What a host gives a pass, and what it does when the pass asks; what its functions throw leaves the pass.
struct Host {
  uint64_t frame_id = 0;
  bool time_is_up = true;      ///< kSkipPause have passed since the instance's last line, or there was none
  std::optional<Size> source;  ///< may go while the inputs are delivered
  uint64_t source_id = 0;
  Producers producers;
  std::function<std::vector<scene::Detection>(const RenderInput&)> deliver;
  std::function<std::optional<Size>()> copy;   ///< copies the source; nothing when nobody can
  std::function<std::optional<Planes>()> map;  ///< nothing when the mapping is not valid
};

/// An instance: its settings, and what it keeps from pass to pass.
struct Plugin {
  const IRenderBackend* backend = nullptr;
  scene::Settings settings;
  bool debug = false;
  uint64_t skipped = 0;  ///< frames of the run
};

/// What a context keeps of its picture from pass to pass.
struct Picture {
  std::optional<Size> writable;
  bool active = false;  ///< the mapping
  bool valid = false;   ///< the planes
  Planes planes;
  const IRenderBackend* backend = nullptr;
  bool has_target = false;
  bool holds_old = false;  ///< the mapping that a pass has found
  bool holds_new = false;  ///< the one that it has made
  unsigned maps = 0;       ///< how often it has asked for one
};

/// One pass. Gives the line that it writes, if any. Throws what render throws; everything is then as the pass
/// leaves it.
std::string pass(const Host& host, Plugin& plugin, Picture& picture, Compositor& compositor);

}  // namespace model
