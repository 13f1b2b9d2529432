#include "host/config_hints.h"

#include <optional>

#include "core/SwJsonDocument.h"
#include "host/nearest_name.h"
#include "render_base/settings.h"

namespace segmask {
namespace {

/// The key that was probably meant; empty when there is none.
std::string nearestKey(const std::string& key, const SwJsonObject& properties) {
  std::vector<std::string> names;
  for (const auto& [name, rules] : properties) names.push_back(name);
  return nearestName(key, names);
}

std::string jsonText(const SwJsonValue& value) {
  SwString text;
  SwJsonDocument().generateJson(value, text, false, 0, {});
  return text.str();
}

std::optional<double> numberOf(const SwJsonValue& value) {
  if (value.isInt()) return static_cast<double>(value.integer());
  if (value.isDouble()) return value.number();
  return std::nullopt;
}

bool hasType(const SwJsonValue& value, const std::string& type) {
  if (type == "number") return value.isInt() || value.isDouble();
  if (type == "integer") return value.isInt();
  if (type == "boolean") return value.isBool();
  if (type == "string") return value.isString();
  return true;  // the other types of a schema are not checked
}

/// What is wrong with the value by its property's rules; empty when nothing is.
std::string faultOf(const SwJsonValue& value, const SwJsonObject& rules) {
  const std::string type = rules["type"].text();
  if (!hasType(value, type)) return "has to be of type " + type;
  const std::optional<double> number = numberOf(value);
  const std::optional<double> minimum = numberOf(rules["minimum"]);
  const std::optional<double> maximum = numberOf(rules["maximum"]);
  if (number && minimum && *number < *minimum) return "is below its minimum, " + jsonText(rules["minimum"]);
  if (number && maximum && *number > *maximum) return "is above its maximum, " + jsonText(rules["maximum"]);
  return {};
}

}  // namespace

std::vector<std::string> configWarnings(const std::string& config, const std::string& schema) {
  const std::optional<SwJsonObject> given = render_base::parseConfiguration(config);
  const std::optional<SwJsonObject> document = render_base::parseConfiguration(schema);
  const SwJsonObject* const properties = document ? (*document)["properties"].object() : nullptr;
  std::vector<std::string> warnings;
  if (!given || !properties) return warnings;
  for (const auto& [key, value] : *given) {
    const SwJsonValue* const rules = properties->find(key);
    if (!rules) {
      const std::string nearest = nearestKey(key, *properties);
      std::string& warning = warnings.emplace_back("the plug-in has no \"" + key + "\"");
      if (!nearest.empty()) warning.append("; did you mean \"").append(nearest).append("\"?");
    } else if (rules->object()) {
      const std::string fault = faultOf(value, *rules->object());
      if (!fault.empty()) warnings.emplace_back("\"").append(key).append("\" ").append(fault);
    }
  }
  return warnings;
}

}  // namespace segmask
