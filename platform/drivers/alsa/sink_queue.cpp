#include "platform/drivers/alsa/sink_queue.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <utility>

#include "platform/drivers/alsa/receiver_cells.h"
#include "platform/midi/midi_bytes.h"

namespace drivers::alsa {
namespace {

constexpr std::size_t PieceBytes = 256;
constexpr std::size_t ShortBytes = 3;
constexpr int MostEvents = 512;
constexpr int NoCount = std::numeric_limits<int>::max();  // cells are not counted

}  // namespace

EventEncoder::EventEncoder() {
  snd_midi_event_t* encoder = nullptr;
  if (snd_midi_event_new(ShortBytes, &encoder) < 0) throw std::bad_alloc();
  encoder_.reset(encoder);
}

bool EventEncoder::encode(std::span<const std::uint8_t> message, snd_seq_event_t& event) {
  snd_midi_event_reset_encode(encoder_.get());
  const long used = snd_midi_event_encode(encoder_.get(), message.data(), static_cast<long>(message.size()), &event);
  return used == static_cast<long>(message.size()) && event.type != SND_SEQ_EVENT_NONE;
}

SinkQueue::SinkQueue(Address from, Address to, Receiver receiver)
    : from_(from), to_(to), receiver_(std::move(receiver)) {}

void SinkQueue::clear() {
  waiting_.clear();
  sent_ = 0;
  bytes_ = 0;
}

void SinkQueue::add(std::vector<std::uint8_t> message) {
  bytes_ += message.size();
  waiting_.push_back(std::move(message));
}

SinkQueue::Progress SinkQueue::send(const Client& client, EventEncoder& encoder) {
  for (int events = 0; events < MostEvents; ++events) {
    if (waiting_.empty()) return Progress::Done;
    const Progress progress = sendPiece(client, encoder);
    if (progress != Progress::More) return progress;
  }
  return waiting_.empty() ? Progress::Done : Progress::More;
}

// Returns what an event to this receiver may take.
SinkQueue::Room SinkQueue::room(const Client& client) const {
  if (receiver_.rawMidi) return {NoCount, roomAt(*receiver_.rawMidi).value_or(PieceBytes)};
  Room least{NoCount, PieceBytes};
  const auto consider = [&](std::uint8_t number) {
    const auto cells = cellsOf(client.descriptor(), number);
    if (!cells) return;
    least.cells = std::min(least.cells, cells->free);
    least.bytes = std::min(least.bytes, bytesIn(cells->all));
  };
  if (!receiver_.kernel) {
    consider(to_.client);
  } else {
    // The port holds nothing itself: it passes events on to its subscribers at once.
    for (const Address receiver : receiversOf(client, to_)) consider(receiver.client);
  }
  return least;
}

SinkQueue::Progress SinkQueue::sendPiece(const Client& client, EventEncoder& encoder) {
  if (receiver_.rawMidi && !std::exchange(opened_, true)) client.subscribe({from_, to_});
  auto& message = waiting_.front();
  const bool exclusive = message.front() == midi::SystemExclusive;
  const auto [cells, bytes] = room(client);
  // A buffer takes pieces of any size, but many small ones are slow. A pool takes no piece that is larger than itself.
  const std::size_t most = receiver_.rawMidi ? PieceBytes : bytes;
  const std::size_t size = exclusive ? std::min(message.size() - sent_, most) : message.size();
  if (exclusive && size == 0) return refuse(-ENOMEM);
  if (cells < cellsFor(exclusive ? size : 0) || (receiver_.rawMidi && bytes < size)) return Progress::Full;

  snd_seq_event_t event;
  snd_seq_ev_clear(&event);
  if (exclusive) {
    event.type = SND_SEQ_EVENT_SYSEX;
    event.flags = SND_SEQ_EVENT_LENGTH_VARIABLE;
    event.data.ext.len = static_cast<unsigned>(size);
    event.data.ext.ptr = &message[sent_];
  } else if (!encoder.encode(message, event)) {
    return refuse(-EINVAL);
  }
  snd_seq_ev_set_source(&event, from_.port);
  snd_seq_ev_set_dest(&event, to_.client, to_.port);
  snd_seq_ev_set_direct(&event);
  code_ = snd_seq_event_output_direct(client.handle(), &event);
  if (code_ == -EAGAIN || code_ == -ENOMEM || code_ == -EINTR) {
    // A port of the kernel passes the event on to several receivers. Some may have it already and must not get it
    // twice.
    if (!receiver_.kernel || code_ == -EINTR) return Progress::Full;
  } else if (code_ == -ENOENT || code_ == -ENXIO) {
    return Progress::Gone;
  } else if (code_ < 0) {
    return refuse(code_);
  }
  const bool partly = code_ < 0;
  sent_ += size;
  if (sent_ == message.size()) dropFirst();
  return partly ? Progress::Refused : Progress::More;
}

SinkQueue::Progress SinkQueue::refuse(int code) {
  code_ = code;
  dropFirst();
  return Progress::Refused;
}

void SinkQueue::dropFirst() {
  bytes_ -= waiting_.front().size();
  waiting_.pop_front();
  sent_ = 0;
}

}  // namespace drivers::alsa
