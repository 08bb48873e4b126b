// The ports that the monitor is attached to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace flowscope {

// Port names without duplicates, in the order of adding. Lookup, adding and removal take constant time. One thread at a
// time.
class AttachedList {
 public:
  using value_type = std::string;
  using const_iterator = std::list<std::string>::const_iterator;

  AttachedList() = default;
  AttachedList(const AttachedList&) = delete;
  AttachedList& operator=(const AttachedList&) = delete;

  // Appends a name; a name that is in the list keeps its place.
  void add(std::string_view name);

  // Removes a name, if it is in the list; those behind it move up.
  void remove(std::string_view name);

  void clear();

  bool contains(std::string_view name) const { return places_.contains(name); }
  bool empty() const { return names_.empty(); }
  std::size_t size() const { return names_.size(); }

  // Returns the first name; the list must not be empty.
  const std::string& front() const { return names_.front(); }

  // In the order of adding. An iterator is valid until its name is removed.
  const_iterator begin() const { return names_.begin(); }
  const_iterator end() const { return names_.end(); }

  // Grows with each change.
  std::uint64_t version() const { return version_; }

  // Whether the list holds exactly these names, in this order.
  friend bool operator==(const AttachedList& list, const std::vector<std::string>& names);

 private:
  std::list<std::string> names_;
  std::unordered_map<std::string_view, const_iterator> places_;  // the keys are views of names_
  std::uint64_t version_ = 0;
};

}  // namespace flowscope
