#include "host/PluginHost.h"

#include <console_bridge/console.h>
#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <mutex>

#include "io/UserError.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

/// An object of this file's own: one with external linkage may be another library's.
constexpr char kInOwnFile = 0;

/// Held while class_loader loads or unloads.
std::mutex& classLoaderMutex() {
  static std::mutex mutex;
  return mutex;
}

/// The file that contains this code: the program, or a library that a host is part of.
fs::path ownFile() {
  Dl_info found{};
  void* object = nullptr;
  const bool known = dladdr1(&kInOwnFile, &found, &object, RTLD_DL_LINKMAP) != 0;
  // The link map's name is empty for the program, while dli_fname would be the name by which it was started.
  const std::string library = known ? static_cast<const link_map*>(object)->l_name : "";
  std::error_code error;
  fs::path file = library.empty() ? fs::read_symlink("/proc/self/exe", error) : fs::canonical(library, error);
  if (error) {
    const std::string what = library.empty() ? "this program" : library;
    throw UserError(what + ": its folder, where the plug-in is looked for, is not known: " + error.message());
  }
  return file;
}

/// Adds the folder: a name without one would be looked up among the system's libraries.
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
  if (std::find(classes.begin(), classes.end(), kPluginClass) != classes.end()) return kPluginClass;
  if (classes.size() == 1) return classes.front();
  std::string names;
  for (const std::string& name : classes) names += (names.empty() ? "" : ", ") + name;
  throw UserError(path + ": holds several render plug-ins and none is " + kPluginClass + ": " + names);
}

}  // namespace

std::string defaultPluginPath(const char* pluginFile) {
  const fs::path folder = ownFile().parent_path();
  const fs::path above = folder.parent_path();
  const fs::path installed = SEG_MASK_PLUGINDIR;
  for (const fs::path& each :
       {folder, above / installed, above / installed.filename(), above, above.parent_path()}) {
    std::error_code ignored;
    if (fs::exists(each / pluginFile, ignored)) return (each / pluginFile).string();
  }
  return (above / installed / pluginFile).string();
}

PluginHost::PluginHost(const std::string& path) {
  const std::string file = loadablePath(path);
  const std::lock_guard<std::mutex> lock(classLoaderMutex());
  // class_loader logs through console_bridge besides throwing; the user is to get a single message, that of
  // UserError.
  console_bridge::noOutputHandler();
  try {
    loader_.reset(new class_loader::ClassLoader(file));
    classes_ = loader_->getAvailableClasses<IRenderPlugin>();
    std::sort(classes_.begin(), classes_.end());
    instance_ = loader_->createUniqueInstance<IRenderPlugin>(choose(classes_, path));
  } catch (const UserError&) {
    throw;
  } catch (const std::exception& error) {
    throw UserError(path + ": the plug-in does not load: " + error.what());
  }
}

void PluginHost::Unloader::operator()(class_loader::ClassLoader* loader) const {
  const std::lock_guard<std::mutex> lock(classLoaderMutex());
  delete loader;
}

}  // namespace segmask
