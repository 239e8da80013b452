#pragma once

#include <cstdint>
#include <deque>
#include <utility>

namespace hxvoxora::detail {

/// Things that are numbered from 0, and joined into sets whose members can be listed.
class JoinedSets {
public:
  using Number = std::uint32_t;

  Number size() const { return static_cast<Number>(entries_.size()); }

  /// A new thing in a set of its own.
  Number add() {
    const Number number = size();
    entries_.push_back({number, number});
    return number;
  }

  /// The thing that stands for a set.
  Number root(Number number) {
    while (entries_[number].parent != number)
      number = entries_[number].parent = entries_[entries_[number].parent].parent;
    return number;
  }

  /// Makes one set of two different ones, given by their roots; `kept` stands for it.
  void join(Number kept, Number other) {
    entries_[other].parent = kept;
    std::swap(entries_[kept].next, entries_[other].next);
  }

  /// Calls visit(number) for the members of a thing's set.
  template <typename Visit>
  void forEachWith(Number number, Visit visit) const {
    Number at = number;
    do visit(at);
    while ((at = entries_[at].next) != number);
  }

private:
  struct Entry {
    Number parent, next;  // the next member, in a ring
  };

  std::deque<Entry> entries_;
};

}  // namespace hxvoxora::detail
