#pragma once

#include "core/SwAny.h"
#include "core/SwList.h"

/// What stands in the registries of a process in which nobody has registered anything.
namespace registry_facts {

constexpr const char* kMarker = "********************CALL ONCE NOT TWICE********************\n";

inline SwAny::ConversionRules conversionRules() {
  const std::string strings = SwAny::typeNameOf<std::vector<std::string>>();
  const std::string byteList = SwAny::typeNameOf<SwList<unsigned char>>();
  const std::string bytes = SwAny::typeNameOf<std::vector<unsigned char>>();
  const std::string standardString = SwAny::typeNameOf<std::string>();
  SwAny::ConversionRules rules;
  rules["8SwString"] = {"PKc", "i", "j", "l", "m", "f", "d", "b", strings, byteList, bytes, standardString};
  for (const char* source : {"i", "j", "l", "m", "f", "d", "b", "PKc", "11SwJsonValue", "12SwJsonObject",
                             "11SwJsonArray", strings.c_str(), byteList.c_str(), standardString.c_str()}) {
    rules[source] = {"8SwString"};
  }
  return rules;
}

}  // namespace registry_facts
