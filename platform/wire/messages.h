// The messages between library and service. docs/protocol.md describes the bytes.
//
// Pure: values in, bytes out, and back. A decoder never reads outside the bytes it is given, checks every size and
// count before it is used, and refuses a message with bytes left over.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/device/limits.h"
#include "platform/device/status.h"

namespace wire {

inline constexpr std::uint8_t ProtocolVersion = 2;

// A service lets at least so many bytes of Events entries, and so many graph changes, be on their way to a client. So a
// client that tells at the latest after a quarter of it (Consumed, GraphSeen) never waits for news in vain.
inline constexpr std::size_t MinEventWindow = 16U << 10U;
inline constexpr std::uint64_t MinGraphWindow = 256;

// --- control channel, client to service ---

// The first message of a client. Answer: Welcome.
struct Hello {
  std::string program;  // for the service's log
  std::uint32_t process = 0;
};

// The client leaves. Answer: Result, after everything sent before has been taken.
struct Goodbye {
  std::uint64_t session = 0;
};

// Answer to Tap, Untap, UntapAll: Result.
struct Tap {
  std::uint64_t session = 0;
  std::uint32_t eventPort = 0;
  std::uint32_t holderBytes = 0;
  std::string name;
};
struct Untap {
  std::uint64_t session = 0;
  std::uint32_t eventPort = 0;
  std::string name;
};
struct UntapAll {
  std::uint64_t session = 0;
  std::uint32_t eventPort = 0;
};

// Makes (or, made false, takes away) a connection. Answer: Result.
struct Patch {
  std::uint64_t session = 0;
  bool made = true;
  std::uint64_t sourceGroup = 0;
  std::uint16_t sourceIndex = 0;
  std::uint64_t sinkGroup = 0;
  std::uint16_t sinkIndex = 0;
};

// Answer: Topology.
struct AskTopology {
  std::uint64_t session = 0;
};

// Answer: Links. The graph channel continues from the version answered.
struct AskLinks {
  std::uint64_t session = 0;
};

// A message to pass through what the event port has tapped. Not answered, but counted in Taken; only one for a session
// that the service does not know is answered, by a Result of NoSession, with tag 0 like its own.
struct Send {
  std::uint64_t session = 0;
  std::uint32_t eventPort = 0;
  std::uint16_t group = 0;
  std::vector<std::uint8_t> bytes;
};

// Messages to pass through one device port, in this order: at a source as if it had emitted them, at a sink as if they
// had arrived there. Not answered, but counted in Taken like a Send; only when the session or the port is not known, or
// a message has no bytes, by a Result, also with tag 0 like its own.
struct InjectItem {
  std::uint16_t group = 0;
  std::vector<std::uint8_t> bytes;
};
struct Inject {
  std::uint64_t session = 0;
  std::string name;
  std::vector<InjectItem> messages;
};

// Answer: Originals.
struct AskOriginals {
  std::uint64_t session = 0;
};

// Answer: Stats.
struct AskStats {
  std::uint64_t session = 0;
};

// --- control channel, service to client ---

struct Welcome {
  std::uint64_t session = 0;
  std::uint32_t sendWindow = 0;  // Send and Inject that may be on their way before Taken must be waited for
};

struct Result {
  device::Status status = device::Status::Ok;
  std::uint64_t graphVersion = 0;
};

struct TopologySide {
  std::uint16_t count = 0;
  std::string prefix;              // names are prefix and number from 1 on
  std::vector<std::string> names;  // or these, when not empty: count of them; an empty one for a port that has gone

  bool has(std::uint16_t index) const { return index < count && (names.empty() || !names[index].empty()); }
  friend bool operator==(const TopologySide&, const TopologySide&) = default;
};
struct TopologyGroup {
  std::uint64_t handle = 0;         // which no other group has, now or later
  std::optional<std::uint16_t> id;  // the group id that it is to have in a console; nothing: whichever is free
  std::string name;
  std::optional<TopologySide> sources;
  std::optional<TopologySide> sinks;

