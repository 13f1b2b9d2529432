#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

#include "cudart_cpu/control.h"

namespace cudart_cpu {

/// Memory of one kind, the device's or page-locked: host memory whose allocations are in a table, which tells
/// for any address whether it is memory of that kind. Any thread may call it.
class MemoryTable {
 public:
  /// Allocates `bytes` > 0 bytes of junk, aligned to 256 bytes. Null when more than 16 GiB would be live or
  /// the host has no more memory.
  void* allocate(std::size_t bytes);

  /// Frees what allocate gave. False when `memory` is not the start of a live allocation. `freedBytes`
  /// receives its size.
  bool free(void* memory, std::size_t& freedBytes);

  /// Whether all `bytes` from `address` lie in one live allocation.
  bool holds(const void* address, std::size_t bytes) const;

  /// Whether `address` is in a live allocation.
  bool contains(const void* address) const;

  LiveAllocations live() const;

 private:
  using Sizes = std::map<uintptr_t, std::size_t>;

  /// The allocation that contains `address`; end() when there is none. Called with the mutex held.
  Sizes::const_iterator find(const void* address) const;

  mutable std::mutex mutex_;
  Sizes sizes_;
  std::size_t liveBytes_ = 0;
};

}  // namespace cudart_cpu
