// A plug-in that does nothing. IDLE_PLUGIN is the name of its class, so that several of these have nothing in
// common.

#include <class_loader/register_macro.hpp>

#include "test_support/IdlePlugin.h"

#define IDLE_TEXT_OF(name) #name
#define IDLE_TEXT(name) IDLE_TEXT_OF(name)

class IDLE_PLUGIN : public IdlePlugin {
 public:
  const char* getName() const override { return IDLE_TEXT(IDLE_PLUGIN); }
};

CLASS_LOADER_REGISTER_CLASS(IDLE_PLUGIN, IRenderPlugin)
