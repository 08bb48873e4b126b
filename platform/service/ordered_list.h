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

  // Enters these, whose numbers grow and are all new, where they belong.
  void merge(const std::vector<Entry>& entries) {
    close();
    const auto middle = static_cast<std::ptrdiff_t>(places_.size());
    for (const Entry& entry : entries) places_.push_back({entry, true});
    std::inplace_merge(places_.begin(), places_.begin() + middle, places_.end(),
                       [](const Place& one, const Place& other) { return one.entry.order < other.entry.order; });
  }

 private:
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
    if (places_.capacity() > 4 * places_.size()) places_.shrink_to_fit();
  }

  std::vector<Place> places_;
  std::size_t holes_ = 0;
};

}  // namespace service
