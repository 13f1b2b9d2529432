#include "host/PluginChoice.h"

#include <filesystem>
#include <mutex>

#include "host/PluginHost.h"
#include "io/UserError.h"

namespace fs = std::filesystem;

namespace segmask {

std::string PluginChoice::path() const {
  return file ? *file : defaultPluginPath(fast ? kFastPluginFile : kPluginFile);
}

std::string PluginChoice::pathInProcess() const {
  static std::mutex mutex;
  static fs::path chosen;
  std::string wanted = path();
  std::error_code error;
  const fs::path whole = fs::canonical(wanted, error);
  if (error || (whole.filename() != kPluginFile && whole.filename() != kFastPluginFile)) return wanted;
  const std::lock_guard<std::mutex> lock(mutex);
  if (chosen.empty()) chosen = whole;
  if (chosen == whole) return wanted;
  // The names say enough, but of two copies of one file.
  const bool named = chosen.filename() != whole.filename();
  throw UserError("this process already draws with " + (named ? chosen.filename() : chosen).string() +
                  ", and a process can use one of the two: " + (named ? whole.filename() : whole).string() +
                  " would need another process");
}

}  // namespace segmask
