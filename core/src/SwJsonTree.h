#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/SwJsonValue.h"

/// The walks over a whole tree of values. Each uses a fixed amount of stack however deep the tree is.
class SwJsonTree {
 public:
  /// Gives `to`, which has none, a deep copy of the container of `from`. On an exception `to` is left with
  /// part of it.
  static void copyContainer(const SwJsonValue& from, SwJsonValue& to);

  static bool equal(const SwJsonValue& a, const SwJsonValue& b);

  /// Destroys the containers of `value`, which has one, and everything below them. Allocates nothing.
  static void release(SwJsonValue& value) noexcept;

  /// Overwrites the text of `value` and all texts below it (keys are none), and destroys its containers.
  /// Allocates nothing.
  static void wipe(SwJsonValue& value) noexcept;

  /// Makes room for one more element of `array`. Unlike what append does by itself, it leaves nothing of the
  /// elements' texts in the memory that it gives back.
  static void makeRoomAndWipe(SwJsonArray& array);

 private:
  /// What a value holds its members by: one of the two, or none.
  struct Container {
    std::shared_ptr<SwJsonObject> object;
    std::shared_ptr<SwJsonArray> array;
  };

  /// A value whose fields are copied already, and its copy, which still lacks the container.
  struct Copying {
    const SwJsonValue* from;
    SwJsonValue* to;
  };

  static std::shared_ptr<SwJsonObject> copyOf(const SwJsonObject& object, std::vector<Copying>& pending);
  static std::shared_ptr<SwJsonArray> copyOf(const SwJsonArray& array, std::vector<Copying>& pending);
  static bool equalFields(const SwJsonValue& a, const SwJsonValue& b);
  static std::size_t memberCount(const SwJsonValue& value) noexcept;
  static Container takeContainer(SwJsonValue& value) noexcept;
  static SwJsonValue* firstSlot(const Container& container) noexcept;
  static void enchain(Container& chain, Container container) noexcept;
  template <typename Visit>
  static void visitSlots(const Container& container, Visit visit) noexcept;
  template <typename Visit>
  static void destroy(Container container, Visit beforeDestroying) noexcept;
};
