#pragma once

#include <cstddef>

#include "core/SwJsonValue.h"

/// The walks over a whole tree of values. Each uses a fixed amount of stack however deep the tree is.
class SwJsonTree {
 public:
  /// Makes `to`, a Null, a deep copy of `from`. On an exception `to` is left with part of the copy.
  static void copy(const SwJsonValue& from, SwJsonValue& to);

  static bool equal(const SwJsonValue& a, const SwJsonValue& b);

  /// Destroys the containers of `value` and everything below them. Allocates nothing.
  static void release(SwJsonValue& value) noexcept;

 private:
  static void copyFields(const SwJsonValue& from, SwJsonValue& to);
  static bool equalFields(const SwJsonValue& a, const SwJsonValue& b);
  static std::size_t memberCount(const SwJsonValue& value) noexcept;
  static SwJsonValue& firstSlot(SwJsonValue& value) noexcept;
  static SwJsonValue takeLast(SwJsonValue& value) noexcept;
  static void enchain(SwJsonValue& chain, SwJsonValue& value) noexcept;
};
