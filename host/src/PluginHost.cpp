#include "host/PluginHost.h"

#include <console_bridge/console.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "io/UserError.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

constexpr char kPreferredClass[] = "SegMaskOverlayPlugin";

/// A name without a folder would be looked up among the system's libraries.
std::string loadablePath(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (error && status.type() != fs::file_type::not_found) throw UserError(path + ": " + error.message());
  if (!fs::exists(status)) throw systemError(path, ENOENT);
  if (fs::is_directory(status)) throw systemError(path, EISDIR);
  return fs::absolute(path).string();
}

std::string choose(const std::vector<std::string>& classes, const std::string& path) {
  if (classes.empty()) throw UserError(path + ": holds no render plug-in (no class for IRenderPlugin)");
  if (std::find(classes.begin(), classes.end(), kPreferredClass) != classes.end()) return kPreferredClass;
  if (classes.size() == 1) return classes.front();
  std::string names;
  for (const std::string& name : classes) names += (names.empty() ? "" : ", ") + name;
  throw UserError(path + ": holds several render plug-ins and none is " + kPreferredClass + ": " + names);
}

}  // namespace

std::string defaultPluginPath() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (error) throw UserError("cannot find this program's own folder: " + error.message());
  return (program.parent_path().parent_path() / "lib" / "libseg_mask_overlay.so").string();
}

PluginHost::PluginHost(const std::string& path) {
  // class_loader reports through console_bridge besides throwing; the user gets one message, which is ours.
  console_bridge::noOutputHandler();
  const std::string file = loadablePath(path);
  try {
    loader_ = std::make_unique<class_loader::ClassLoader>(file);
    classes_ = loader_->getAvailableClasses<IRenderPlugin>();
    std::sort(classes_.begin(), classes_.end());
    instance_ = loader_->createUniqueInstance<IRenderPlugin>(choose(classes_, path));
  } catch (const UserError&) {
    throw;
  } catch (const std::exception& error) {
    throw UserError(path + ": the plug-in does not load: " + error.what());
  }
}

}  // namespace segmask
