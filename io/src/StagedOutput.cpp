#include "io/StagedOutput.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "io/UserError.h"
#include "io/file_names.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

constexpr char kStagePrefix[] = ".segmask-";
constexpr char kStagePattern[] = "XXXXXX";  // as mkdtemp wants it
constexpr std::time_t kOldSeconds = 3600;

/// Opens a folder for reading and locking. Empty for anything else, including a link to a folder.
FileDescriptor openFolder(const std::string& path) {
  return FileDescriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool isStageName(const std::string& name) {
  const std::size_t prefix = sizeof kStagePrefix - 1;
  return name.size() == prefix + sizeof kStagePattern - 1 && name.compare(0, prefix, kStagePrefix) == 0;
}

bool isOld(const struct stat& status) {
  return status.st_mtime < std::time(nullptr) - kOldSeconds;
}

/// Whether a StagedOutput of this user could have made a folder with this status, and long ago.
bool isOldFolder(const struct stat& status) {
  return isOld(status) && status.st_uid == geteuid() && (status.st_mode & 0777) == 0700;
}

/// Whether a file or folder in a stage folder has not been written for long. A folder is that of a further
/// process, for which this stage was the target.
bool isOldInStage(const fs::path& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return false;
  if (S_ISREG(status.st_mode)) return isOld(status);
  return S_ISDIR(status.st_mode) && isStageName(path.filename().string()) && isOldFolder(status);
}

/// Whether a StagedOutput of this user could have made this folder, and neither it nor what is in it has been
/// written for long. The files count too, because a network file system may not show the writer's lock to
/// other machines.
bool isOldStage(int folder, const fs::path& path) {
  struct stat status {};
  if (fstat(folder, &status) != 0 || !isOldFolder(status)) return false;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    if (!isOldInStage(entry->path())) return false;
  }
  return !error;
}

/// Removes the stage folders that killed processes have left in `folder`. One that cannot be read, locked or
/// removed stays; it does no harm.
void removeLeftBehind(const std::string& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (!isStageName(entry->path().filename().string())) continue;
    const FileDescriptor stage = openFolder(entry->path().string());
    // The age is checked first: the process that has just made a folder may not have locked it yet.
    if (!stage || !isOldStage(stage.get(), entry->path())) continue;
    if (flock(stage.get(), LOCK_EX | LOCK_NB) != 0) continue;
    std::error_code ignored;
    fs::remove_all(entry->path(), ignored);
  }
}

void refuseUnlessFile(const fs::path& target) {
  struct stat status {};
  if (stat(target.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return;
  throw UserError(target.string() + (S_ISDIR(status.st_mode)
                                         ? ": is a folder"
                                         : ": is no regular file, and output replaces what is there"));
}

/// Moves a file to a name that nothing has. Otherwise returns -1, with errno, as rename() does. On a file
/// system that can neither do that in one step nor have two names for a file, one that appears within
/// microseconds is replaced.
int moveUnlessThere(const char* from, const char* to) {
  const int moved = renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
  if (moved == 0 || (errno != EINVAL && errno != ENOSYS)) return moved;
  if (link(from, to) == 0) return 0;  // the name in the stage goes with that
  if (errno != EPERM && errno != ENOSYS && errno != EOPNOTSUPP && errno != EMLINK) return -1;
  struct stat status {};
  if (lstat(to, &status) != 0) return rename(from, to);
  errno = EEXIST;
  return -1;
}

}  // namespace

StagedOutput::StagedOutput(const std::string& target, LeftBehind leftBehind) {
  // Renaming onto a link would replace the link and not the file that it leads to.
  const fs::path path = linksFollowed(target);
  refuseUnlessFile(path);
  folder_ = path.has_parent_path() ? path.parent_path().string() : ".";
  fileName_ = path.filename().string();
  if (fileName_.empty()) throw UserError(target + ": names no file");

  if (leftBehind == LeftBehind::Remove) removeLeftBehind(folder_);
  std::string pattern = folder_ + "/" + kStagePrefix + kStagePattern;
  if (!mkdtemp(pattern.data())) {
    const int error = errno;
    throw UserError(target + ": cannot write into the folder " + folder_ + ": " +
                    std::generic_category().message(error));
  }
  stage_ = pattern;
  held_ = openFolder(stage_);
  // Where the file system has no locks, a process that wants to remove the folder gets none either.
  if (held_) static_cast<void>(flock(held_.get(), LOCK_EX | LOCK_NB));
}

StagedOutput::~StagedOutput() {
  std::error_code ignored;
  fs::remove_all(stage_, ignored);
}

void StagedOutput::commit(Existing existing) {
  std::error_code error;
  for (fs::directory_iterator entry(stage_, error), end; !error && entry != end; entry.increment(error)) {
    moveIntoPlace(entry->path().filename().string(), existing);
  }
  if (error) throw UserError(folder_ + ": " + error.message());
}

void StagedOutput::moveIntoPlace(const std::string& fileName, Existing existing) const {
  const std::string target = folder_ + "/" + fileName;
  const std::string staged = pathOf(fileName);
  const int result = existing == Existing::Kept ? moveUnlessThere(staged.c_str(), target.c_str())
                                                : std::rename(staged.c_str(), target.c_str());
  if (result == 0) return;
  if (existing == Existing::Kept && errno == EEXIST) throw FileExists(target);
  throw systemError(target, errno);
}

}  // namespace segmask
