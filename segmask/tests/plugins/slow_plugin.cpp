// Draws nothing, slowly: each frame takes as many milliseconds as the configuration's "frame_ms" says. Says
// on standard error when a frame begins.

#include <chrono>
#include <class_loader/register_macro.hpp>
#include <cstdio>
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
  void render(RenderContext&) override {
    std::fprintf(stderr, "SlowPlugin: frame %d begins\n", ++frames_);
    std::this_thread::sleep_for(frameTime_);
  }

 private:
  std::chrono::milliseconds frameTime_{0};
  int frames_ = 0;
};

CLASS_LOADER_REGISTER_CLASS(SlowPlugin, IRenderPlugin)
