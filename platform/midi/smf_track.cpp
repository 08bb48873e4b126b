#include "platform/midi/smf_track.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/drivers/midi_bytes.h"
#include "platform/wire/messages.h"

namespace service {
namespace {

constexpr std::uint8_t MetaEvent = 0xFF;
constexpr std::uint8_t MetaEmptyText = 0x01;
constexpr std::uint8_t MetaEndOfTrack = 0x2F;
constexpr std::uint8_t MetaTempo = 0x51;
constexpr std::uint32_t MaxTick = 0x7FFFFFFF;  // libsmf counts ticks in an int

std::string hex(std::uint8_t byte) {
  constexpr const char* Digits = "0123456789ABCDEF";
  return {'0', 'x', Digits[byte >> 4U], Digits[byte & 0xFU]};
}

}  // namespace

std::optional<SmfProblem> SmfTrack::rewrite() {
  while (!ended_ && !in_.atEnd()) {
    if (!event()) return problem_;
  }
  if (inExclusive_) fail(in_.offset(), "the track ends inside a system exclusive message");
  if (!ended_) emitMeta(MetaEndOfTrack);
  return problem_;
}

bool SmfTrack::event() {
  const std::size_t start = in_.offset();
  const auto delta = in_.variable();
  if (!delta || in_.atEnd()) return fail(start, "the track ends inside an event");
  if (*delta > MaxTick - tick_) return fail(start, "the track is longer than 2^31 ticks");
  tick_ += *delta;
  delta_ = *delta;
  std::uint8_t status = in_.peek();
  if (isStatusByte(status)) {
    in_.number(1);
  } else {
    status = runningStatus_;
    if (status == 0) return fail(in_.offset(), "a data byte where an event should begin");
  }
  if (status == MetaEvent) return meta();
  if (status == EndOfExclusive || status == SystemExclusive) return exclusivePart(status == SystemExclusive);
  runningStatus_ = isChannelStatus(status) ? status : 0;
  return message(status, in_);
}

bool SmfTrack::meta() {
  const std::size_t start = in_.offset();
  const auto type = in_.number(1);
  const auto size = in_.variable();
  const auto bytes = size ? in_.take(*size) : std::nullopt;
  if (!type || !bytes) return fail(start, "the track ends inside a meta event");
  if (*type == MetaEndOfTrack) {
    ended_ = true;
    emitMeta(MetaEndOfTrack);
    return true;
  }
  if (*type == MetaTempo) {
    constexpr std::size_t TempoSize = 3;
    const auto tempo = SmfReader(*bytes).number(TempoSize);
    if (!tempo || *tempo == 0) return fail(start, "a tempo without a value");
    tempo_.push_back({tick_, *tempo});
  }
  emitMeta(MetaEmptyText);
  return true;
}

bool SmfTrack::exclusivePart(bool first) {
  const std::size_t start = in_.offset();
  const auto size = in_.variable();
  const auto bytes = size ? in_.take(*size) : std::nullopt;
  if (!bytes) return fail(start, "the track ends inside a system exclusive message");
  if (!first && !inExclusive_) return escaped(SmfReader(*bytes, in_.offset() - bytes->size()));
  if (first && inExclusive_) return fail(start, "a system exclusive message inside another one");
  if (first) exclusive_.assign(1, SystemExclusive);
  inExclusive_ = true;
  exclusive_.insert(exclusive_.end(), bytes->begin(), bytes->end());
  return endExclusive();
}

// What an 0xF7 event holds outside of a system exclusive message: whole messages, or the start of an exclusive one.
bool SmfTrack::escaped(SmfReader payload) {
  if (payload.atEnd()) emitMeta(MetaEmptyText);
  while (!payload.atEnd()) {
    const std::uint8_t status = payload.peek();
    if (status == SystemExclusive) {
      const auto rest = *payload.take(payload.left());
      exclusive_.assign(rest.begin(), rest.end());
      inExclusive_ = true;
      return endExclusive();
    }
    payload.number(1);
    if (!message(status, payload)) return false;
  }
  return true;
}

// Writes the message when its end has come; its parts so far stand for nothing but their time.
bool SmfTrack::endExclusive() {
  if (exclusive_.size() > wire::MaxMessageBytes) {
    return fail(in_.offset(),
                "a system exclusive message of more than " + std::to_string(wire::MaxMessageBytes) + " bytes");
  }
  if (exclusive_.size() == 1 || exclusive_.back() != EndOfExclusive) {
    emitMeta(MetaEmptyText);
    return true;
  }
  const auto inside = Bytes(exclusive_).subspan(1, exclusive_.size() - 2);
  if (std::any_of(inside.begin(), inside.end(), isStatusByte)) {
    return fail(in_.offset(), "a status byte inside a system exclusive message");
  }
  appendVariable(out_, std::exchange(delta_, 0));
  out_.push_back(SystemExclusive);
  appendVariable(out_, static_cast<std::uint32_t>(exclusive_.size() - 1));
  out_.insert(out_.end(), exclusive_.begin() + 1, exclusive_.end());
  inExclusive_ = false;
  return true;
}

bool SmfTrack::message(std::uint8_t status, SmfReader& from) {
  const std::size_t start = from.offset();
  if (inExclusive_) return fail(start, "a message inside a system exclusive message");
  const std::size_t size = messageSize(status);
  // libsmf has no form for a system reset, which looks like a meta event to it.
  if (size == 0 || status == MetaEvent) return fail(start, "an event with the status " + hex(status));
  const auto data = from.take(size - 1);
  if (!data) return fail(start, "the track ends inside a message");
  if (std::any_of(data->begin(), data->end(), isStatusByte)) return fail(start, "a data byte above 0x7F");
  std::array<std::uint8_t, 3> whole{status, 0, 0};
  std::copy(data->begin(), data->end(), whole.begin() + 1);
  emit(Bytes(whole).first(size));
  return true;
}

bool SmfTrack::fail(std::size_t offset, std::string cause) {
  problem_ = SmfProblem{offset, std::move(cause)};
  return false;
}

void SmfTrack::emit(Bytes bytes) {
  appendVariable(out_, std::exchange(delta_, 0));
  out_.insert(out_.end(), bytes.begin(), bytes.end());
}

void SmfTrack::emitMeta(std::uint8_t type) { emit(std::array<std::uint8_t, 3>{MetaEvent, type, 0}); }

}  // namespace service
