#pragma once

#include <filesystem>
#include <string>

namespace segmask {

/// The ending of the file's name with its dot, in lower case: ".mp4"; empty when it has none.
std::string lowerCaseEnding(const std::string& path);

/// The path with its own links followed, to where nothing may be yet: an output that is written there would
/// be the file that the last of them names.
std::filesystem::path linksFollowed(const std::filesystem::path& path);

/// Whether both names lead to one existing file, whatever links are on the way.
bool isSameFile(const std::string& a, const std::string& b);

/// Whether both names are of one place, where a file may exist or not, whatever links are on the way.
bool isSamePath(const std::string& a, const std::string& b);

/// The name as a word for a shell, quoted where needed.
std::string shellText(const std::string& word);

}  // namespace segmask
