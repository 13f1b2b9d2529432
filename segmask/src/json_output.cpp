#include "src/json_output.h"

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

}  // namespace segmask
