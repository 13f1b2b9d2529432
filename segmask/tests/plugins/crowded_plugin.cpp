// Two plug-ins in one library, so that a host cannot know which one is meant.

#include <class_loader/register_macro.hpp>

#include "test_support/IdlePlugin.h"

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
