#include "core/SwAny.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <type_traits>

#include "core/diagnostics.h"
#include "src/c_locale.h"

namespace {

/// What has to be known of a type whose values lie in the storage itself.
struct InlineKind {
  const char* typeName;
  void (*copy)(const void* from, void* to);
  void (*move)(void* from, void* to);
  void (*destroy)(void* value);
};

template <typename T>
InlineKind inlineKind() {
  static_assert(sw_any::isInlineKind<T>());
  return {sw_any::typeName<T>(),
          [](const void* from, void* to) { ::new (to) T(*static_cast<const T*>(from)); },
          [](void* from, void* to) { ::new (to) T(std::move(*static_cast<T*>(from))); },
          [](void* value) { static_cast<T*>(value)->~T(); }};
}

/// The inline kind of this name; null if it is none. Moving and destroying look here, so the table neither
/// needs memory nor is destroyed: values may outlive any static.
const InlineKind* findInlineKind(const std::string& typeName) noexcept {
  using Kinds = std::array<InlineKind, 10>;
  static_assert(std::is_trivially_destructible_v<Kinds>);
  static const Kinds kinds{inlineKind<bool>(),          inlineKind<int>(),
                           inlineKind<long>(),          inlineKind<float>(),
                           inlineKind<double>(),        inlineKind<unsigned int>(),
                           inlineKind<unsigned long>(), inlineKind<const char*>(),
                           inlineKind<std::string>(),   inlineKind<std::vector<unsigned char>>()};
  const auto kind = std::find_if(kinds.begin(), kinds.end(), [&typeName](const InlineKind& candidate) {
    return candidate.typeName == typeName;
  });
  return kind != kinds.end() ? &*kind : nullptr;
}

template <typename Registry>
typename Registry::mapped_type findFunction(const Registry& registry, const std::string& typeName) noexcept {
  const auto entry = registry.find(typeName);
  return entry != registry.end() ? entry->second : nullptr;
}

}  // namespace

SwAny::SwAny(const SwAny& other) : SwAny() {
  std::string name = other.typeName_;
  if (const InlineKind* kind = findInlineKind(name)) {
    kind->copy(other.storage_, storage_);
  } else if (isMetaType(name)) {
    findFunction(_dynamicCopyFrom(), name)(*this, other);
  }
  typeName_ = std::move(name);
}

SwAny::SwAny(SwAny&& other) noexcept {
  moveFrom(other);
}

SwAny& SwAny::operator=(const SwAny& other) {
  SwAny copy(other);
  return *this = std::move(copy);
}

SwAny& SwAny::operator=(SwAny&& other) noexcept {
  SwAny taken(std::move(other));
  clear();
  moveFrom(taken);
  return *this;
}

SwAny::~SwAny() {
  clear();
}

void SwAny::copyFrom(const SwAny& other) {
  *this = other;
}

/// This SwAny must be empty; `other` is afterwards.
///
/// Here and in clear, an empty SwAny must keep away from the registries, which another thread may be filling.
/// A value whose name is of no inline kind can only have been made after they were filled.
void SwAny::moveFrom(SwAny& other) noexcept {
  if (other.isEmpty()) return;
  typeName_.swap(other.typeName_);
  if (const InlineKind* kind = findInlineKind(typeName_)) {
    kind->move(other.storage_, storage_);
    kind->destroy(other.storage_);
    other.setObject(nullptr);
  } else if (const MoveFunction move = findFunction(_dynamicMoveFrom(), typeName_)) {
    move(*this, std::move(other));
  }
}

void SwAny::clear() noexcept {
  if (isEmpty()) return;
  if (const InlineKind* kind = findInlineKind(typeName_)) {
    kind->destroy(storage_);
    setObject(nullptr);
  } else if (const ClearFunction release = findFunction(_dynamicClear(), typeName_)) {
    release(*this);
  }
  typeName_.clear();
}

SwAny SwAny::fromVoidPtr(const std::string& typeName, const void* object) {
  SwAny any;
  if (const InlineKind* kind = findInlineKind(typeName)) {
    if (!object) return any;
    std::string name = typeName;
    kind->copy(object, any.storage_);
    any.typeName_ = std::move(name);
  } else if (isMetaType(typeName)) {
    return findFunction(_dynamicFromVoidPtr(), typeName)(object);
  } else {
    any.typeName_ = typeName;
  }
  return any;
}

void* SwAny::data() const {
  if (findInlineKind(typeName_)) return const_cast<unsigned char*>(storage_);
  return isMetaType(typeName_) ? findFunction(_dynamicData(), typeName_)(*this) : nullptr;
}

SwAny SwAny::convert(const std::string& targetTypeName) const {
  ensureRegistryInitialized();
  if (targetTypeName == typeName_) return *this;

  const auto converter = converters().find({typeName_, targetTypeName});
  if (converter == converters().end()) {
    sw_diagnostics::writeLine("No conversion rule registered from " + typeName_ + " to " + targetTypeName);
    return SwAny();
  }
  return converter->second(*this);
}

std::string SwAny::toString(int precision) const {
  const std::string stringTypeName = typeNameOf<SwString>();
  if (typeName_ == stringTypeName) return get<SwString>();
  if (typeName_ == typeNameOf<double>()) return c_locale::toText(get<double>(), precision);
  if (typeName_ == typeNameOf<float>()) return c_locale::toText(static_cast<double>(get<float>()), precision);

  const ConversionRules& rules = getConversionRules();
  const auto targets = rules.find(typeName_);
  if (targets == rules.end() ||
      std::find(targets->second.begin(), targets->second.end(), stringTypeName) == targets->second.end()) {
    return std::string();
  }
  return convert(stringTypeName).get<SwString>();
}

void* SwAny::object() const noexcept {
  void* object = nullptr;
  std::memcpy(&object, storage_, sizeof(object));
  return object;
}

void SwAny::setObject(void* object) noexcept {
  std::memcpy(storage_, &object, sizeof(object));
}

void SwAny::throwTypeMismatch() {
  throw std::runtime_error("Type mismatch in SwAny::get");
}

void SwAny::throwNullStorage() {
  throw std::runtime_error("Null storage in SwAny::get");
}
