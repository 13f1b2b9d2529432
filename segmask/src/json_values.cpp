#include "src/json_values.h"

#include "core/SwJsonDocument.h"

namespace segmask {
namespace {

std::string jsonText(const SwJsonValue& value, bool isIndented) {
  SwString text;
  SwJsonDocument().generateJson(value, text, isIndented, 0, {});
  return text.str();
}

}  // namespace

std::string jsonLine(const SwJsonValue& value) {
  return jsonText(value, false);
}

std::string jsonPage(const SwJsonValue& value) {
  return jsonText(value, true);
}

uint64_t countIn(const SwJsonObject& object, const char* name) {
  return static_cast<uint64_t>(object[name].integer());
}

}  // namespace segmask
