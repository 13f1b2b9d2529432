// A plug-in that does nothing. IDLE_PLUGIN is the name of its class, so that several of these have nothing in
// common.

#include <class_loader/register_macro.hpp>

#include "render_base/RenderBase.h"

#define IDLE_TEXT_OF(name) #name
#define IDLE_TEXT(name) IDLE_TEXT_OF(name)

class IDLE_PLUGIN : public RenderBase {
 public:
  const char* getName() const override { return IDLE_TEXT(IDLE_PLUGIN); }
  std::string getUuid() const override { return "idle"; }
  std::vector<std::string> input_types() const override { return {}; }
  void enableDebug(bool) override {}
  bool init(const RenderInit&) override { return true; }
  std::string getConfigList() override { return "{}"; }
  void setConfig(std::string) override {}
  void render(RenderContext&) override {}
};

CLASS_LOADER_REGISTER_CLASS(IDLE_PLUGIN, IRenderPlugin)
