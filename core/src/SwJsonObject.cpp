#include "core/SwJsonObject.h"

#include <tuple>
#include <utility>

template <typename Key>
SwJsonValue& SwJsonObject::findOrAdd(Key&& key) {
  // Keys mostly come in order, as a generator writes them: then one comparison finds the place.
  auto place = members_.end();
  if (!members_.empty() && !members_.key_comp()(members_.rbegin()->first, key)) {
    place = members_.lower_bound(key);
    if (place != members_.end() && place->first == key) return place->second = SwJsonValue();
  }
  return members_
      .emplace_hint(place, std::piecewise_construct, std::forward_as_tuple(std::forward<Key>(key)),
                    std::tuple())
      ->second;
}

SwJsonValue& SwJsonObject::slot(std::string_view key) {
  return findOrAdd(key);
}
SwJsonValue& SwJsonObject::slot(std::string&& key) {
  return findOrAdd(std::move(key));
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
