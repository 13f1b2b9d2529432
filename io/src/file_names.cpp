#include "io/file_names.h"

#include <sys/stat.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace segmask {
namespace {

/// Without the first step a relative path stays relative when its beginning does not exist.
fs::path wholePath(const std::string& path, std::error_code& error) {
  const fs::path absolute = fs::absolute(path, error);
  return error ? absolute : fs::weakly_canonical(linksFollowed(absolute), error);
}

}  // namespace

std::string lowerCaseEnding(const std::string& path) {
  std::string ending = fs::path(path).extension().string();
  for (char& byte : ending) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  }
  return ending;
}

fs::path linksFollowed(const fs::path& path) {
  constexpr int kMostLinks = 40;  // as Linux follows
  fs::path found = path;
  std::error_code error;
  for (int i = 0; i < kMostLinks && fs::is_symlink(found, error); ++i) {
    const fs::path next = fs::read_symlink(found, error);
    if (error) break;
    found = next.is_absolute() ? next : found.parent_path() / next;
  }
  return found;
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
  const fs::path first = wholePath(a, errorA);
  const fs::path second = wholePath(b, errorB);
  return !errorA && !errorB && first == second;
}

std::string shellText(const std::string& word) {
  const std::string plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_@%+=:,./-";
  if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) return word;
  std::string quoted = "'";
  for (const char character : word) quoted += character == '\'' ? "'\\''" : std::string(1, character);
  return quoted + "'";
}

}  // namespace segmask
