#pragma once

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

/// A growing array. Indices are not checked.
template <class T>
class McDArray {
public:
  using value_type = T;
  using iterator = typename std::vector<T>::iterator;
  using const_iterator = typename std::vector<T>::const_iterator;

  McDArray() = default;
  McDArray(std::initializer_list<T> elements) : elements_(elements) {}

  void append(T element) { elements_.push_back(std::move(element)); }
  void clear() { elements_.clear(); }

  int size() const { return static_cast<int>(elements_.size()); }
  bool isEmpty() const { return elements_.empty(); }

  T& operator[](int index) { return elements_[static_cast<std::size_t>(index)]; }
  const T& operator[](int index) const { return elements_[static_cast<std::size_t>(index)]; }

  iterator begin() { return elements_.begin(); }
  iterator end() { return elements_.end(); }
  const_iterator begin() const { return elements_.begin(); }
  const_iterator end() const { return elements_.end(); }

  friend bool operator==(const McDArray&, const McDArray&) = default;

private:
  std::vector<T> elements_;
};
