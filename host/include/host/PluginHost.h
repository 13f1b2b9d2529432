#pragma once

#include <class_loader/class_loader.hpp>
#include <memory>
#include <string>
#include <vector>

#include "render_base/IRenderPlugin.h"

namespace segmask {

/// The plug-in that comes with this program: ../lib/libseg_mask_overlay.so, seen from the program's own
/// folder.
std::string defaultPluginPath();

/// A loaded plug-in library and the instance made from it, together, because an instance must not outlive its
/// library. Not for two threads at once: class_loader cannot load from several.
class PluginHost {
 public:
  /// Loads the library and creates its plug-in: SegMaskOverlayPlugin where it has one, else the only one that
  /// it has. Throws UserError, naming the file, when that is not possible.
  explicit PluginHost(const std::string& path);

  IRenderPlugin& plugin() { return *instance_; }

  /// The render plug-in classes in the library.
  const std::vector<std::string>& classes() const { return classes_; }

 private:
  std::vector<std::string> classes_;
  std::unique_ptr<class_loader::ClassLoader> loader_;
  class_loader::ClassLoader::UniquePtr<IRenderPlugin> instance_;
};

}  // namespace segmask
