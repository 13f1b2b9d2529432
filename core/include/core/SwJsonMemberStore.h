#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

#include "core/export.h"

/// Memory for the members of one SwJsonObject; for the library alone. It comes in blocks for several members,
/// is used again for a member that follows a removed one, and is given back as a whole.
class SW_CORE_EXPORT SwJsonMemberStore {
 public:
  /// Enough for a map's node with a string and a value, and what such a node must be aligned to.
  static constexpr std::size_t kSlotSize = 152;
  static constexpr std::size_t kAlignment = alignof(void*);

  struct Deleter {
    void operator()(SwJsonMemberStore* store) const noexcept;
  };
  using Handle = std::unique_ptr<SwJsonMemberStore, Deleter>;

  /// A store whose first block is for `slots` members, at least one. Throws std::bad_alloc.
  static Handle create(std::size_t slots);

  /// Room for one member. Throws std::bad_alloc.
  void* take() {
    if (free_) {
      Slot* const slot = free_;
      free_ = slot->nextFree;
      return slot;
    }
    if (unused_ == end_) addBlock();
    return unused_++;
  }

  /// `slot` is from take().
  void giveBack(void* slot) noexcept {
    auto* const freed = new (slot) Slot;
    freed->nextFree = free_;
    free_ = freed;
  }

 private:
  union Slot {
    Slot* nextFree;
    std::byte member[kSlotSize];
  };
  /// What stands before the slots of each block but the first, before which the store itself stands.
  struct Block {
    Block* next;
  };

  SwJsonMemberStore(Slot* slots, std::size_t count) noexcept
      : unused_(slots), end_(slots + count), count_(count) {}
  void addBlock();

  Slot* free_ = nullptr;
  Slot* unused_;
  Slot* end_;
  Block* laterBlocks_ = nullptr;
  std::size_t count_;  ///< of slots in all blocks
};

/// Lets a map take its nodes from a store, which must outlive them. A map without a store must stay empty.
template <typename T>
class SwJsonMemberAllocator {
 public:
  using value_type = T;
  using is_always_equal = std::false_type;
  using propagate_on_container_move_assignment = std::true_type;
  using propagate_on_container_swap = std::true_type;

  SwJsonMemberAllocator() noexcept = default;
  explicit SwJsonMemberAllocator(SwJsonMemberStore* store) noexcept : store_(store) {}
  template <typename Other>
  SwJsonMemberAllocator(const SwJsonMemberAllocator<Other>& other) noexcept : store_(other.store()) {}

  SwJsonMemberStore* store() const noexcept { return store_; }

  /// A map asks for one node at a time.
  T* allocate(std::size_t) {
    static_assert(sizeof(T) <= SwJsonMemberStore::kSlotSize);
    static_assert(alignof(T) <= SwJsonMemberStore::kAlignment);
    return static_cast<T*>(store_->take());
  }
  void deallocate(T* node, std::size_t) noexcept { store_->giveBack(node); }

  template <typename Other>
  friend bool operator==(const SwJsonMemberAllocator& a, const SwJsonMemberAllocator<Other>& b) noexcept {
    return a.store() == b.store();
  }
  template <typename Other>
  friend bool operator!=(const SwJsonMemberAllocator& a, const SwJsonMemberAllocator<Other>& b) noexcept {
    return !(a == b);
  }

 private:
  SwJsonMemberStore* store_ = nullptr;
};
