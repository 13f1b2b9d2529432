// Draws nothing, slowly: each frame takes as many milliseconds as the configuration's "frame_ms" says.

#include <chrono>
#include <class_loader/register_macro.hpp>
#include <cstdlib>
#include <thread>

#include "test_support/IdlePlugin.h"

class SlowPlugin : public IdlePlugin {
 public:
  const char* getName() const override { return "SlowPlugin"; }
  void setConfig(std::string text) override {
    const std::size_t colon = text.find(':');
    if (colon != std::string::npos) frameTime_ = std::chrono::milliseconds(std::atoi(&text[colon + 1]));
  }
  void render(RenderContext&) override { std::this_thread::sleep_for(frameTime_); }

 private:
  std::chrono::milliseconds frameTime_{0};
};

CLASS_LOADER_REGISTER_CLASS(SlowPlugin, IRenderPlugin)
