// A host that is a library: what it takes for the default plug-in.

#include <string>

#include "host/PluginHost.h"

extern "C" void ownDefaultPluginPath(std::string& path) {
  path = segmask::defaultPluginPath();
}