  const std::optional<TopologySide>& side(bool sink) const { return sink ? sinks : sources; }
  friend bool operator==(const TopologyGroup&, const TopologyGroup&) = default;
};
struct Topology {
  std::vector<TopologyGroup> groups;
  friend bool operator==(const Topology&, const Topology&) = default;
};

// What groups and ports are called in the system that they come from, any bytes. Groups that come from none are left
// out. A side has as many names as ports, those that have gone included.
using Original = std::vector<std::uint8_t>;
struct OriginalGroup {
  std::uint64_t handle = 0;
  Original name;
  std::vector<Original> sources;
  std::vector<Original> sinks;
};
struct Originals {
  std::vector<OriginalGroup> groups;
};

struct LinkRecord {
  std::uint64_t sourceGroup = 0;
  std::uint16_t sourceIndex = 0;
  std::uint64_t sinkGroup = 0;
  std::uint16_t sinkIndex = 0;
  bool carried = false;  // by the service from one system to another: it ends with the service
  friend bool operator==(const LinkRecord&, const LinkRecord&) = default;
};
struct Links {
  std::uint64_t version = 0;
  std::vector<LinkRecord> links;  // in the order of making
};

// How many Send and Inject of this client the service has taken in all.
struct Taken {
  std::uint64_t count = 0;
};

// Sent to find out whether the client is still there; it does nothing with it.
struct Probe {};

// What one client has done and what waits for it. MIDI messages are counted, not the frames that carry them.
struct ClientStats {
  std::string program;
  std::uint32_t process = 0;
  std::uint32_t taps = 0;
  std::uint64_t in = 0;    // sent or injected by it
  std::uint64_t out = 0;   // copies handed to it
  std::uint64_t lost = 0;  // copies dropped because its queue was full
  std::uint64_t queueBytes = 0;
};
struct Stats {
  std::uint64_t in = 0;  // messages that entered the device: its own, sent and injected ones; also of clients gone
  std::uint64_t out = 0;
  std::uint64_t lost = 0;
  std::uint64_t queueLimit = 0;      // bytes that may wait for one client
  std::vector<ClientStats> clients;  // in the order of their coming
  // How many times messages were lost on the way to the service, perhaps none, that nobody could count: not in lost.
  std::uint64_t uncountedLosses = 0;
};

// --- event channel ---

// Client to service: events go to the socket that this came from. Answer, there: Result.
struct OpenEvents {
  std::uint64_t session = 0;
};

// Client to service: how many bytes of Events entries the client has dealt with in all.
struct Consumed {
  std::uint64_t session = 0;
  std::uint64_t bytes = 0;
};

// Service to client: entries (see EventReader). On decoding, a view of the bytes that were decoded.
struct Events {
  std::span<const std::uint8_t> entries;
};

// Service to client: groups or ports have come or gone since the client last asked for the topology, or since it came.
// Sent once, and not again before it has asked.
struct TopologyChanged {};

// --- graph channel ---

// Client to service: graph changes go to the socket that this came from. Answer, there: Result.
struct OpenGraph {
  std::uint64_t session = 0;
};

// Client to service: changes up to this version have been dealt with.
struct GraphSeen {
  std::uint64_t session = 0;
  std::uint64_t version = 0;
};

// Service to client.
struct GraphChanged {
  std::uint64_t version = 0;
  bool added = false;
  LinkRecord link;
};

// Service to client: too many changes were not dealt with, and no more are sent until AskLinks.
struct GraphStale {};

using Body = std::variant<Hello, Goodbye, Tap, Untap, UntapAll, Patch, AskTopology, AskLinks, Send, Inject, AskStats,
                          AskOriginals, Welcome, Result, Topology, Originals, Links, Taken, Probe, Stats, OpenEvents,
                          Consumed, Events, TopologyChanged, OpenGraph, GraphSeen, GraphChanged, GraphStale>;

// One message. The tag of an answer is that of its request; 0 in what is no answer.
struct Envelope {
  std::uint32_t tag = 0;
  Body body;
};

// The bytes of one message. Names and MIDI messages must be within the limits above, and a side's list of names empty
// or as long as its count.
std::vector<std::uint8_t> encode(std::uint32_t tag, const Body& body);

enum class DecodeError : std::uint8_t { None, Malformed, WrongVersion };

// Nothing when the bytes are not exactly one message of this version; error (if not null) then says why.
std::optional<Envelope> decode(std::span<const std::uint8_t> bytes, DecodeError* error = nullptr);

// The tag of what begins like a message, of any version, whatever follows; so that it can be refused by answering.
std::optional<std::uint32_t> tagOf(std::span<const std::uint8_t> bytes);

}  // namespace wire
