#include "src/MemoryTable.h"

#include <cstdlib>
#include <cstring>
#include <iterator>

namespace cudart_cpu {
namespace {

constexpr std::size_t kLimit = std::size_t{16} << 30;
constexpr std::size_t kAlignment = 256;

/// Fills fresh memory. Neither black nor white nor zero, so that reading memory before writing it shows in a
/// picture.
constexpr int kJunk = 0xCD;

}  // namespace

void* MemoryTable::allocate(std::size_t bytes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (bytes > kLimit - liveBytes_) return nullptr;
  void* memory = nullptr;
  // Not aligned_alloc: it needs the size rounded up to the alignment, and the address sanitizer would then
  // miss accesses just past the end.
  if (::posix_memalign(&memory, kAlignment, bytes) != 0) return nullptr;
  try {
    sizes_.emplace(reinterpret_cast<uintptr_t>(memory), bytes);
  } catch (...) {
    std::free(memory);
    throw;
  }
  liveBytes_ += bytes;
  std::memset(memory, kJunk, bytes);
  return memory;
}

bool MemoryTable::free(void* memory, std::size_t& freedBytes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = sizes_.find(reinterpret_cast<uintptr_t>(memory));
  if (found == sizes_.end()) return false;
  freedBytes = found->second;
  liveBytes_ -= freedBytes;
  sizes_.erase(found);
  std::free(memory);
  return true;
}

bool MemoryTable::holds(const void* address, std::size_t bytes) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = find(address);
  if (found == sizes_.end()) return false;
  return bytes <= found->second - (reinterpret_cast<uintptr_t>(address) - found->first);
}

bool MemoryTable::contains(const void* address) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return find(address) != sizes_.end();
}

LiveAllocations MemoryTable::live() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return {sizes_.size(), liveBytes_};
}

MemoryTable::Sizes::const_iterator MemoryTable::find(const void* address) const {
  const auto wanted = reinterpret_cast<uintptr_t>(address);
  const auto above = sizes_.upper_bound(wanted);
  if (above == sizes_.begin()) return sizes_.end();
  const auto candidate = std::prev(above);
  return wanted - candidate->first < candidate->second ? candidate : sizes_.end();
}

}  // namespace cudart_cpu
