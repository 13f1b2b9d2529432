#include "src/SwJsonTree.h"

#include <memory>
#include <utility>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "src/SecretText.h"

namespace {

/// How deep copying and releasing may recurse. Payloads are no deeper, and containers that copy and destroy
/// their own members are the fastest; below that level the walks take over.
constexpr int kRecursionLimit = 8;

/// Counts how deeply copyContainer and release are nested, which call each other through the containers'
/// members.
class Level {
 public:
  Level() noexcept { ++depth_; }
  ~Level() { --depth_; }
  Level(const Level&) = delete;
  Level& operator=(const Level&) = delete;

  bool mayRecurse() const noexcept { return depth_ <= kRecursionLimit; }

 private:
  static thread_local int depth_;
};

thread_local int Level::depth_ = 0;

}  // namespace

void SwJsonTree::copyContainer(const SwJsonValue& from, SwJsonValue& to) {
  const Level level;
  if (level.mayRecurse()) {
    if (from.object_) to.object_ = std::make_shared<SwJsonObject>(*from.object_);
    if (from.array_) to.array_ = std::make_shared<SwJsonArray>(*from.array_);
    return;
  }
  std::vector<Copying> pending{{&from, &to}};
  while (!pending.empty()) {
    const Copying next = pending.back();
    pending.pop_back();
    if (next.from->object_) next.to->object_ = copyOf(*next.from->object_, pending);
    if (next.from->array_) next.to->array_ = copyOf(*next.from->array_, pending);
  }
}

/// A copy of `object` in which the containers of its members are still missing; those are added to `pending`.
std::shared_ptr<SwJsonObject> SwJsonTree::copyOf(const SwJsonObject& object, std::vector<Copying>& pending) {
  auto copy = std::make_shared<SwJsonObject>();
  for (const auto& [key, value] : object) {
    SwJsonValue& added = copy->slot(key, object.size());
    added = SwJsonValue(value, SwJsonValue::FieldsOnly());
    if (value.hasContainer()) pending.push_back({&value, &added});
  }
  return copy;
}

std::shared_ptr<SwJsonArray> SwJsonTree::copyOf(const SwJsonArray& array, std::vector<Copying>& pending) {
  auto copy = std::make_shared<SwJsonArray>();
  auto& elements = copy->elements_;
  // All at once, so that the addresses in `pending` stay valid.
  elements.reserve(array.size());
  for (const SwJsonValue& element : array) {
    elements.emplace_back(element, SwJsonValue::FieldsOnly());
    if (element.hasContainer()) pending.push_back({&element, &elements.back()});
  }
  return copy;
}

/// Compares everything but the members, of which it compares the number.
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

SwJsonTree::Container SwJsonTree::takeContainer(SwJsonValue& value) noexcept {
  return {std::move(value.object_), std::move(value.array_)};
}

/// The first member's value or the first element; null if there is none.
SwJsonValue* SwJsonTree::firstSlot(const Container& container) noexcept {
  if (container.object && !container.object->empty()) return &container.object->members_.begin()->second;
  if (container.array && !container.array->empty()) return &container.array->elements_.front();
  return nullptr;
}

/// Puts `container` at the head of the chain, then the one that was in its first slot, and so on down, until
/// a first slot has no container or an empty one, which is destroyed at once.
void SwJsonTree::enchain(Container& chain, Container container) noexcept {
  while (SwJsonValue* slot = firstSlot(container)) {
    Container below = takeContainer(*slot);
    slot->object_ = std::move(chain.object);
    slot->array_ = std::move(chain.array);
    chain = std::move(container);
    container = std::move(below);
  }
}

template <typename Visit>
void SwJsonTree::visitSlots(const Container& container, Visit visit) noexcept {
  if (container.object) {
    for (auto& member : container.object->members_) visit(member.second);
  } else {
    for (SwJsonValue& element : container.array->elements_) visit(element);
  }
}

/// Destroys `container` and all below it, after calling `beforeDestroying` with each member and element.
///
/// Letting each container destroy its members would recurse as deep as the tree is. Instead, the containers
/// still to be destroyed form a chain, head first, that needs no memory of its own: a container is added by
/// taking the container out of its first slot and storing the rest of the chain there. What was taken out is
/// added next. To destroy the head, the rest of the chain is taken out of its first slot, and the containers
/// in its other slots are added to the chain, so that only plain values are destroyed with it. Every
/// container is added once and destroyed once.
///
/// An example, with the link to the rest of the chain written as "->" and an emptied slot as "_":
///
///   [[1,2],[3],4]          is to be destroyed
///   [_,[3],4]              is added; [1,2] is taken out of its first slot
///   [1->[_,[3],4],2]       is added too: the link is in its first slot, beside the 1
///   [_,[3],4]              [1,2] is destroyed
///   [3]                    [3] is added and [_,_,4] destroyed
///   none                   [3] is destroyed; the chain is empty
template <typename Visit>
void SwJsonTree::destroy(Container container, Visit beforeDestroying) noexcept {
  Container chain;
  enchain(chain, std::move(container));
  while (SwJsonValue* slot = firstSlot(chain)) {
    const Container head = std::move(chain);
    chain = takeContainer(*slot);
    visitSlots(head, [&](SwJsonValue& value) {
      if (value.hasContainer()) enchain(chain, takeContainer(value));
      beforeDestroying(value);
    });
  }
}

void SwJsonTree::release(SwJsonValue& value) noexcept {
  const Level level;
  if (level.mayRecurse()) {
    value.array_.reset();
    value.object_.reset();
    return;
  }
  destroy(takeContainer(value), [](SwJsonValue&) {});
}

void SwJsonTree::wipe(SwJsonValue& value) noexcept {
  ::wipe(value.text_);
  destroy(takeContainer(value), [](SwJsonValue& below) { ::wipe(below.text_); });
}

void SwJsonTree::makeRoomAndWipe(SwJsonArray& array) {
  std::vector<SwJsonValue>& elements = array.elements_;
  if (elements.size() < elements.capacity()) return;
  std::vector<SwJsonValue> grown;
  grown.reserve(elements.empty() ? 1 : 2 * elements.size());
  for (SwJsonValue& element : elements) {
    grown.push_back(std::move(element));
    // NOLINTNEXTLINE(bugprone-use-after-move): moving a short text leaves its bytes
    ::wipe(element.text_);
  }
  elements.swap(grown);
}
