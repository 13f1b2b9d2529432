#include "io/StagedOutput.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "io/UserError.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

/// Renaming onto a link would replace the link, not what it leads to; so the target is what it leads to.
fs::path resolved(const std::string& target) {
  std::error_code error;
  if (!fs::is_symlink(target, error)) return target;
  const fs::path real = fs::weakly_canonical(target, error);
  return error ? fs::path(target) : real;
}

void refuseUnlessFile(const fs::path& target) {
  struct stat status {};
  if (stat(target.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return;
  throw UserError(target.string() + (S_ISDIR(status.st_mode)
                                         ? ": is a folder"
                                         : ": is no regular file, and output replaces what is there"));
}

}  // namespace

StagedOutput::StagedOutput(const std::string& target) {
  const fs::path path = resolved(target);
  refuseUnlessFile(path);
  folder_ = path.has_parent_path() ? path.parent_path().string() : ".";
  fileName_ = path.filename().string();
  if (fileName_.empty()) throw UserError(target + ": names no file");

  std::string pattern = folder_ + "/.segmask-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    const int error = errno;
    throw UserError(target + ": cannot write into the folder " + folder_ + ": " +
                    std::generic_category().message(error));
  }
  stage_ = pattern;
}

StagedOutput::~StagedOutput() {
  std::error_code ignored;
  fs::remove_all(stage_, ignored);
}

void StagedOutput::commit() {
  std::error_code error;
  for (fs::directory_iterator entry(stage_, error), end; !error && entry != end; entry.increment(error)) {
    moveIntoPlace(entry->path().filename().string());
  }
  if (error) throw UserError(folder_ + ": " + error.message());
}

void StagedOutput::moveIntoPlace(const std::string& fileName) const {
  const std::string target = folder_ + "/" + fileName;
  if (std::rename(pathOf(fileName).c_str(), target.c_str()) != 0) throw systemError(target, errno);
}

}  // namespace segmask
