#pragma once

#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace segmask {

/// What the name of a mask's file says. Fields that the pattern lacks are empty.
struct MaskFileName {
  std::string frame;     ///< digits
  std::string image;     ///< a picture's name without its ending
  std::string instance;  ///< digits
  std::string category;
};

/// The pattern of mask files' names, for example "{frame}_{category}_{instance}.png". {frame} and {instance}
/// stand for a number of at most 18 digits, {image} and {category} for any text. Each is there at most once,
/// and either {frame} or {image} is.
class NamePattern {
 public:
  /// Throws UserError for any other pattern.
  explicit NamePattern(const std::string& pattern);

  /// The fields of a file's name, or nothing when it does not fit the pattern.
  std::optional<MaskFileName> match(const std::string& name) const;

  bool hasFrame() const { return has(&MaskFileName::frame); }
  bool hasInstance() const { return has(&MaskFileName::instance); }
  bool hasCategory() const { return has(&MaskFileName::category); }

 private:
  using Field = std::string MaskFileName::*;
  bool has(Field field) const;
  std::string addField(const std::string& name);

  std::regex regex_;
  std::vector<Field> fields_;  ///< in the order of the regular expression's groups
};

}  // namespace segmask
