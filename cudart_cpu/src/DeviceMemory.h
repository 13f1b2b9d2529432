#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

#include "cudart_cpu/control.h"

namespace cudart_cpu {

/// The device's memory: host memory in a table, so that every address can be told to be the device's or not.
/// Any thread may call it.
class DeviceMemory {
 public:
  /// `bytes` > 0 of junk, aligned to 256 bytes; null when the device or the host has no more.
  void* allocate(std::size_t bytes);

  /// Frees what allocate gave. False when `memory` is not the start of a live allocation. `freedBytes`
  /// receives its size.
  bool free(void* memory, std::size_t& freedBytes);

  /// Whether all `bytes` from `address` lie in one live allocation.
  bool holds(const void* address, std::size_t bytes) const;

  /// Whether `address` is in no live allocation.
  bool isHost(const void* address) const;

  LiveAllocations live() const;

 private:
  using Table = std::map<std::uintptr_t, std::size_t>;

  /// The allocation that `address` is in; end() when there is none. The mutex is held.
  Table::const_iterator find(const void* address) const;

  mutable std::mutex mutex_;
  Table sizes_;
  std::size_t liveBytes_ = 0;
};

}  // namespace cudart_cpu
