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

// Names of ports, none twice, in the order of adding. Looking a name up, adding one and taking one away cost the same
// however many there are. One thread at a time.
class AttachedList {
 public:
  using value_type = std::string;
  using const_iterator = std::list<std::string>::const_iterator;

  AttachedList() = default;
  AttachedList(const AttachedList&) = delete;
  AttachedList& operator=(const AttachedList&) = delete;

  // Appends a name; one that stands already stays where it is.
  void add(std::string_view name);

  // Takes a name away, if it stands; those behind it move up.
  void remove(std::string_view name);

  void clear();

  bool contains(std::string_view name) const { return places_.contains(name); }
  bool empty() const { return names_.empty(); }
  std::size_t size() const { return names_.size(); }

  // The first name; there must be one.
  const std::string& front() const { return names_.front(); }

  // In the order of adding. Valid until the name is taken away.
  const_iterator begin() const { return names_.begin(); }
  const_iterator end() const { return names_.end(); }

  // Grows with each change.
  std::uint64_t version() const { return version_; }

  // Whether these are the names, in this order.
  friend bool operator==(const AttachedList& list, const std::vector<std::string>& names);

 private:
  std::list<std::string> names_;
  std::unordered_map<std::string_view, const_iterator> places_;  // the views are of names_
  std::uint64_t version_ = 0;
};

}  // namespace flowscope
