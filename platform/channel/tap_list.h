// The taps that a client wants, whether its service runs or not.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace channel {

struct WantedTap {
  std::uint64_t order = 0;  // grows with each tap made
  std::uint32_t holderBytes = 0;
  bool isMissing = false;  // the service has not had this port since it came back
};

// Finding, adding and removing a tap takes logarithmic time at most.
class TapList {
 public:
  // A port of the client, and the name of the device's port.
  using Key = std::pair<std::uint32_t, std::string>;
  using Entry = std::pair<const Key, WantedTap>;

  // For a tap that was just made. An existing tap stays as it is.
  void add(std::uint32_t port, const std::string& name, std::uint32_t holderBytes) {
    const auto [tap, isNew] = taps_.try_emplace({port, name}, WantedTap{nextOrder_, holderBytes});
    if (isNew) ++nextOrder_;
    tap->second.isMissing = false;
  }
  bool contains(std::uint32_t port, const std::string& name) const { return taps_.contains({port, name}); }
  void remove(std::uint32_t port, const std::string& name) { taps_.erase({port, name}); }
  void removeAll(std::uint32_t port) {
    const auto first = taps_.lower_bound({port, ""});
    auto last = first;
    while (last != taps_.end() && last->first.first == port) ++last;
    taps_.erase(first, last);
  }

  std::size_t size() const { return taps_.size(); }

  // Returns null if the tap is not wanted. Valid until the next change.
  Entry* find(const Key& key) {
    const auto found = taps_.find(key);
    return found == taps_.end() ? nullptr : &*found;
  }

  // In the order of tapping, which is the order in which a message is sent through several ports. Sorts all taps. Valid
  // until the next change.
  std::vector<Entry*> inOrder() {
    std::vector<Entry*> all;
    all.reserve(taps_.size());
    for (Entry& tap : taps_) all.push_back(&tap);
    std::ranges::sort(all, {}, [](const Entry* tap) { return tap->second.order; });
    return all;
  }

 private:
  std::map<Key, WantedTap> taps_;
  std::uint64_t nextOrder_ = 0;
};

}  // namespace channel
