#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

#include "core/SwAny.h"
#include "core/SwFlagSet.h"
#include "core/SwJsonDocument.h"
#include "core/SwList.h"
#include "core/diagnostics.h"
#include "core/flags.h"

namespace {

/// Holds a registry and never destroys it: the values it serves may outlive every static of the process. It
/// is no heap object, because moving and destroying values look into registries and must not need memory for
/// that.
template <typename Registry>
class Immortal {
 public:
  Immortal() noexcept : registry_(*::new (static_cast<void*>(storage_)) Registry()) {
    static_assert(std::is_nothrow_default_constructible_v<Registry>);
  }
  Registry& get() noexcept { return registry_; }

 private:
  alignas(Registry) unsigned char storage_[sizeof(Registry)];
  Registry& registry_;
};

}  // namespace

std::map<std::string, SwAny::MoveFunction>& SwAny::_dynamicMoveFrom() {
  static Immortal<std::map<std::string, MoveFunction>> registry;
  return registry.get();
}

std::map<std::string, SwAny::ClearFunction>& SwAny::_dynamicClear() {
  static Immortal<std::map<std::string, ClearFunction>> registry;
  return registry.get();
}

std::map<std::string, SwAny::CopyFunction>& SwAny::_dynamicCopyFrom() {
  static Immortal<std::map<std::string, CopyFunction>> registry;
  return registry.get();
}

std::map<std::string, SwAny::DataFunction>& SwAny::_dynamicData() {
  static Immortal<std::map<std::string, DataFunction>> registry;
  return registry.get();
}

std::map<std::string, SwAny::FromVoidPtrFunction>& SwAny::_dynamicFromVoidPtr() {
  static Immortal<std::map<std::string, FromVoidPtrFunction>> registry;
  return registry.get();
}

SwAny::ConversionRules& SwAny::conversionRules() {
  static Immortal<ConversionRules> registry;
  return registry.get();
}

std::map<std::pair<std::string, std::string>, SwAny::Converter>& SwAny::converters() {
  static Immortal<std::map<std::pair<std::string, std::string>, Converter>> registry;
  return registry.get();
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
  ConversionRules& rules = conversionRules();
  auto rule = rules.find(sourceTypeName);

  // Whatever needs memory comes before the rules change, so that one is listed only if it has its converter.
  std::string name = targetTypeName;
  ConversionRules fresh;
  std::vector<std::string>& growing = rule == rules.end() ? fresh[sourceTypeName] : rule->second;
  growing.reserve(growing.size() + 1);
  converters()[{sourceTypeName, targetTypeName}] = std::move(converter);

  if (rule == rules.end()) rule = rules.insert(fresh.extract(fresh.begin())).position;
  std::vector<std::string>& targets = rule->second;
  if (std::find(targets.begin(), targets.end(), name) == targets.end()) targets.push_back(std::move(name));
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

/// Nothing from here on may consult a registry through the operations that fill it: the statics above are
/// still being initialised, and waiting for them would never end.
///
/// If memory runs out here, the exception leaves those statics uninitialised and the next operation comes
/// here again. Entering something a second time changes nothing.
void SwAny::registerAllType() {
  // A second such line in a host's log means that the process holds two copies of this library; so a second
  // attempt writes none.
  static const bool announced = [] {
    sw_diagnostics::writeLine("********************CALL ONCE NOT TWICE********************");
    return true;
  }();
  static_cast<void>(announced);
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
