#include "src/report/report_files.h"

#include <sys/stat.h>

#include "io/FileDescriptor.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "src/file_digest.h"

namespace segmask {

ReportFile describeFile(const std::string& role, const std::string& path, const std::string& place) {
  ReportFile file{role, path, std::nullopt, {}, {}};
  struct stat status {};
  if (path == kStandardStream) {
    file.note = "a standard stream, so no digest";
  } else if (stat(place.c_str(), &status) != 0) {
    file.note = place.empty() ? "a pipe or several files, so no digest"
                              : "not a file that can be read here, so no digest";
  } else if (S_ISDIR(status.st_mode)) {
    file.note = "a folder, so no digest";
  } else if (!S_ISREG(status.st_mode)) {
    file.note = "a pipe or device, so no digest";
  } else {
    file.bytes = static_cast<uint64_t>(status.st_size);
    try {
      const std::string digest = sha256Of(place);
      // An interrupt ends all reading, so the digest may be of a part.
      if (Interrupt::requested()) {
        file.note = "the run was interrupted, so no digest";
      } else {
        file.sha256 = digest;
      }
    } catch (const UserError& error) {
      file.note = error.what();
    }
  }
  return file;
}

}  // namespace segmask
