#include "io/OutputPlace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "io/UserError.h"

namespace segmask {

bool isStream(const std::string& target) {
  struct stat status {};
  return target == kStandardStream || (stat(target.c_str(), &status) == 0 && S_ISFIFO(status.st_mode));
}

OutputPlace::OutputPlace(const std::string& target) : target_(target) {
  if (!segmask::isStream(target)) stage_.emplace(target);
}

OutputFile OutputPlace::open() const {
  if (target_ != kStandardStream) return {path(), target_};
  FileDescriptor file(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  if (!file) throw systemError("standard output", errno);
  return {std::move(file), "standard output"};
}

}  // namespace segmask
