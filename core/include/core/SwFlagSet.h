#pragma once

#include <initializer_list>
#include <type_traits>

/// A set of flags of the enumeration `Flag`, whose enumerators are distinct bits of an unsigned underlying
/// type (an enumerator of several bits stands for all of them). A plain value without ownership; no operation
/// throws.
template <typename Flag>
class SwFlagSet {
 public:
  using Bits = std::underlying_type_t<Flag>;
  static_assert(std::is_unsigned_v<Bits>);

  SwFlagSet() = default;
  SwFlagSet(std::initializer_list<Flag> flags) {
    for (const Flag flag : flags) set(flag);
  }

  bool isEmpty() const noexcept { return bits_ == 0; }
  bool empty() const noexcept { return isEmpty(); }
  Bits bits() const noexcept { return bits_; }

  /// True if all bits of `flag` are in the set.
  bool contains(Flag flag) const noexcept { return (bits_ & bitsOf(flag)) == bitsOf(flag); }

  void set(Flag flag) noexcept { bits_ = static_cast<Bits>(bits_ | bitsOf(flag)); }
  void reset(Flag flag) noexcept { bits_ = static_cast<Bits>(bits_ & ~bitsOf(flag)); }

  friend bool operator==(SwFlagSet a, SwFlagSet b) noexcept { return a.bits_ == b.bits_; }
  friend bool operator!=(SwFlagSet a, SwFlagSet b) noexcept { return a.bits_ != b.bits_; }

 private:
  static Bits bitsOf(Flag flag) noexcept { return static_cast<Bits>(flag); }

  Bits bits_ = 0;
};
