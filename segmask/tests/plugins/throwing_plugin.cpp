// Throws in the third frame; otherwise draws nothing.

#include <class_loader/register_macro.hpp>
#include <stdexcept>

#include "render_base/RenderBase.h"
#include "render_base/RenderContext.h"

class ThrowingPlugin : public RenderBase {
 public:
  const char* getName() const override { return "ThrowingPlugin"; }
  std::string getUuid() const override { return "throwing"; }
  std::vector<std::string> input_types() const override { return {}; }
  void enableDebug(bool) override {}
  bool init(const RenderInit&) override { return true; }
  std::string getConfigList() override { return "{}"; }
  void setConfig(std::string) override {}
  void render(RenderContext& ctx) override {
    if (ctx.frame_id == 2) throw std::runtime_error("no luck\ntoday");
  }
};

CLASS_LOADER_REGISTER_CLASS(ThrowingPlugin, IRenderPlugin)
