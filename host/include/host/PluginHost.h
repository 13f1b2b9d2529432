#pragma once

#include <class_loader/class_loader.hpp>
#include <memory>
#include <string>
#include <vector>

#include "render_base/IRenderPlugin.h"

namespace segmask {

/// The plug-in that comes with the file that this code is a part of, a program or a library:
/// libseg_mask_overlay.so beside that file where there is one, else in ../lib, seen from the file's folder,
/// whether it is there or not. Links to the file are followed. Throws UserError when the folder cannot be
/// found. Any thread may call it.
std::string defaultPluginPath();

/// A loaded plug-in library and the instance made from it, together, because an instance must not outlive its
/// library.
///
/// Threads may make and destroy objects of this class at the same time: class_loader takes one call at a
/// time, so these wait for each other. Whoever calls class_loader without this class has to keep out of their
/// way.
class PluginHost {
 public:
  /// Loads the library and creates its plug-in: SegMaskOverlayPlugin where it has one, else the only one that
  /// it has. Throws UserError, naming the file, when that is not possible.
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
