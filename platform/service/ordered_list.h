// Entries in the order of making, each found by its number.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace service {

// Entries with growing numbers (`order`, a field of Entry). Adding at the end and removing take constant time on
// average, finding logarithmic time. A removed entry leaves a hole; once holes are the larger part, they are closed.
template <class Entry>
class OrderedList {
 public:
  // The entry's number must be above all others.
  void append(Entry entry) { places_.push_back({std::move(entry), true}); }

  // Null if there is no entry of this number. Valid until the next change.
  Entry* find(std::uint64_t order) {
    const auto at = locate(order);
    return at == places_.end() ? nullptr : &at->entry;
  }

  // Returns false if there is no entry of this number.
  bool remove(std::uint64_t order) {
    const auto at = locate(order);
    if (at == places_.end()) return false;
    at->there = false;
    ++holes_;
    while (!places_.empty() && !places_.back().there) {
      places_.pop_back();
      --holes_;
    }
    if (2 * holes_ > places_.size()) close();
    shrink();
    return true;
  }

  // The entry with the highest number. The list must not be empty.
  const Entry& back() const { return places_.back().entry; }

  std::size_t size() const { return places_.size() - holes_; }
  bool empty() const { return size() == 0; }

  // Calls visit(entry) for all, in order. visit must not change the list.
  template <class Visit>
  void forEach(const Visit& visit) const {
    for (const Place& place : places_) {
      if (place.there) visit(place.entry);
    }
  }

  // Calls visit(entry) for entries from number `from` on, in order, as long as `left` lasts: each costs one, a hole
  // too. Returns true at the end of the list; else `from` is the number to go on with. visit must not change the list.
  template <class Visit>
  bool forSome(std::uint64_t& from, std::size_t& left, const Visit& visit) const {
    auto at = places_.begin();
    if (from > 0)
      at = std::ranges::lower_bound(places_, from, {}, [](const Place& place) { return place.entry.order; });
    for (; at != places_.end() && left > 0; ++at, --left) {
      if (at->there) visit(at->entry);
      from = at->entry.order + 1;
    }
    return at == places_.end();
  }

  // How many entries fit into the memory in use.
  std::size_t capacity() const { return places_.capacity(); }

  // Enters these, whose numbers grow and are all new, where they belong.
  void merge(const std::vector<Entry>& entries) {
    close();
    const auto middle = static_cast<std::ptrdiff_t>(places_.size());
    for (const Entry& entry : entries) places_.push_back({entry, true});
    std::inplace_merge(places_.begin(), places_.begin() + middle, places_.end(),
                       [](const Place& one, const Place& other) { return one.entry.order < other.entry.order; });
  }

 private:
  static constexpr std::size_t KeptPlaces = 16;

  struct Place {
    Entry entry;
    bool there = true;
  };

  auto locate(std::uint64_t order) {
    const auto at = std::ranges::lower_bound(places_, order, {}, [](const Place& place) { return place.entry.order; });
    return at != places_.end() && at->there && at->entry.order == order ? at : places_.end();
  }

  void close() {
    std::erase_if(places_, [](const Place& place) { return !place.there; });
    holes_ = 0;
  }

  // Moves the places to less memory if they use little of theirs. They were at least four times as many before.
  void shrink() {
    if (places_.capacity() > 4 * places_.size() && places_.capacity() > KeptPlaces) places_.shrink_to_fit();
  }

  std::vector<Place> places_;
  std::size_t holes_ = 0;
};

}  // namespace service
