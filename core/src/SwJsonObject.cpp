#include "core/SwJsonObject.h"

#include <utility>

void SwJsonObject::put(std::string&& key, SwJsonValue&& value) {
  // Keys mostly come in order, as a generator writes them: then one comparison finds the place.
  members_.insert_or_assign(members_.end(), std::move(key), std::move(value));
}

bool SwJsonObject::erase(std::string_view key) noexcept {
  const auto member = members_.find(key);
  if (member == members_.end()) return false;
  members_.erase(member);
  return true;
}

SwJsonValue SwJsonObject::value(const char* key, const SwJsonValue& defaultValue) const {
  const SwJsonValue* member = find(key);
  return member ? *member : defaultValue;
}

const SwJsonValue& SwJsonObject::operator[](const char* key) const& {
  // Never destroyed, because an object may be read while the process is already taking its statics down.
  static const SwJsonValue& null = *new SwJsonValue();
  const SwJsonValue* member = find(key);
  return member ? *member : null;
}

SwJsonValue SwJsonObject::operator[](const char* key) && {
  SwJsonValue* member = find(key);
  return member ? std::move(*member) : SwJsonValue();
}

const SwJsonValue* SwJsonObject::lookUp(std::string_view key) const noexcept {
  const auto member = members_.find(key);
  return member != members_.end() ? &member->second : nullptr;
}
