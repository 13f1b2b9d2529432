#include "core/SwJsonDocument.h"

#include <utility>

#include "core/diagnostics.h"
#include "src/SwJsonCursor.h"
#include "src/SwJsonGenerator.h"
#include "src/SwJsonParser.h"
#include "src/json_string_reader.h"

// NOLINTNEXTLINE(misc-no-recursion): once, with copies that are not the message
bool SwJsonDocument::loadFromJson(const SwString& json, SwString& errorMessage, const SwString& key) {
  if (&json == &errorMessage || &key == &errorMessage) {
    return loadFromJson(SwString(json), errorMessage, SwString(key));
  }
  errorMessage.clear();
  root_ = SwJsonValue();
  unsigned long index = 0;
  root_ = parseJson(json, index, key, errorMessage);
  if (!errorMessage.empty()) return false;

  SwJsonCursor rest(json, index, errorMessage);
  rest.skipSpace();
  if (!rest.atEnd()) errorMessage = "Unexpected characters at the end of JSON.";
  return rest.atEnd();
}

SwJsonObject SwJsonDocument::object() const {
  if (!root_.isObject()) {
    sw_diagnostics::writeLine("Root is not a JSON object.");
    return SwJsonObject();
  }
  return root_.object() ? *root_.object() : SwJsonObject();
}

SwJsonValue SwJsonDocument::parseJson(const SwString& json, unsigned long& index, const SwString& key,
                                      SwString& errorMessage) const {
  return SwJsonParser(json, index, errorMessage, key).parse();
}

SwString SwJsonDocument::parseString(const SwString& json, unsigned long& index,
                                     SwString& errorMessage) const {
  SwJsonCursor cursor(json, index, errorMessage);
  std::string unescaped;
  return std::string(readJsonString(cursor, unescaped));
}

void SwJsonDocument::reportError(SwString& errorMessage, const SwString& json, unsigned long index,
                                 const std::string& message) const {
  reportJsonError(errorMessage, json, index, message);
}

void SwJsonDocument::generateJson(const SwJsonValue& value, SwString& out, bool indented, int level,
                                  const SwString& key) const {
  using Layout = SwJsonGenerator::Layout;
  SwJsonGenerator generator(indented ? Layout::Indented : Layout::Compact, level, key);
  generator.append(value);
  if (out.empty()) {
    out = generator.takeText();
  } else {
    out.append(generator.takeText());
  }
}
