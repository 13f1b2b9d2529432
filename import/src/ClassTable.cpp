#include "import/ClassTable.h"

#include "core/SwJsonValue.h"
#include "detection/class_color.h"

namespace segmask {
namespace {

std::string quotedForCsv(const std::string& text) {
  std::string quoted = "\"";
  for (const char byte : text) quoted += byte == '"' ? std::string("\"\"") : std::string(1, byte);
  return quoted + "\"";
}

std::string colorText(seg_mask::RgbColor color) {
  return std::to_string(color.r) + "," + std::to_string(color.g) + "," + std::to_string(color.b);
}

}  // namespace

int ClassTable::number(const std::string& key, const std::string& name) {
  const auto [entry, isNew] = numbers_.try_emplace(key, static_cast<int>(names_.size()));
  if (isNew) names_.push_back(name);
  return entry->second;
}

std::string legendText(const ClassTable& classes, bool isJson) {
  std::string text = isJson ? "[" : "class_id,name,red,green,blue\n";
  int number = 0;
  for (const std::string& name : classes.names()) {
    const std::string color = colorText(seg_mask::paletteColor(number));
    if (isJson) {
      text += std::string(number == 0 ? "\n" : ",\n") + R"({"class_id": )" + std::to_string(number) +
              R"(, "name": ")" + SwJsonValue::escapeString(name) + R"(", "color": [)" + color + "]}";
    } else {
      text += std::to_string(number) + "," + quotedForCsv(name) + "," + color + "\n";
    }
    ++number;
  }
  return isJson ? text + "\n]\n" : text;
}

}  // namespace segmask
