#pragma once

#include <cstddef>
#include <initializer_list>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/SwJsonValue.h"
#include "core/export.h"

/// The elements of a JSON array, in order.
///
/// Copies are deep. Pointers, references and iterators to elements stay valid until the next append, reserve,
/// remove, clear or assignment. What copies or grows throws std::bad_alloc. Threads: as for SwJsonValue.
class SW_CORE_EXPORT SwJsonArray {
  /// What a list of elements is made of: whatever a value can be made of, but no array, because
  /// `SwJsonArray a{b}` copies the array b. The value is moved out of the list.
  struct Element {
    template <typename T, std::enable_if_t<std::is_convertible_v<T, SwJsonValue> &&
                                               !std::is_base_of_v<SwJsonArray, std::remove_reference_t<T>>,
                                           int> = 0>
    Element(T&& initial) : value(std::forward<T>(initial)) {}

    mutable SwJsonValue value;
  };

 public:
  using iterator = std::vector<SwJsonValue>::iterator;
  using const_iterator = std::vector<SwJsonValue>::const_iterator;

  SwJsonArray() = default;

  /// `SwJsonArray{1, "two", nullptr}` has three elements. An element that is an array itself is written as a
  /// value, `SwJsonArray{SwJsonValue(inner), 2}`; braces alone within the list do not make one.
  SwJsonArray(std::initializer_list<Element> elements) {
    elements_.reserve(elements.size());
    for (const Element& element : elements) elements_.push_back(std::move(element.value));
  }

  SwJsonArray(const SwJsonArray&) = default;
  SwJsonArray(SwJsonArray&&) noexcept = default;

  /// `other` may come from inside this container.
  SwJsonArray& operator=(SwJsonArray other) noexcept {
    elements_.swap(other.elements_);
    return *this;
  }

  bool empty() const noexcept { return elements_.empty(); }
  bool isEmpty() const noexcept { return empty(); }
  std::size_t size() const noexcept { return elements_.size(); }

  /// Makes room for `count` elements altogether.
  void reserve(std::size_t count) { elements_.reserve(count); }

  /// Takes the value over as the last element.
  void append(SwJsonValue value) { elements_.push_back(std::move(value)); }

  /// Takes the value over in place of the element there. Throws std::out_of_range if `index` is not below
  /// size().
  void set(std::size_t index, SwJsonValue value) { elements_.at(index) = std::move(value); }

  /// Removes the element; those behind it move up. False if `index` is not below size().
  bool remove(std::size_t index) noexcept {
    if (index >= size()) return false;
    elements_.erase(elements_.begin() + static_cast<std::ptrdiff_t>(index));
    return true;
  }

  /// Removes all elements. Their room is kept for new ones.
  void clear() noexcept { elements_.clear(); }

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
  iterator begin() noexcept { return elements_.begin(); }
  iterator end() noexcept { return elements_.end(); }

  friend bool operator==(const SwJsonArray& a, const SwJsonArray& b) { return a.elements_ == b.elements_; }
  friend bool operator!=(const SwJsonArray& a, const SwJsonArray& b) { return !(a == b); }

 private:
  friend class SwJsonParser;
  friend class SwJsonTree;

  std::vector<SwJsonValue> elements_;
};
