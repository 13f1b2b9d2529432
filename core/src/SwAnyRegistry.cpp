#include <algorithm>
#include <utility>

#include "core/SwAny.h"
#include "core/SwFlagSet.h"
#include "core/SwJsonDocument.h"
#include "core/SwList.h"
#include "core/flags.h"
#include "diagnostics.h"

namespace {

// A registry is never destroyed: the values it serves may outlive every static of the process.
template <typename Registry>
Registry& immortal() {
  return *new Registry();
}

}  // namespace

std::map<std::string, SwAny::MoveFunction>& SwAny::_dynamicMoveFrom() {
  static auto& registry = immortal<std::map<std::string, MoveFunction>>();
  return registry;
}

std::map<std::string, SwAny::ClearFunction>& SwAny::_dynamicClear() {
  static auto& registry = immortal<std::map<std::string, ClearFunction>>();
  return registry;
}

std::map<std::string, SwAny::CopyFunction>& SwAny::_dynamicCopyFrom() {
  static auto& registry = immortal<std::map<std::string, CopyFunction>>();
  return registry;
}

std::map<std::string, SwAny::DataFunction>& SwAny::_dynamicData() {
  static auto& registry = immortal<std::map<std::string, DataFunction>>();
  return registry;
}

std::map<std::string, SwAny::FromVoidPtrFunction>& SwAny::_dynamicFromVoidPtr() {
  static auto& registry = immortal<std::map<std::string, FromVoidPtrFunction>>();
  return registry;
}

SwAny::ConversionRules& SwAny::conversionRules() {
  static auto& registry = immortal<ConversionRules>();
  return registry;
}

std::map<std::pair<std::string, std::string>, SwAny::Converter>& SwAny::converters() {
  static auto& registry = immortal<std::map<std::pair<std::string, std::string>, Converter>>();
  return registry;
}

const SwAny::ConversionRules& SwAny::getConversionRules() {
  ensureRegistryInitialized();
  return conversionRules();
}

bool SwAny::isMetaType(const std::string& typeName) {
  if (typeName.empty()) return false;
  ensureRegistryInitialized();
  return _dynamicData().count(typeName) != 0;
}

void SwAny::registerConverter(const std::string& sourceTypeName, const std::string& targetTypeName,
                              Converter converter) {
  ensureRegistryInitialized();
  enterConverter(sourceTypeName, targetTypeName, std::move(converter));
}

void SwAny::enterConverter(const std::string& sourceTypeName, const std::string& targetTypeName,
                           Converter converter) {
  std::vector<std::string>& targets = conversionRules()[sourceTypeName];
  if (std::find(targets.begin(), targets.end(), targetTypeName) == targets.end())
    targets.push_back(targetTypeName);
  converters()[{sourceTypeName, targetTypeName}] = std::move(converter);
}

void SwAny::ensureRegistryInitialized() {
  static const bool initialized = registerAllTypeOnce();
  static_cast<void>(initialized);
}

bool SwAny::registerAllTypeOnce() {
  static const bool registered = [] {
    registerAllType();
    return true;
  }();
  return registered;
}

// Nothing from here on may consult a registry through the operations that fill it: the statics above are
// still being initialised, and waiting for them would never end.
void SwAny::registerAllType() {
  // A second such line in a host's log means that the process holds two copies of this library.
  writeDiagnostic("********************CALL ONCE NOT TWICE********************");
  registerMetaTypes();
  registerScalarConversions();
  registerListConversions();
  registerJsonConversions();
  registerByteConversions();
}

void SwAny::registerMetaTypes() {
  enterMetaType<SwString>();
  enterMetaType<SwJsonValue>();
  enterMetaType<SwJsonObject>();
  enterMetaType<SwJsonArray>();
  enterMetaType<SwJsonDocument>();
  enterMetaType<std::vector<std::string>>();
  enterMetaType<SwList<unsigned char>>();
  enterMetaType<SwFlagSet<DrawTextFormat>>();
  enterMetaType<SwFlagSet<WindowFlag>>();
  enterMetaType<SwFlagSet<EntryType>>();
}
