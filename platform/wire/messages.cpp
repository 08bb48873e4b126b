#include "platform/wire/messages.h"

#include "platform/wire/bytes.h"
#include "platform/wire/field_io.h"

namespace wire {
namespace {

constexpr std::uint8_t Magic = 0xE5;
constexpr std::size_t HeaderBytes = 8;

// Numbers of the kinds: 0x01nn and 0x02nn control channel (to and from the service), 0x03nn event channel, 0x04nn
// graph channel. They never change their meaning within a version.
template <class M>
constexpr std::uint16_t KindOf = 0;
template <>
constexpr std::uint16_t KindOf<Hello> = 0x0101;
template <>
constexpr std::uint16_t KindOf<Goodbye> = 0x0102;
template <>
constexpr std::uint16_t KindOf<Tap> = 0x0103;
template <>
constexpr std::uint16_t KindOf<Untap> = 0x0104;
template <>
constexpr std::uint16_t KindOf<UntapAll> = 0x0105;
template <>
constexpr std::uint16_t KindOf<Patch> = 0x0106;
template <>
constexpr std::uint16_t KindOf<AskTopology> = 0x0107;
template <>
constexpr std::uint16_t KindOf<AskLinks> = 0x0108;
template <>
constexpr std::uint16_t KindOf<Send> = 0x0109;
template <>
constexpr std::uint16_t KindOf<Inject> = 0x010A;
template <>
constexpr std::uint16_t KindOf<AskStats> = 0x010B;
template <>
constexpr std::uint16_t KindOf<Welcome> = 0x0201;
template <>
constexpr std::uint16_t KindOf<Result> = 0x0202;
template <>
constexpr std::uint16_t KindOf<Topology> = 0x0203;
template <>
constexpr std::uint16_t KindOf<Links> = 0x0204;
template <>
constexpr std::uint16_t KindOf<Taken> = 0x0205;
template <>
constexpr std::uint16_t KindOf<Probe> = 0x0206;
template <>
constexpr std::uint16_t KindOf<Stats> = 0x0207;
template <>
constexpr std::uint16_t KindOf<OpenEvents> = 0x0301;
template <>
constexpr std::uint16_t KindOf<Consumed> = 0x0302;
template <>
constexpr std::uint16_t KindOf<Events> = 0x0303;
template <>
constexpr std::uint16_t KindOf<OpenGraph> = 0x0401;
template <>
constexpr std::uint16_t KindOf<GraphSeen> = 0x0402;
template <>
constexpr std::uint16_t KindOf<GraphChanged> = 0x0403;
template <>
constexpr std::uint16_t KindOf<GraphStale> = 0x0404;

}  // namespace

template <class Io>
void fields(Io& io, Fields<Io, Hello> m) {
  io(m.program);
  io(m.process);
}

template <class Io>
void fields(Io& io, Fields<Io, Goodbye> m) {
  io(m.session);
}

template <class Io>
void fields(Io& io, Fields<Io, Tap> m) {
  io(m.session);
  io(m.eventPort);
  io(m.holderBytes);
  io(m.name);
}

template <class Io>
void fields(Io& io, Fields<Io, Untap> m) {
  io(m.session);
  io(m.eventPort);
  io(m.name);
}

template <class Io>
void fields(Io& io, Fields<Io, UntapAll> m) {
  io(m.session);
  io(m.eventPort);
}

template <class Io>
void fields(Io& io, Fields<Io, Patch> m) {
  io(m.session);
  io(m.made);
  io(m.sourceGroup);
  io(m.sourceIndex);
  io(m.sinkGroup);
  io(m.sinkIndex);
}

template <class Io>
void fields(Io& io, Fields<Io, AskTopology> m) {
  io(m.session);
}

template <class Io>
void fields(Io& io, Fields<Io, AskLinks> m) {
  io(m.session);
}

template <class Io>
void fields(Io& io, Fields<Io, Send> m) {
  io(m.session);
  io(m.eventPort);
  io(m.group);
  io(m.bytes);
}

template <class Io>
void fields(Io& io, Fields<Io, InjectItem> m) {
  io(m.group);
  io(m.bytes);
}

template <class Io>
void fields(Io& io, Fields<Io, Inject> m) {
  io(m.session);
  io(m.name);
  io(m.messages);
}

template <class Io>
void fields(Io& io, Fields<Io, AskStats> m) {
  io(m.session);
}

template <class Io>
void fields(Io& io, Fields<Io, Welcome> m) {
  io(m.session);
  io(m.sendWindow);
}

template <class Io>
void fields(Io& io, Fields<Io, Result> m) {
  io(m.status);
  io(m.graphVersion);
}

template <class Io>
void fields(Io& io, Fields<Io, TopologySide> m) {
  io(m.count);
  io(m.prefix);
  io(m.names);
  io.require(m.names.empty() || m.names.size() == m.count);
}

template <class Io>
void fields(Io& io, Fields<Io, TopologyGroup> m) {
  io(m.id);
  io(m.name);
  io(m.sources);
  io(m.sinks);
}

template <class Io>
void fields(Io& io, Fields<Io, Topology> m) {
  io(m.groups);
}

template <class Io>
void fields(Io& io, Fields<Io, LinkRecord> m) {
  io(m.sourceGroup);
  io(m.sourceIndex);
  io(m.sinkGroup);
  io(m.sinkIndex);
}

template <class Io>
void fields(Io& io, Fields<Io, Links> m) {
  io(m.version);
  io(m.links);
}

template <class Io>
void fields(Io& io, Fields<Io, Taken> m) {
  io(m.count);
}

template <class Io>
void fields(Io& /*io*/, Fields<Io, Probe> /*m*/) {}

template <class Io>
void fields(Io& io, Fields<Io, ClientStats> m) {
  io(m.program);
  io(m.process);
  io(m.taps);
  io(m.in);
  io(m.out);
  io(m.lost);
  io(m.queueBytes);
}

template <class Io>
void fields(Io& io, Fields<Io, Stats> m) {
  io(m.in);
  io(m.out);
  io(m.lost);
  io(m.queueLimit);
  io(m.clients);
}

template <class Io>
void fields(Io& io, Fields<Io, OpenEvents> m) {
  io(m.session);
}

template <class Io>
void fields(Io& io, Fields<Io, Consumed> m) {
  io(m.session);
  io(m.bytes);
}

template <class Io>
void fields(Io& io, Fields<Io, Events> m) {
  io.rest(m.entries);
}

template <class Io>
void fields(Io& io, Fields<Io, OpenGraph> m) {
  io(m.session);
}

template <class Io>
void fields(Io& io, Fields<Io, GraphSeen> m) {
  io(m.session);
  io(m.version);
}

template <class Io>
void fields(Io& io, Fields<Io, GraphChanged> m) {
  io(m.version);
  io(m.added);
  io.field(m.link);
}

template <class Io>
void fields(Io& /*io*/, Fields<Io, GraphStale> /*m*/) {}

namespace {

// Reads the fields into body when M is the kind in question; answers whether it is.
template <class M>
bool readIf(std::uint16_t kind, ByteReader& from, Body& body) {
  static_assert(KindOf<M> != 0, "every message has a kind");
  if (kind != KindOf<M>) return false;
  FieldReader reader(from);
  fields(reader, body.emplace<M>());
  return true;
}

template <class... M>
bool readBody(std::uint16_t kind, ByteReader& from, std::variant<M...>& body) {
  return (readIf<M>(kind, from, body) || ...);
}

}  // namespace

std::vector<std::uint8_t> encode(std::uint32_t tag, const Body& body) {
  std::vector<std::uint8_t> out;
  out.reserve(64);
  FieldWriter writer(out);
  writer(Magic);
  writer(ProtocolVersion);
  std::visit(
      [&]<class M>(const M& message) {
        writer(KindOf<M>);
        writer(tag);
        fields(writer, message);
      },
      body);
  return out;
}

std::optional<Envelope> decode(std::span<const std::uint8_t> bytes, DecodeError* error) {
  const auto refuse = [error](DecodeError cause) {
    if (error != nullptr) *error = cause;
    return std::nullopt;
  };
  ByteReader from(bytes);
  if (from.number<std::uint8_t>() != Magic) return refuse(DecodeError::Malformed);
  const auto version = from.number<std::uint8_t>();
  if (!from.ok()) return refuse(DecodeError::Malformed);
  if (version != ProtocolVersion) return refuse(DecodeError::WrongVersion);
  if (bytes.size() < HeaderBytes) return refuse(DecodeError::Malformed);
  const auto kind = from.number<std::uint16_t>();
  Envelope envelope;
  envelope.tag = from.number<std::uint32_t>();
  if (!readBody(kind, from, envelope.body) || !from.ok() || from.left() != 0) return refuse(DecodeError::Malformed);
  if (error != nullptr) *error = DecodeError::None;
  return envelope;
}

std::optional<std::uint32_t> tagOf(std::span<const std::uint8_t> bytes) {
  ByteReader from(bytes);
  if (from.number<std::uint8_t>() != Magic) return std::nullopt;
  from.number<std::uint8_t>();   // version
  from.number<std::uint16_t>();  // kind
  const auto tag = from.number<std::uint32_t>();
  return from.ok() ? std::optional(tag) : std::nullopt;
}

}  // namespace wire
