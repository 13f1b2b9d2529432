#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "core/SwJsonValue.h"
#include "core/export.h"

/// The members of a JSON object: a map whose keys stand in byte-wise ascending order, each once. Keys are
/// byte strings and may hold NUL bytes, except where a function takes a `const char*`.
//
/// Copies are deep. Pointers, references and iterators to a member stay valid until that member is removed or
/// overwritten. What copies or inserts, or makes a string of the key it is given, throws std::bad_alloc.
/// Threads: as for SwJsonValue.
class SW_CORE_EXPORT SwJsonObject {
  /// The order of std::less. Most keys differ in their first byte, which is cheaper to compare here.
  struct KeyOrder {
    bool operator()(const std::string& a, const std::string& b) const noexcept {
      const auto first = static_cast<unsigned char>(*a.c_str());
      const auto second = static_cast<unsigned char>(*b.c_str());
      return first != second ? first < second : a < b;
    }
  };
  using Members = std::map<std::string, SwJsonValue, KeyOrder>;

 public:
  using const_iterator = Members::const_iterator;

  SwJsonObject() = default;
  SwJsonObject(const SwJsonObject&) = default;
  SwJsonObject(SwJsonObject&&) noexcept = default;

  /// `other` may come from inside this container.
  SwJsonObject& operator=(SwJsonObject other) noexcept {
    members_.swap(other.members_);
    return *this;
  }

  bool empty() const noexcept { return members_.empty(); }
  std::size_t size() const noexcept { return members_.size(); }
  bool contains(const std::string& key) const { return members_.count(key) != 0; }

  /// Takes the value over as a new member, or as the new value of the one that is there.
  void insert(std::string key, SwJsonValue value) { put(std::move(key), std::move(value)); }

  /// False if there is no such member.
  bool remove(const std::string& key) { return members_.erase(key) != 0; }

  /// A copy of the member's value, or of `defaultValue` if there is no such member. A null key is the empty
  /// key.
  SwJsonValue value(const char* key, const SwJsonValue& defaultValue) const;

  /// The member's value, without a copy; if there is none, a Null that all objects share. A null key is the
  /// empty key.
  const SwJsonValue& operator[](const char* key) const;

  /// The member's value, owned by this object; null if there is no such member.
  const SwJsonValue* find(const std::string& key) const;
  SwJsonValue* find(const std::string& key);

  /// The members as pairs of key (first) and value (second), in key order.
  const_iterator begin() const noexcept { return members_.begin(); }
  const_iterator end() const noexcept { return members_.end(); }

  friend bool operator==(const SwJsonObject& a, const SwJsonObject& b) { return a.members_ == b.members_; }
  friend bool operator!=(const SwJsonObject& a, const SwJsonObject& b) { return !(a == b); }

 private:
  friend class SwJsonParser;
  friend class SwJsonTree;

  /// What insert does, without its copies.
  void put(std::string&& key, SwJsonValue&& value);

  Members members_;
};
