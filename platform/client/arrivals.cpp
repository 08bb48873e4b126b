#include "platform/client/arrivals.h"

#include <string_view>
#include <utility>
#include <vector>

namespace client {
namespace {

constexpr std::size_t MostNames = 3;

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

Arrivals::PortsOfGroup Arrivals::portsOf(const wire::TopologyGroup& group) {
  PortsOfGroup ports;
  for (const bool sink : {false, true}) {
    const auto& side = group.side(sink);
    if (!side || side->count == 0) continue;
    const std::string front = sink ? "<" : ">";
    if (side->names.empty()) {
      ports.emplace(front + side->prefix + ' ' + std::to_string(side->count), Ports{side->prefix + '1', side->count});
    }
    for (const std::string& name : side->names) {
      if (!name.empty()) ports.emplace(front + name, Ports{name});
    }
  }
  return ports;
}

void Arrivals::list(const wire::Topology& topology) {
  isListed_ = true;
  for (const wire::TopologyGroup& group : topology.groups) listed_[group.name].merge(portsOf(group));
}

std::optional<std::string> Arrivals::look(const wire::Topology& now) {
  Come groups;
  Come ports;
  Groups unlisted;
  for (const wire::TopologyGroup& group : now.groups) {
    const auto listed = listed_.find(group.name);
    const auto told = told_.find(group.name);
    PortsOfGroup there = portsOf(group);
    if (listed != listed_.end())
      std::erase_if(there, [&](const auto& one) { return listed->second.contains(one.first); });
    if (listed == listed_.end() && told == told_.end()) {
      groups.add(group.name);
    } else {
      for (const auto& [key, one] : there) {
        if (told == told_.end() || !told->second.contains(key)) ports.add(one.firstName, one.count);
      }
    }
    if (listed == listed_.end() || !there.empty()) unlisted.emplace(group.name, std::move(there));
  }
  told_ = std::move(unlisted);
  if (groups.count + ports.count == 0) return std::nullopt;
  std::string text = groups.count == 0 ? std::string() : groups.text("group");
  if (ports.count > 0) text += (text.empty() ? "" : " and ") + ports.text("port");
  return text + (groups.count + ports.count == 1 ? " has come: a new console shows it"
                                                 : " have come: a new console shows them");
}

}  // namespace client
