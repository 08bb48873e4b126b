// The messages between library and service. docs/protocol.md describes the bytes.
//
// Pure conversion between values and bytes. A decoder never reads outside its bytes, checks every size and count before
// it uses them, and rejects a message with bytes left over.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/device/limits.h"
#include "platform/device/port.h"
#include "platform/device/status.h"
#include "platform/device/topology.h"

namespace wire {

inline constexpr std::uint8_t ProtocolVersion = 3;

// The smallest windows that a service grants a client: bytes of Events entries, and graph changes, that may be
// unacknowledged. A client that acknowledges each quarter of them at the latest (Consumed, GraphSeen) never stalls.
inline constexpr std::size_t MinEventWindow = 16U << 10U;
inline constexpr std::uint64_t MinGraphWindow = 256;

// --- control channel, client to service ---

// The first message of a client. Answer: Welcome.
struct Hello {};

// The client disconnects. Answer: Result, after the service has processed everything sent before.
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

// Makes (made is true) or removes (made is false) a connection. Answer: Result. From `until` on, a time of this
// machine's monotonic clock in nanoseconds, the client has given up: a service that comes to the request only then does
// nothing and answers Refused. 0: there is no such time.
struct Patch {
  std::uint64_t session = 0;
  bool made = true;
  device::Link link;
  std::uint64_t until = 0;
};

// Answer: Topology, in pieces (see Part).
struct AskTopology {
  std::uint64_t session = 0;
};

// Answer: Links, in pieces (see Part). The graph channel continues from the version in the answer.
struct AskLinks {
  std::uint64_t session = 0;
};

// A message to pass through all device ports that the event port taps. Counted in Taken, not answered. Exception: if
// the service does not know the session, it answers with a Result of NoSession, with the tag of the Send.
struct Send {
  std::uint64_t session = 0;
  std::uint32_t eventPort = 0;
  std::uint16_t group = 0;
  std::vector<std::uint8_t> bytes;
};

// Messages to pass through one device port, in this order: at a source as if it had emitted them, at a sink as if they
// had arrived there. Counted in Taken, not answered. Exception: if the session or the port is unknown, or a message has
// no bytes, the service answers with a Result, with the tag of the Inject.
struct InjectItem {
  std::uint16_t group = 0;
  std::vector<std::uint8_t> bytes;
};
struct Inject {
  std::uint64_t session = 0;
  std::string name;
  std::vector<InjectItem> messages;
};

// Answer: Originals, in pieces (see Part).
struct AskOriginals {
  std::uint64_t session = 0;
};

// Answer: Stats, in pieces (see Part).
struct AskStats {
  std::uint64_t session = 0;
};

// --- control channel, service to client ---

// 128 random bits. Whoever has them may open the other channels of a session.
struct Token {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  friend bool operator==(const Token&, const Token&) = default;
};

struct Welcome {
  std::uint64_t session = 0;
  std::uint32_t sendWindow = 0;  // limit on Send and Inject not yet counted in Taken; at the limit the client waits
  Token token{};
};

struct Result {
  device::Status status = device::Status::Ok;
  std::uint64_t graphVersion = 0;
};

// Where a message stands in an answer that may be too long for one message. All pieces have the tag of the request;
// PieceJoiner makes them one message again.
struct Part {
  bool first = true;  // the answer begins here, perhaps anew: earlier pieces do not count
  bool more = false;  // another piece follows
  friend bool operator==(const Part&, const Part&) = default;
};

// Handles are never those of other groups, now or later. Names of removed ports, original names (see Originals) and
// systems are not sent: after decoding they are empty.
//
// The last group of a piece may continue as the first group of the next one, with the same handle. Each holds some of
// the names; a list of names then has fewer entries than the side has ports.
struct Topology {
  std::vector<device::Group> groups;
  Part part{};
  friend bool operator==(const Topology&, const Topology&) = default;
};

// Names of groups and ports in the system that they come from, any bytes. Groups that come from no other system are
// left out. A side has as many names as ports, including removed ports. A group may continue in the next piece, with
// the same handle and without its name.
using Original = std::vector<std::uint8_t>;
struct OriginalGroup {
  std::uint64_t handle = 0;
  Original name;
  std::vector<Original> sources;
  std::vector<Original> sinks;
};
struct Originals {
  std::vector<OriginalGroup> groups;
  Part part{};
};

struct LinkRecord {
  device::Link link;
  bool carried = false;  // the service carries it from one system to another; it ends with the service
  friend bool operator==(const LinkRecord&, const LinkRecord&) = default;
};
// All pieces have the same version. A connection that ends meanwhile may be missing, and one that is made meanwhile is:
// GraphChanged tells both.
struct Links {
  std::uint64_t version = 0;
  std::vector<LinkRecord> links;  // in the order of creation
  Part part{};
};

// How many Send and Inject of this client the service has processed in total, and how many of the messages in them
// reached a port of another system which has no form for them.
struct Taken {
  std::uint64_t count = 0;
  std::uint64_t unsendable = 0;
};

// What one client has done and what waits for it. Counts MIDI messages, not the frames that carry them.
struct ClientStats {
  std::string program;
  std::uint32_t process = 0;
  std::uint32_t taps = 0;
  std::uint64_t in = 0;    // sent or injected by the client
  std::uint64_t out = 0;   // copies handed to the client
  std::uint64_t lost = 0;  // copies dropped because its queue was full
  std::uint64_t queueBytes = 0;
  std::uint64_t unsendable = 0;  // of in: another system has no form for them
};
// In pieces, the totals are those at the time of each piece.
struct Stats {
  std::uint64_t in = 0;  // messages that entered the device: emitted, sent or injected; includes disconnected clients
  std::uint64_t out = 0;
  std::uint64_t lost = 0;
  std::uint64_t queueLimit = 0;      // bytes that may wait for one client
  std::vector<ClientStats> clients;  // in the order of connecting
  // How many times an unknown number of messages, perhaps none, was lost before reaching the service. Not part of lost.
  std::uint64_t uncountedLosses = 0;
  // Messages that another system has no form for, also those that no client sent. Not part of lost.
  std::uint64_t unsendable = 0;
  Part part{};
};

// --- event channel ---

// Client to service: asks for events on the socket that this message came from. Answer, on that socket: Result.
struct OpenEvents {
  std::uint64_t session = 0;
  Token token{};  // of Welcome
};

// Client to service: total bytes of Events entries that the client has processed.
struct Consumed {
  std::uint64_t session = 0;
  std::uint64_t bytes = 0;
};

// Service to client: entries (see EventReader). After decoding, a view of the decoded bytes.
struct Events {
  std::span<const std::uint8_t> entries;
};

// Service to client: groups or ports were added or removed since the client last asked for the topology, or since it
// connected. Sent once, and again only after the client has asked.
struct TopologyChanged {};

// --- graph channel ---

// Client to service: asks for graph changes on the socket that this message came from. Answer, on that socket: Result.
struct OpenGraph {
  std::uint64_t session = 0;
  Token token{};  // of Welcome
};

// Client to service: the client has processed all changes up to this version.
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

// Service to client: too many changes are unacknowledged. No more are sent until AskLinks.
struct GraphStale {};

using Body = std::variant<Hello, Goodbye, Tap, Untap, UntapAll, Patch, AskTopology, AskLinks, Send, Inject, AskStats,
                          AskOriginals, Welcome, Result, Topology, Originals, Links, Taken, Stats, OpenEvents, Consumed,
                          Events, TopologyChanged, OpenGraph, GraphSeen, GraphChanged, GraphStale>;

// One message. An answer has the tag of its request; all other messages of the service have tag 0.
struct Envelope {
  std::uint32_t tag = 0;
  Body body;
};

// Encodes one message. Names and MIDI messages must be within MaxNameBytes and MaxMessageBytes. A side's list of names
// must be empty or have count names, except in pieces (see Topology).
std::vector<std::uint8_t> encode(std::uint32_t tag, const Body& body);

enum class DecodeError : std::uint8_t { None, Malformed, WrongVersion };

// Returns nullopt unless the bytes are exactly one message of this version; error (if not null) then says why.
std::optional<Envelope> decode(std::span<const std::uint8_t> bytes, DecodeError* error = nullptr);

// Returns the tag of bytes that begin like a message of any version, whatever follows, so that the receiver can answer
// with an error.
std::optional<std::uint32_t> tagOf(std::span<const std::uint8_t> bytes);

}  // namespace wire
