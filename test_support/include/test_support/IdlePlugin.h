#pragma once

#include <string>
#include <vector>

#include "render_base/RenderBase.h"
#include "render_base/RenderContext.h"

/// A plug-in that asks for nothing and does nothing; what a test needs it overrides.
class IdlePlugin : public RenderBase {
 public:
  const char* getName() const override { return "IdlePlugin"; }
  std::string getUuid() const override { return "idle"; }
  std::vector<std::string> input_types() const override { return {}; }
  void enableDebug(bool) override {}
  bool init(const RenderInit&) override { return true; }
  std::string getConfigList() override { return "{}"; }
  void setConfig(std::string) override {}
  void render(RenderContext&) override {}
};
