#include "platform/wire/messages.h"

#include "platform/wire/bytes.h"
#include "platform/wire/field_io.h"
#include "platform/wire/message_front.h"
#include "platform/wire/message_kinds.h"

namespace wire {
namespace {

bool isWhole(const std::optional<device::SideOfGroup>& side) {
  return !side || side->names.empty() || side->names.size() == side->count;
}

// Whether all groups but those that other pieces continue have all their names.
bool isWholeInside(const Topology& piece) {
  for (std::size_t i = 0; i < piece.groups.size(); ++i) {
    const bool continues = (i == 0 && !piece.part.first) || (i + 1 == piece.groups.size() && piece.part.more);
    if (!continues && !(isWhole(piece.groups[i].sources) && isWhole(piece.groups[i].sinks))) return false;
  }
  return true;
}

}  // namespace

template <class Io>
void fields(Io& /*io*/, Fields<Io, Hello> /*m*/) {}

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
void fields(Io& io, Fields<Io, device::Link> m) {
  io(m.sourceGroup);
  io(m.sourceIndex);
  io(m.sinkGroup);
  io(m.sinkIndex);
}

template <class Io>
void fields(Io& io, Fields<Io, Patch> m) {
  io(m.session);
  io(m.made);
  io.field(m.link);
  io(m.until);
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
void fields(Io& io, Fields<Io, AskOriginals> m) {
  io(m.session);
}

template <class Io>
void fields(Io& io, Fields<Io, Part> m) {
  io(m.first);
  io(m.more);
}

template <class Io>
void fields(Io& io, Fields<Io, OriginalGroup> m) {
  io(m.handle);
  io(m.name);
  io(m.sources);
  io(m.sinks);
}

template <class Io>
void fields(Io& io, Fields<Io, Originals> m) {
  io.field(m.part);
  io(m.groups);
}

template <class Io>
void fields(Io& io, Fields<Io, Token> m) {
  io(m.high);
  io(m.low);
}

template <class Io>
void fields(Io& io, Fields<Io, Welcome> m) {
  io(m.session);
  io(m.sendWindow);
  io.field(m.token);
}

template <class Io>
void fields(Io& io, Fields<Io, Result> m) {
  io(m.status);
  io(m.graphVersion);
}

template <class Io>
void fields(Io& io, Fields<Io, device::SideOfGroup> m) {
  io(m.count);
  io(m.prefix);
  io.portNames(m);
}

template <class Io>
void fields(Io& io, Fields<Io, device::Group> m) {
  io(m.handle);
  io(m.wantedId);
  io(m.name);
  io(m.sources);
  io(m.sinks);
}

template <class Io>
void fields(Io& io, Fields<Io, Topology> m) {
  io.field(m.part);
  io(m.groups);
  if constexpr (!Io::Writes) io.require(isWholeInside(m));
}

template <class Io>
void fields(Io& io, Fields<Io, LinkRecord> m) {
  io.field(m.link);
  io(m.carried);
}

template <class Io>
void fields(Io& io, Fields<Io, Links> m) {
  io.field(m.part);
  io(m.version);
  io(m.links);
}

template <class Io>
void fields(Io& io, Fields<Io, Taken> m) {
  io(m.count);
  io(m.unsendable);
}

template <class Io>
void fields(Io& io, Fields<Io, ClientStats> m) {
  io(m.program);
  io(m.process);
  io(m.taps);
  io(m.in);
  io(m.out);
  io(m.lost);
  io(m.queueBytes);
  io(m.unsendable);
}

template <class Io>
void fields(Io& io, Fields<Io, Stats> m) {
  io.field(m.part);
  io(m.in);
  io(m.out);
  io(m.lost);
  io(m.queueLimit);
  io(m.clients);
  io(m.uncountedLosses);
  io(m.unsendable);
}

template <class Io>
void fields(Io& io, Fields<Io, OpenEvents> m) {
  io(m.session);
  io.field(m.token);
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
void fields(Io& /*io*/, Fields<Io, TopologyChanged> /*m*/) {}

template <class Io>
void fields(Io& io, Fields<Io, OpenGraph> m) {
  io(m.session);
  io.field(m.token);
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

// Reads the fields into body if M has this kind. Returns whether it has.
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
