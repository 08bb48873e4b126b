// Messages as a person writes them, for comparison in tests.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>

#include "platform/wire/messages.h"
#include "tests/platform/service/received.h"

namespace host {

inline std::string textOf(const device::Link& link) {
  return std::to_string(link.sourceGroup) + '.' + std::to_string(link.sourceIndex) + '>' +
         std::to_string(link.sinkGroup) + '.' + std::to_string(link.sinkIndex);
}

inline std::string textOf(const wire::Welcome& m) { return "welcome, window " + std::to_string(m.sendWindow); }
inline std::string textOf(const wire::Taken& m) {
  const std::string text = "taken " + std::to_string(m.count);
  return m.unsendable == 0 ? text : text + ", " + std::to_string(m.unsendable) + " unsendable";
}
inline std::string textOf(const wire::GraphStale& /*m*/) { return "stale"; }
inline std::string textOf(const wire::TopologyChanged& /*m*/) { return "topology changed"; }

inline std::string textOf(const wire::Result& m) {
  constexpr std::array Names = {"ok", "nothing", "not found", "bad request", "no session", "refused"};
  return std::string(Names.at(static_cast<std::size_t>(m.status))) + " at " + std::to_string(m.graphVersion);
}

inline std::string textOf(const wire::Topology& m) {
  std::string text = "topology";
  for (const device::Group& group : m.groups) text += ' ' + group.name;
  return text;
}

inline std::string textOf(const wire::Links& m) {
  std::string text = "links at " + std::to_string(m.version);
  for (const wire::LinkRecord& record : m.links) text += ' ' + textOf(record.link);
  return text;
}

inline std::string textOf(const wire::GraphChanged& m) {
  return (m.added ? "made " : "gone ") + textOf(m.link.link) + " at " + std::to_string(m.version);
}

inline std::string textOf(const wire::Events& m) {
  std::string text = "events";
  for (const auto& received : service::readEntries(m.entries)) text += " [" + received.text() + ']';
  return text;
}

template <class Request>
std::string textOf(const Request& /*m*/) {
  return "a request";
}

// "7: ok at 0" with a tag, "taken 3" without one.
inline std::string messageText(std::span<const std::uint8_t> bytes) {
  const auto envelope = wire::decode(bytes);
  if (!envelope) return "malformed";
  const std::string body = std::visit([](const auto& m) { return textOf(m); }, envelope->body);
  return envelope->tag == 0 ? body : std::to_string(envelope->tag) + ": " + body;
}

}  // namespace host
