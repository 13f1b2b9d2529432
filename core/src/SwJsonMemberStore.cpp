#include "core/SwJsonMemberStore.h"

#include <algorithm>
#include <utility>

namespace {

/// Blocks grow with the object up to this many members; more would not save much more.
constexpr std::size_t kMostSlots = 64;

}  // namespace

SwJsonMemberStore::Handle SwJsonMemberStore::create(std::size_t slots) {
  void* const memory = ::operator new(sizeof(SwJsonMemberStore) + slots * sizeof(Slot));
  auto* const first = reinterpret_cast<Slot*>(static_cast<std::byte*>(memory) + sizeof(SwJsonMemberStore));
  return Handle(new (memory) SwJsonMemberStore(first, slots));
}

void SwJsonMemberStore::addBlock() {
  const std::size_t added = std::min(count_ + 1, kMostSlots);
  void* const memory = ::operator new(sizeof(Block) + added * sizeof(Slot));
  laterBlocks_ = new (memory) Block{laterBlocks_};
  unused_ = reinterpret_cast<Slot*>(laterBlocks_ + 1);
  end_ = unused_ + added;
  count_ += added;
}

void SwJsonMemberStore::Deleter::operator()(SwJsonMemberStore* store) const noexcept {
  Block* block = store->laterBlocks_;
  while (block) ::operator delete(std::exchange(block, block->next));
  ::operator delete(store);
}
