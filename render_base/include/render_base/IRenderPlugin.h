#pragma once

#include <string>
#include <vector>

#include "render_base/RenderInit.h"
#include "render_base/RenderInputRequirement.h"

struct RenderContext;

/// A plug-in that draws into frames. Hosts create it through class_loader's factory for this base and drive
/// it through these operations alone. The order of the virtual functions is a binary contract with hosts:
/// never reorder, insert or remove one.
///
/// A host calls one instance from one thread at a time.
class IRenderPlugin {
 public:
  virtual ~IRenderPlugin();

  /// The class's name, static text.
  virtual const char* getName() const = 0;

  /// An id that is unique among the live instances of the process and stable for this instance's life.
  virtual std::string getUuid() const = 0;

  /// The payload types that the plug-in consumes.
  virtual std::vector<std::string> input_types() const = 0;

  /// The same with the host's qualifiers, one record a type, in the same order.
  virtual std::vector<RenderInputRequirement> input_requirements() const = 0;

  /// Turns diagnostics on the standard error stream on or off.
  virtual void enableDebug(bool on) = 0;

  /// Hands over the backend. May be called again to replace it.
  virtual bool init(const RenderInit& init) = 0;

  /// The JSON Schema of the configuration.
  virtual std::string getConfigList() = 0;

  /// Applies a JSON configuration from the next frame on. Bad input is ignored.
  virtual void setConfig(std::string json) = 0;

  /// Draws into the frame's picture. Queues work on the mapped stream and returns without waiting for it.
  virtual void render(RenderContext& ctx) = 0;

 protected:
  IRenderPlugin() = default;
  IRenderPlugin(const IRenderPlugin&) = default;
  IRenderPlugin& operator=(const IRenderPlugin&) = default;
};
