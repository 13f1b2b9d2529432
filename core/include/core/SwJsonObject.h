#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "core/SwJsonMemberStore.h"
#include "core/SwJsonValue.h"
#include "core/export.h"

/// The members of a JSON object: a map whose keys stand in byte-wise ascending order, each once. Keys are
/// byte strings and may hold NUL bytes, except where a function takes a `const char*`; a null one is the
/// empty key.
///
/// Copies are deep. Pointers, references and iterators to a member stay valid until that member is removed or
/// overwritten. What copies or inserts throws std::bad_alloc; looking a key up allocates nothing. Threads: as
/// for SwJsonValue. The place of a removed member serves another one; memory is given back with the object.
class SW_CORE_EXPORT SwJsonObject {
  /// The order of std::less. Most keys differ in their first byte, which is cheaper to compare here.
  struct KeyOrder {
    using is_transparent = void;
    bool operator()(const std::string& a, const std::string& b) const noexcept {
      return compare(*a.c_str(), *b.c_str(), a, b);
    }
    bool operator()(std::string_view a, std::string_view b) const noexcept {
      return compare(a.empty() ? '\0' : a.front(), b.empty() ? '\0' : b.front(), a, b);
    }

   private:
    template <typename Text>
    static bool compare(char firstOfA, char firstOfB, const Text& a, const Text& b) noexcept {
      const auto first = static_cast<unsigned char>(firstOfA);
      const auto second = static_cast<unsigned char>(firstOfB);
      return first != second ? first < second : a < b;
    }
  };
  using Member = std::pair<const std::string, SwJsonValue>;
  using Members = std::map<std::string, SwJsonValue, KeyOrder, SwJsonMemberAllocator<Member>>;

 public:
  using const_iterator = Members::const_iterator;

  SwJsonObject() = default;
  SwJsonObject(const SwJsonObject& other);
  SwJsonObject(SwJsonObject&&) noexcept = default;

  /// `other` may come from inside this container.
  SwJsonObject& operator=(SwJsonObject other) noexcept {
    store_.swap(other.store_);
    members_.swap(other.members_);
    return *this;
  }

  bool empty() const noexcept { return members_.empty(); }
  std::size_t size() const noexcept { return members_.size(); }
  bool contains(const std::string& key) const noexcept { return lookUp(key) != nullptr; }
  bool contains(const char* key) const noexcept { return find(key) != nullptr; }

  /// Takes the value over as a new member, or as the new value of the one that is there.
  void insert(std::string key, SwJsonValue value) { slot(std::move(key)) = std::move(value); }
  void insert(const char* key, SwJsonValue value) { slot(viewOf(key)) = std::move(value); }

  /// False if there is no such member.
  bool remove(const std::string& key) noexcept { return erase(key); }
  bool remove(const char* key) noexcept { return erase(viewOf(key)); }

  /// A copy of the member's value, or of `defaultValue` if there is no such member.
  SwJsonValue value(const char* key, const SwJsonValue& defaultValue) const;

  /// The member's value, without a copy; if there is none, a Null that all objects share. Of a temporary
  /// object, the value itself, moved out, or a Null.
  const SwJsonValue& operator[](const char* key) const&;
  SwJsonValue operator[](const char* key) &&;

  /// The member's value, owned by this object; null if there is no such member.
  const SwJsonValue* find(const std::string& key) const noexcept { return lookUp(key); }
  const SwJsonValue* find(const char* key) const noexcept { return lookUp(viewOf(key)); }
  SwJsonValue* find(const std::string& key) noexcept { return lookUp(key); }
  SwJsonValue* find(const char* key) noexcept { return lookUp(viewOf(key)); }

  /// The members as pairs of key (first) and value (second), in key order.
  const_iterator begin() const noexcept { return members_.begin(); }
  const_iterator end() const noexcept { return members_.end(); }

  friend bool operator==(const SwJsonObject& a, const SwJsonObject& b) { return a.members_ == b.members_; }
  friend bool operator!=(const SwJsonObject& a, const SwJsonObject& b) { return !(a == b); }

 private:
  friend class SwJsonParser;
  friend class SwJsonTree;

  static std::string_view viewOf(const char* key) noexcept {
    return key ? std::string_view(key) : std::string_view();
  }
  const SwJsonValue* lookUp(std::string_view key) const noexcept;
  SwJsonValue* lookUp(std::string_view key) noexcept {
    return const_cast<SwJsonValue*>(std::as_const(*this).lookUp(key));
  }
  bool erase(std::string_view key) noexcept;

  /// The value of a new member, Null, or of the one that is there, made Null. For the object's first
  /// member, `expected` says how many it will probably get.
  SwJsonValue& slot(std::string_view key, std::size_t expected = 1);
  SwJsonValue& slot(std::string&& key);
  template <typename Key>
  SwJsonValue& findOrAdd(Key&& key, std::size_t expected);

  /// Where the members stand; none before the first one. It goes where they go and dies after them.
  SwJsonMemberStore::Handle store_;
  Members members_;
};
