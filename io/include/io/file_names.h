#pragma once

#include <string>

namespace segmask {

/// The ending of the file's name with its dot, in lower case: ".mp4"; empty when it has none.
std::string lowerCaseEnding(const std::string& path);

/// Whether both names lead to one existing file, whatever links are on the way.
bool isSameFile(const std::string& a, const std::string& b);

/// Whether both names are of one place, where a file may exist or not.
bool isSamePath(const std::string& a, const std::string& b);

}  // namespace segmask
