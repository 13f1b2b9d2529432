// Draws nothing, and holds each frame for as long as the file exists that the configuration's "hold" names.
// Beside it, "<file>.<process>" says that this process has come so far.

#include <unistd.h>

#include <chrono>
#include <class_loader/register_macro.hpp>
#include <fstream>
#include <thread>

#include "test_support/IdlePlugin.h"

class HeldPlugin : public IdlePlugin {
 public:
  const char* getName() const override { return "HeldPlugin"; }
  void setConfig(std::string text) override {
    // {"hold": "file"}
    const std::size_t end = text.rfind('"');
    const std::size_t begin = text.rfind('"', end - 1) + 1;
    file_ = text.substr(begin, end - begin);
  }
  void render(RenderContext&) override {
    if (access(file_.c_str(), F_OK) != 0) return;
    const std::ofstream mark(file_ + "." + std::to_string(getpid()));
    while (access(file_.c_str(), F_OK) == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }

 private:
  std::string file_;
};

CLASS_LOADER_REGISTER_CLASS(HeldPlugin, IRenderPlugin)
