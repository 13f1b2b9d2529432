#pragma once

#include <string>
#include <unordered_map>
#include <vector>

namespace segmask {

/// What an imported detection's class, and so its colour, stands for.
enum class ClassBy {
  Category,  ///< what it is
  Instance,  ///< its place in its frame, counted from 0
  Track      ///< the same object in all frames
};

/// The numbers of the classes that an import gives, 0 and up in the order in which they are asked for, so
/// that the first 20 have different colours.
class ClassTable {
 public:
  /// The number of the class with this key. A new one is called `name`.
  int number(const std::string& key, const std::string& name);

  /// By their numbers.
  const std::vector<std::string>& names() const { return names_; }

 private:
  std::unordered_map<std::string, int> numbers_;
  std::vector<std::string> names_;
};

/// The legend, each class with its number, name and the colour that it is drawn in. As JSON a list of objects
/// {"class_id": 0, "name": "person", "color": [255, 56, 56]}, else as CSV with the columns class_id, name,
/// red, green and blue.
std::string legendText(const ClassTable& classes, bool isJson);

}  // namespace segmask
