#include "core/SwJsonObject.h"

#include <stdexcept>
#include <tuple>
#include <utility>

namespace {

const SwJsonValue& valueOrNull(const SwJsonValue* member) {
  // Never destroyed, because an object may be read while the process is already taking its statics down.
  static const SwJsonValue& null = *new SwJsonValue();
  return member ? *member : null;
}

SwJsonValue takenOrNull(SwJsonValue* member) noexcept {
  return member ? std::move(*member) : SwJsonValue();
}

SwJsonValue copyOr(const SwJsonValue& defaultValue, const SwJsonValue* member) {
  return member ? *member : defaultValue;
}

}  // namespace

SwJsonObject::SwJsonObject(const SwJsonObject& other)
    : store_(other.empty() ? nullptr : SwJsonMemberStore::create(other.size())),
      members_(other.members_, Members::allocator_type(store_.get())) {}

SwJsonObject::SwJsonObject(std::initializer_list<InitialMember> members) {
  for (const InitialMember& member : members) {
    findOrAdd(std::move(member.key), members.size()) = std::move(member.value);
  }
}

template <typename Key>
SwJsonValue& SwJsonObject::findOrAdd(Key&& key, std::size_t expected) {
  if (!store_) {
    store_ = SwJsonMemberStore::create(expected);
    members_ = Members(Members::allocator_type(store_.get()));
  }
  const std::size_t before = members_.size();
  // Keys mostly come in order, as a generator writes them: then one comparison finds the place.
  const auto member = members_.emplace_hint(members_.end(), std::piecewise_construct,
                                            std::forward_as_tuple(std::forward<Key>(key)), std::tuple());
  if (members_.size() == before) member->second = SwJsonValue();
  return member->second;
}

SwJsonValue& SwJsonObject::slot(std::string_view key, std::size_t expected) {
  return findOrAdd(key, expected);
}

SwJsonValue& SwJsonObject::slot(std::string&& key) {
  return findOrAdd(std::move(key), 1);
}

bool SwJsonObject::erase(std::string_view key) noexcept {
  const auto member = members_.find(key);
  if (member == members_.end()) return false;
  members_.erase(member);
  return true;
}

SwJsonValue SwJsonObject::value(const std::string& key, const SwJsonValue& defaultValue) const {
  return copyOr(defaultValue, find(key));
}

SwJsonValue SwJsonObject::value(const char* key, const SwJsonValue& defaultValue) const {
  return copyOr(defaultValue, find(key));
}

const SwJsonValue& SwJsonObject::operator[](const std::string& key) const& {
  return valueOrNull(find(key));
}

const SwJsonValue& SwJsonObject::operator[](const char* key) const& {
  return valueOrNull(find(key));
}

SwJsonValue SwJsonObject::operator[](const std::string& key) && {
  return takenOrNull(find(key));
}

SwJsonValue SwJsonObject::operator[](const char* key) && {
  return takenOrNull(find(key));
}

const SwJsonValue& SwJsonObject::require(std::string_view key) const {
  if (const SwJsonValue* member = lookUp(key)) return *member;
  throw std::out_of_range("SwJsonObject::at: there is no member '" + std::string(key) + "'");
}

const SwJsonValue* SwJsonObject::lookUp(std::string_view key) const noexcept {
  const auto member = members_.find(key);
  return member != members_.end() ? &member->second : nullptr;
}
