#pragma once

#include <cstdint>
#include <string>

namespace segmask {

/// The name of a PNG sequence, "folder/name_%04d.png": exactly one conversion %d (or %i), with or without a
/// width, is replaced by the frame's number, and %% by a percent sign. The conversion is part of the file's
/// name; the folder's name is used as it is.
class PngPattern {
 public:
  /// Throws UserError when `path` is no such name.
  explicit PngPattern(const std::string& path);

  /// The file name, without the folder, of one frame.
  std::string fileName(uint64_t frame) const;

  /// Whether `name`, without a folder, is the file name of some frame.
  bool matches(const std::string& name) const;

 private:
  std::string before_;  ///< the file name's part before the number
  std::string after_;
  std::size_t width_ = 0;
  char padding_ = ' ';
};

}  // namespace segmask
