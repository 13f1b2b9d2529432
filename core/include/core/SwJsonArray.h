#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "core/SwJsonValue.h"
#include "core/export.h"

/// The elements of a JSON array, in order.
///
/// Copies are deep. Pointers, references and iterators to elements stay valid until the next append, reserve
/// or assignment. What copies or grows throws std::bad_alloc. Threads: as for SwJsonValue.
class SW_CORE_EXPORT SwJsonArray {
 public:
  using const_iterator = std::vector<SwJsonValue>::const_iterator;

  SwJsonArray() = default;
  SwJsonArray(const SwJsonArray&) = default;
  SwJsonArray(SwJsonArray&&) noexcept = default;

  /// `other` may come from inside this container.
  SwJsonArray& operator=(SwJsonArray other) noexcept {
    elements_.swap(other.elements_);
    return *this;
  }

  bool empty() const noexcept { return elements_.empty(); }
  std::size_t size() const noexcept { return elements_.size(); }

  /// Makes room for `count` elements altogether.
  void reserve(std::size_t count) { elements_.reserve(count); }

  /// Takes the value over as the last element.
  void append(SwJsonValue value) { elements_.push_back(std::move(value)); }

  /// The element; of a temporary array, its value, moved out. Throws std::out_of_range if
  /// `index` is not below size().
  const SwJsonValue& at(std::size_t index) const& { return elements_.at(index); }
  SwJsonValue& at(std::size_t index) & { return elements_.at(index); }
  SwJsonValue at(std::size_t index) && { return std::move(elements_.at(index)); }

  /// The same; `index` must be below size().
  const SwJsonValue& operator[](std::size_t index) const& { return elements_[index]; }
  SwJsonValue& operator[](std::size_t index) & { return elements_[index]; }
  SwJsonValue operator[](std::size_t index) && { return std::move(elements_[index]); }

  const_iterator begin() const noexcept { return elements_.begin(); }
  const_iterator end() const noexcept { return elements_.end(); }

  friend bool operator==(const SwJsonArray& a, const SwJsonArray& b) { return a.elements_ == b.elements_; }
  friend bool operator!=(const SwJsonArray& a, const SwJsonArray& b) { return !(a == b); }

 private:
  friend class SwJsonParser;
  friend class SwJsonTree;

  std::vector<SwJsonValue> elements_;
};
