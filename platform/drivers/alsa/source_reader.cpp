#include "platform/drivers/alsa/source_reader.h"

#include <new>
#include <utility>

#include "platform/midi/midi_bytes.h"

namespace drivers::alsa {

EventDecoder::EventDecoder() {
  snd_midi_event_t* decoder = nullptr;
  if (snd_midi_event_new(bytes_.size(), &decoder) < 0) throw std::bad_alloc();
  decoder_.reset(decoder);
  // No running status: every message has its own status byte.
  snd_midi_event_no_status(decoder, 1);
}

std::span<const std::uint8_t> EventDecoder::decode(const snd_seq_event_t& event) {
  const long size = snd_midi_event_decode(decoder_.get(), bytes_.data(), static_cast<long>(bytes_.size()), &event);
  return {bytes_.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
}

void SourceReader::read(const QueuedEvent& event, EventDecoder& decoder, const midi::MidiReader::Take& take) {
  if (event.event.type != SND_SEQ_EVENT_SYSEX) {
    others_.read(decoder.decode(event.event), take);
    return;
  }
  if (event.data.empty()) return;
  const std::uint8_t first = event.data.front();
  if (skipsTail_ && (!midi::isStatusByte(first) || first == midi::EndOfExclusive)) return;
  skipsTail_ = false;
  exclusive_.read(event.data, take);
}

void SourceReader::cut() {
  const std::uint64_t before = exclusive_.takeBroken();
  exclusive_.restart();
  exclusive_.takeBroken();
  broken_ += before;
  skipsTail_ = true;
}

std::uint64_t SourceReader::takeBroken() {
  return std::exchange(broken_, 0) + exclusive_.takeBroken() + others_.takeBroken();
}

}  // namespace drivers::alsa
