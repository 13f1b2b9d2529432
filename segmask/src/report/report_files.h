#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace segmask {

/// A file of a run, as the report names it.
struct ReportFile {
  std::string role;  ///< what the run used it for
  std::string path;  ///< as the user named it
  std::optional<uint64_t> bytes;
  std::string sha256;  ///< 64 hexadecimal digits; empty where there are none
  std::string note;    ///< why there are none
};

/// The size and digest of the file that stands at `place` and is called `path`. Reads the whole file. What is
/// no regular file, and what cannot be read, has a note in the place of a digest: a report does not fail
/// because of it.
ReportFile describeFile(const std::string& role, const std::string& path, const std::string& place);

}  // namespace segmask
