#include "core/SwAny.h"
#include "tests/modules/registry_module.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

MODULE_EXPORT void registerReading() {
  SwAny::registerMetaType<Reading>();
  SwAny::registerConversion<int, Reading>([](int value) { return Reading{"door", value}; });
  SwAny::registerConversion<Reading, SwString>(
      [](const Reading& reading) { return SwString(reading.sensor + "=" + std::to_string(reading.value)); });
}

MODULE_EXPORT const void* rulesSeen() {
  return &SwAny::getConversionRules();
}
