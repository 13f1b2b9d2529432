#pragma once

#include <class_loader/class_loader.hpp>
#include <memory>
#include <string>
#include <vector>

#include "render_base/IRenderPlugin.h"

namespace segmask {

/// The two files that the plug-in comes as. They draw the same bytes: the first uploads a mask of the frame's
/// size for each detection, the second all of a frame at once. A process may load one of them: with both
/// loaded, class_loader warns, and the loader that came first makes no more instances.
inline constexpr char kPluginFile[] = "libseg_mask_overlay.so";
inline constexpr char kFastPluginFile[] = "libseg_mask_overlay_fused.so";

/// The class in both of them, and what getName() says of an instance.
inline constexpr char kPluginClass[] = "SegMaskOverlayPlugin";

/// The path of the plug-in that belongs to the file that contains this code, a program or a library:
/// `pluginFile` in the first of these folders where it exists: that file's own, ../lib, .. and ../.. relative
/// to it (where systems keep a folder of modules within that of the libraries); in ../lib if it is nowhere.
/// In Debian's packages the place of ../lib is taken by ../lib/TRIPLET/seg-mask-overlay, as seen from a
/// program, and ../seg-mask-overlay, as seen from a module of another program. Links to the file are
/// followed. Throws UserError when the folder cannot be found. Any thread may call it.
std::string defaultPluginPath(const char* pluginFile = kPluginFile);

/// A loaded plug-in library and the instance made from it, together, because an instance must not outlive its
/// library.
///
/// Threads may make and destroy objects of this class at the same time: class_loader permits one call at a
/// time, so they wait for each other. Code that calls class_loader by other means must not do so at the same
/// time.
class PluginHost {
 public:
  /// Loads the library and creates its plug-in: kPluginClass if the library has it, else its only
  /// plug-in. Throws UserError, naming the file, when that is not possible.
  explicit PluginHost(const std::string& path);

  IRenderPlugin& plugin() { return *instance_; }

  /// The render plug-in classes in the library.
  const std::vector<std::string>& classes() const { return classes_; }

 private:
  struct Unloader {
    void operator()(class_loader::ClassLoader* loader) const;
  };

  std::vector<std::string> classes_;
  std::unique_ptr<class_loader::ClassLoader, Unloader> loader_;
  class_loader::ClassLoader::UniquePtr<IRenderPlugin> instance_;
};

}  // namespace segmask
