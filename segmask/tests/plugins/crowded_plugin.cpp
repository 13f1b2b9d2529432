// Two plug-ins in one library, so that a host cannot know which one is meant.

#include <class_loader/register_macro.hpp>

#include "render_base/RenderBase.h"

class IdlePlugin : public RenderBase {
 public:
  std::string getUuid() const override { return "idle"; }
  std::vector<std::string> input_types() const override { return {}; }
  void enableDebug(bool) override {}
  bool init(const RenderInit&) override { return true; }
  std::string getConfigList() override { return "{}"; }
  void setConfig(std::string) override {}
  void render(RenderContext&) override {}
};

class FirstPlugin : public IdlePlugin {
 public:
  const char* getName() const override { return "FirstPlugin"; }
};

class SecondPlugin : public IdlePlugin {
 public:
  const char* getName() const override { return "SecondPlugin"; }
};

CLASS_LOADER_REGISTER_CLASS(FirstPlugin, IRenderPlugin)
CLASS_LOADER_REGISTER_CLASS(SecondPlugin, IRenderPlugin)
