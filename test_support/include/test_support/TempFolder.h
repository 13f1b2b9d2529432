#pragma once

#include <string>
#include <vector>

/// A folder of its own for one test, gone at the end.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string path(const std::string& name) const { return path_ + "/" + name; }

  /// Creates or replaces a file; returns its path.
  std::string write(const std::string& name, const std::string& bytes) const;

  /// The names of everything in the folder, hidden ones too, sorted.
  std::vector<std::string> names() const;

 private:
  std::string path_;
};

/// The bytes of a file. A missing file fails the test and reads as empty.
std::string readFile(const std::string& path);
