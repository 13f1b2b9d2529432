#pragma once

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
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

  /// What a list of members is made of. A template takes no braces for the value, whose kind would be a
  /// guess. Key and value are moved out of the list.
  struct InitialMember {
    template <typename T, std::enable_if_t<std::is_convertible_v<T, SwJsonValue>, int> = 0>
    InitialMember(SwString name, T&& initial) : key(std::move(name).str()), value(std::forward<T>(initial)) {}

    mutable std::string key;
    mutable SwJsonValue value;
  };

 public:
  using iterator = Members::iterator;
  using const_iterator = Members::const_iterator;

  SwJsonObject() = default;

  /// `SwJsonObject{{"a", 1}, {"b", SwJsonArray{2, 3}}}` has two members: as if they were inserted one after
  /// the other, so of equal keys the last one counts.
  SwJsonObject(std::initializer_list<InitialMember> members);

  SwJsonObject(const SwJsonObject& other);
  SwJsonObject(SwJsonObject&&) noexcept = default;

  /// `other` may come from inside this container.
  SwJsonObject& operator=(SwJsonObject other) noexcept {
    store_.swap(other.store_);
    members_.swap(other.members_);
    return *this;
  }

  bool empty() const noexcept { return members_.empty(); }
  bool isEmpty() const noexcept { return empty(); }
  std::size_t size() const noexcept { return members_.size(); }
  bool contains(const std::string& key) const noexcept { return lookUp(key) != nullptr; }
  bool contains(const char* key) const noexcept { return find(key) != nullptr; }

  /// Takes the value over as a new member, or as the new value of the one that is there.
  void insert(std::string key, SwJsonValue value) { slot(std::move(key)) = std::move(value); }
  void insert(const char* key, SwJsonValue value) { slot(viewOf(key)) = std::move(value); }

  /// False if there is no such member.
  bool remove(const std::string& key) noexcept { return erase(key); }
  bool remove(const char* key) noexcept { return erase(viewOf(key)); }

  /// Removes all members. Their room is kept for new ones.
  void clear() noexcept { members_.clear(); }

  /// A copy of the member's value, or of `defaultValue` if there is no such member.
  SwJsonValue value(const std::string& key, const SwJsonValue& defaultValue) const;
  SwJsonValue value(const char* key, const SwJsonValue& defaultValue) const;

  /// The member's value, without a copy; if there is none, a Null that all objects share. Of a temporary
  /// object, the value itself, moved out, or a Null.
  const SwJsonValue& operator[](const std::string& key) const&;
  const SwJsonValue& operator[](const char* key) const&;
  SwJsonValue operator[](const std::string& key) &&;
  SwJsonValue operator[](const char* key) &&;

  /// The member's value; of a temporary object, the value itself, moved out. Throws std::out_of_range,
  /// "SwJsonObject::at: there is no member 'KEY'", if there is none.
  const SwJsonValue& at(const std::string& key) const& { return require(key); }
  const SwJsonValue& at(const char* key) const& { return require(viewOf(key)); }
  SwJsonValue& at(const std::string& key) & { return require(key); }
  SwJsonValue& at(const char* key) & { return require(viewOf(key)); }
  SwJsonValue at(const std::string& key) && { return std::move(require(key)); }
  SwJsonValue at(const char* key) && { return std::move(require(viewOf(key))); }

  /// The member's value, owned by this object; null if there is no such member.
  const SwJsonValue* find(const std::string& key) const noexcept { return lookUp(key); }
  const SwJsonValue* find(const char* key) const noexcept { return lookUp(viewOf(key)); }
  SwJsonValue* find(const std::string& key) noexcept { return lookUp(key); }
  SwJsonValue* find(const char* key) noexcept { return lookUp(viewOf(key)); }

  /// The members as pairs of key (first) and value (second), in key order.
  const_iterator begin() const noexcept { return members_.begin(); }
  const_iterator end() const noexcept { return members_.end(); }
  iterator begin() noexcept { return members_.begin(); }
  iterator end() noexcept { return members_.end(); }

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
  const SwJsonValue& require(std::string_view key) const;
  SwJsonValue& require(std::string_view key) {
    return const_cast<SwJsonValue&>(std::as_const(*this).require(key));
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
