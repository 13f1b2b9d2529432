#include "io/file_names.h"

#include <sys/stat.h>

#include <filesystem>

namespace segmask {

std::string lowerCaseEnding(const std::string& path) {
  std::string ending = std::filesystem::path(path).extension().string();
  for (char& byte : ending) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  }
  return ending;
}

bool isSameFile(const std::string& a, const std::string& b) {
  struct stat first {};
  struct stat second {};
  if (stat(a.c_str(), &first) != 0 || stat(b.c_str(), &second) != 0) return false;
  return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool isSamePath(const std::string& a, const std::string& b) {
  std::error_code errorA;
  std::error_code errorB;
  const std::filesystem::path first = std::filesystem::weakly_canonical(a, errorA);
  const std::filesystem::path second = std::filesystem::weakly_canonical(b, errorB);
  return !errorA && !errorB && first == second;
}

}  // namespace segmask
