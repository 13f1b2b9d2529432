#include "src/PluginChoice.h"

#include "host/PluginHost.h"

namespace segmask {

std::string PluginChoice::path() const {
  return file ? *file : defaultPluginPath(fast ? kFastPluginFile : kPluginFile);
}

}  // namespace segmask
