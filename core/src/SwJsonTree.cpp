#include "SwJsonTree.h"

#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"

// Copies everything but the containers.
void SwJsonTree::copyFields(const SwJsonValue& from, SwJsonValue& to) {
  to.text_ = from.text_;
  to.kind_ = from.kind_;
  to.boolean_ = from.boolean_;
  to.integer_ = from.integer_;
  to.number_ = from.number_;
}

void SwJsonTree::copy(const SwJsonValue& from, SwJsonValue& to) {
  struct Pair {
    const SwJsonValue* from;
    SwJsonValue* to;
  };
  std::vector<Pair> pending{{&from, &to}};
  const auto copyOrDefer = [&pending](const SwJsonValue& source, SwJsonValue& target) {
    copyFields(source, target);
    if (source.object_ || source.array_) pending.push_back({&source, &target});
  };

  copyFields(from, to);
  while (!pending.empty()) {
    const Pair pair = pending.back();
    pending.pop_back();
    if (pair.from->object_) {
      pair.to->object_ = std::make_shared<SwJsonObject>();
      auto& members = pair.to->object_->members_;
      for (const auto& [key, value] : pair.from->object_->members_) {
        copyOrDefer(value, members.emplace_hint(members.end(), key, SwJsonValue())->second);
      }
    }
    if (pair.from->array_) {
      pair.to->array_ = std::make_shared<SwJsonArray>();
      const auto& source = pair.from->array_->elements_;
      auto& elements = pair.to->array_->elements_;
      // All at once, so that the addresses in `pending` stay valid.
      elements.resize(source.size());
      for (std::size_t i = 0; i < source.size(); ++i) copyOrDefer(source[i], elements[i]);
    }
  }
}

// Compares everything but the members, of which it compares the number.
bool SwJsonTree::equalFields(const SwJsonValue& a, const SwJsonValue& b) {
  return a.kind_ == b.kind_ && a.boolean_ == b.boolean_ && a.integer_ == b.integer_ &&
         a.number_ == b.number_ && a.text_ == b.text_ && memberCount(a) == memberCount(b);
}

bool SwJsonTree::equal(const SwJsonValue& a, const SwJsonValue& b) {
  std::vector<std::pair<const SwJsonValue*, const SwJsonValue*>> pending;
  const auto equalOrDefer = [&pending](const SwJsonValue& left, const SwJsonValue& right) {
    if (!equalFields(left, right)) return false;
    if (memberCount(left) != 0) pending.emplace_back(&left, &right);
    return true;
  };

  if (!equalOrDefer(a, b)) return false;
  while (!pending.empty()) {
    const auto [left, right] = pending.back();
    pending.pop_back();
    if (left->object_) {
      auto other = right->object_->begin();
      for (const auto& [key, value] : *left->object_) {
        if (key != other->first || !equalOrDefer(value, other->second)) return false;
        ++other;
      }
    } else {
      for (std::size_t i = 0; i < left->array_->size(); ++i) {
        if (!equalOrDefer((*left->array_)[i], (*right->array_)[i])) return false;
      }
    }
  }
  return true;
}

std::size_t SwJsonTree::memberCount(const SwJsonValue& value) noexcept {
  if (value.object_) return value.object_->size();
  return value.array_ ? value.array_->size() : 0;
}

// The first member's value, or the first element. `value` must have one.
SwJsonValue& SwJsonTree::firstSlot(SwJsonValue& value) noexcept {
  return value.object_ ? value.object_->members_.begin()->second : value.array_->elements_.front();
}

// Removes the last member or element. `value` must have one.
SwJsonValue SwJsonTree::takeLast(SwJsonValue& value) noexcept {
  SwJsonValue taken;
  if (value.object_) {
    const auto last = std::prev(value.object_->members_.end());
    taken = std::move(last->second);
    value.object_->members_.erase(last);
  } else {
    taken = std::move(value.array_->elements_.back());
    value.array_->elements_.pop_back();
  }
  return taken;
}

// Puts `value` at the head of the chain, then what stood in its first slot, and so on down. Ends at a value
// without members, which it leaves in `value`.
void SwJsonTree::enchain(SwJsonValue& chain, SwJsonValue& value) noexcept {
  while (memberCount(value) != 0) {
    SwJsonValue& slot = firstSlot(value);
    SwJsonValue below = std::move(slot);
    slot = std::move(chain);
    chain = std::move(value);
    value = std::move(below);
  }
}

// Letting each container destroy its members would recurse as deep as the tree is. Instead, the containers
// still to be destroyed form a chain, head first, that needs no memory of its own: a container that joins
// gives up what stands in its first slot and keeps the rest of the chain there. What was given up joins next,
// if it has members of its own, or dies. The head then loses its other slots from the back, each joining or
// dying in the same way, until only the first is left: the head dies, and the chain in that slot takes its
// place. Every value joins once and dies once.
//
// An example, with the chain's link written as "->":
//
//   [[1,2],3]     is to be destroyed
//   [->,3]        joins; its first slot gave up [1,2]
//   [->[->,3],2]  so did [1,2]'s, whose 1 has no members and dies
//   [->[->,3]]    the head loses its last slot, 2
//   [->,3]        only the link is left: the head dies, and its link is the new head
//   [->]          loses 3
//   null          dies, and the chain is at its end
void SwJsonTree::release(SwJsonValue& value) noexcept {
  SwJsonValue chain;
  enchain(chain, value);
  while (!chain.isNull()) {
    const bool onlyLinkLeft = memberCount(chain) == 1;
    SwJsonValue taken = takeLast(chain);
    if (onlyLinkLeft) {
      chain = std::move(taken);
    } else {
      enchain(chain, taken);
    }
  }
  value.array_.reset();
  value.object_.reset();
}
