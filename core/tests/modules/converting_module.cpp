#include "core/SwAny.h"
#include "tests/modules/registry_module.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

MODULE_EXPORT void convertReading(int value, std::string& text) {
  const SwAny reading = SwAny(value).convert(SwAny::typeNameOf<Reading>());
  text = reading.isEmpty() ? SwAny(value).convert("8SwString").toString(6) : reading.toString(6);
}

MODULE_EXPORT const void* rulesSeen() {
  return &SwAny::getConversionRules();
}
