#include "platform/channel/arrivals.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace channel {
namespace {

constexpr std::size_t MostNames = 3;

constexpr std::chrono::milliseconds GatherTime{200};
constexpr std::chrono::milliseconds AskInterval{1000};

constexpr std::size_t MostDigits = 5;  // of a port's number

// Things of one kind that have come.
struct Come {
  std::size_t count = 0;
  std::vector<std::string> names;  // of the first of them

  void add(const std::string& name, std::size_t many = 1) {
    if (names.size() < MostNames) names.push_back(name);
    count += many;
  }

  // 'group "a"', '3 groups ("a", "b", "c")', '5 groups ("a", "b", "c", ...)'.
  std::string text(std::string_view noun) const {
    if (count == 1) return std::string(noun) + " \"" + names.front() + '"';
    std::string text = std::to_string(count) + ' ' + std::string(noun) + "s (";
    for (const std::string& name : names) text += '"' + name + "\", ";
    if (names.size() < count) return text + "...)";
    text.resize(text.size() - 2);
    return text + ')';
  }
};

}  // namespace

void Arrivals::Names::add(const std::string& prefix, std::uint32_t count) {
  std::uint32_t& known = numbered_[prefix];
  known = std::max(known, count);
}

bool Arrivals::Names::contains(std::string_view name) const {
  if (names_.contains(std::string(name))) return true;
  // A prefix may end in digits itself.
  std::uint32_t number = 0;
  std::uint32_t place = 1;
  for (std::size_t length = name.size(); length > 0 && name.size() - length < MostDigits; place *= 10) {
    const char digit = name[--length];
    if (digit < '0' || digit > '9') return false;
    number += place * static_cast<std::uint32_t>(digit - '0');
    if (digit == '0') continue;  // no number begins with it
    const auto found = numbered_.find(name.substr(0, length));
    if (found != numbered_.end() && number <= found->second) return true;
  }
  return false;
}

std::uint32_t Arrivals::Names::numbered(const std::string& prefix) const {
  const auto found = numbered_.find(prefix);
  return found == numbered_.end() ? 0 : found->second;
}

void Arrivals::list(const wire::Topology& topology) {
  isListed_ = true;
  for (const wire::TopologyGroup& group : topology.groups) {
    PortNames& listed = listed_[group.name];
    for (const bool sink : {false, true}) {
      const auto& side = group.side(sink);
      if (!side || side->count == 0) continue;
      if (side->names.empty()) listed.side(sink).add(side->prefix, side->count);
      for (const std::string& name : side->names) {
        if (!name.empty()) listed.side(sink).add(name);
      }
    }
  }
}

std::optional<std::string> Arrivals::look(const wire::Topology& now) {
  const PortNames none;
  Come groups;
  Come ports;
  Groups unlisted;
  for (const wire::TopologyGroup& group : now.groups) {
    const auto listed = listed_.find(group.name);
    const auto told = told_.find(group.name);
    const bool isKnown = listed != listed_.end() || told != told_.end();
    if (!isKnown) groups.add(group.name);
    PortNames there;
    for (const bool sink : {true, false}) {
      const auto& side = group.side(sink);
      if (!side || side->count == 0) continue;
      const Names& listedNames = (listed == listed_.end() ? none : listed->second).side(sink);
      const Names& toldNames = (told == told_.end() ? none : told->second).side(sink);
      Names& thereNames = there.side(sink);
      const auto isNew = [&](const std::string& name) {
        return isKnown && !listedNames.contains(name) && !toldNames.contains(name);
      };
      if (side->names.empty()) {
        std::uint32_t known = listedNames.numbered(side->prefix);
        if (known < side->count) thereNames.add(side->prefix, side->count);
        known = isKnown ? std::max(known, toldNames.numbered(side->prefix)) : side->count;
        std::string first;
        std::size_t many = 0;
        for (std::uint32_t number = known + 1; number <= side->count; ++number) {
          std::string name = side->prefix + std::to_string(number);
          if (isNew(name) && ++many == 1) first = std::move(name);
        }
        if (many > 0) ports.add(first, many);
      }
      for (const std::string& name : std::set<std::string>(side->names.begin(), side->names.end())) {
        if (name.empty() || listedNames.contains(name)) continue;
        if (isNew(name)) ports.add(name);
        thereNames.add(name);
      }
    }
    if (listed == listed_.end() || !there.empty()) unlisted.emplace(group.name, std::move(there));
  }
  told_ = std::move(unlisted);
  if (groups.count + ports.count == 0) return std::nullopt;
  std::string text = groups.count == 0 ? std::string() : groups.text("group");
  if (ports.count > 0) text += (text.empty() ? "" : " and ") + ports.text("port");
  return text + (groups.count + ports.count == 1 ? " was added; restart the console to list it"
                                                 : " were added; restart the console to list them");
}

void ArrivalTimer::news(device::Time now) {
  if (!due_) due_ = std::max(now + device::Time(GatherTime), earliest_);
}

void ArrivalTimer::asked(bool answered, device::Time now) {
  earliest_ = now + AskInterval;
  if (answered) {
    due_.reset();
  } else {
    due_ = earliest_;
  }
}

}  // namespace channel
