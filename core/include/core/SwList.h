#pragma once

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

/// A growable sequence of values, in the order in which they were appended. It owns its elements; copies are
/// independent. What copies or grows passes on the elements' exceptions and std::bad_alloc. Threads: as for
/// std::vector.
template <typename T>
class SwList {
 public:
  using const_iterator = typename std::vector<T>::const_iterator;

  SwList() = default;
  SwList(std::initializer_list<T> elements) : elements_(elements) {}

  /// The elements from `first` up to, but not including, `last`.
  template <typename Iterator>
  SwList(Iterator first, Iterator last) : elements_(first, last) {}

  bool isEmpty() const noexcept { return elements_.empty(); }
  bool empty() const noexcept { return isEmpty(); }
  std::size_t size() const noexcept { return elements_.size(); }
  void append(T element) { elements_.push_back(std::move(element)); }
  void clear() noexcept { elements_.clear(); }

  /// The element; of a temporary list, its value, moved out. Throws std::out_of_range if
  /// `index` is not below size().
  const T& at(std::size_t index) const& { return elements_.at(index); }
  T at(std::size_t index) && { return std::move(elements_.at(index)); }

  const_iterator begin() const noexcept { return elements_.begin(); }
  const_iterator end() const noexcept { return elements_.end(); }

  friend bool operator==(const SwList& a, const SwList& b) { return a.elements_ == b.elements_; }
  friend bool operator!=(const SwList& a, const SwList& b) { return !(a == b); }

 private:
  std::vector<T> elements_;
};
