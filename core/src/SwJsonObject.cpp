#include "core/SwJsonObject.h"

#include <utility>

namespace {

const char* keyOrEmpty(const char* key) {
  return key == nullptr ? "" : key;
}

}  // namespace

void SwJsonObject::put(std::string&& key, SwJsonValue&& value) {
  // Keys mostly come in order, as a generator writes them: then one comparison finds the place.
  members_.insert_or_assign(members_.end(), std::move(key), std::move(value));
}

SwJsonValue SwJsonObject::value(const char* key, const SwJsonValue& defaultValue) const {
  const SwJsonValue* member = find(keyOrEmpty(key));
  return member != nullptr ? *member : defaultValue;
}

const SwJsonValue& SwJsonObject::operator[](const char* key) const {
  // Never destroyed, because an object may be read while the process is already taking its statics down.
  static const SwJsonValue& null = *new SwJsonValue();
  const SwJsonValue* member = find(keyOrEmpty(key));
  return member != nullptr ? *member : null;
}

const SwJsonValue* SwJsonObject::find(const std::string& key) const {
  const auto member = members_.find(key);
  return member != members_.end() ? &member->second : nullptr;
}

SwJsonValue* SwJsonObject::find(const std::string& key) {
  const auto member = members_.find(key);
  return member != members_.end() ? &member->second : nullptr;
}
