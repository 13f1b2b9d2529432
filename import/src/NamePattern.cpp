#include "src/NamePattern.h"

#include <algorithm>
#include <utility>

#include "io/UserError.h"

namespace segmask {
namespace {

constexpr char kNumber[] = "([0-9]{1,18})";
constexpr char kText[] = "(.+)";

std::string escaped(char byte) {
  const bool isSpecial = std::string("\\^$.|?*+()[]{}").find(byte) != std::string::npos;
  return isSpecial ? std::string("\\") + byte : std::string(1, byte);
}

}  // namespace

NamePattern::NamePattern(const std::string& pattern) {
  try {
    std::string expression;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
      const std::size_t end = pattern[at] == '{' ? pattern.find('}', at) : std::string::npos;
      if (end == std::string::npos) {
        expression += escaped(pattern[at]);
      } else {
        expression += addField(pattern.substr(at, end + 1 - at));
        at = end;
      }
    }
    if (has(&MaskFileName::frame) == has(&MaskFileName::image)) {
      throw UserError("has to have either {frame} or {image}");
    }
    regex_ = std::regex(expression);
  } catch (const UserError& error) {
    throw UserError("--pattern: '" + pattern + "' " + error.what());
  }
}

/// The regular expression of a field with this name, in braces.
std::string NamePattern::addField(const std::string& name) {
  static const std::pair<const char*, Field> kFields[] = {{"{frame}", &MaskFileName::frame},
                                                          {"{image}", &MaskFileName::image},
                                                          {"{instance}", &MaskFileName::instance},
                                                          {"{category}", &MaskFileName::category}};
  for (const auto& [known, field] : kFields) {
    if (name != known) continue;
    if (has(field)) throw UserError("has " + name + " twice");
    fields_.push_back(field);
    return field == &MaskFileName::frame || field == &MaskFileName::instance ? kNumber : kText;
  }
  throw UserError("has " + name + ", and there are only {frame}, {image}, {instance} and {category}");
}

bool NamePattern::has(Field field) const {
  return std::find(fields_.begin(), fields_.end(), field) != fields_.end();
}

std::optional<MaskFileName> NamePattern::match(const std::string& name) const {
  std::smatch groups;
  if (!std::regex_match(name, groups, regex_)) return std::nullopt;
  MaskFileName fields;
  for (std::size_t i = 0; i < fields_.size(); ++i) fields.*fields_[i] = groups[i + 1].str();
  return fields;
}

}  // namespace segmask
