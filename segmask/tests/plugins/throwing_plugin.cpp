// Throws in the third frame; otherwise draws nothing.

#include <class_loader/register_macro.hpp>
#include <stdexcept>

#include "test_support/IdlePlugin.h"

class ThrowingPlugin : public IdlePlugin {
 public:
  const char* getName() const override { return "ThrowingPlugin"; }
  void render(RenderContext& ctx) override {
    if (ctx.frame_id == 2) throw std::runtime_error("no luck\ntoday");
  }
};

CLASS_LOADER_REGISTER_CLASS(ThrowingPlugin, IRenderPlugin)
