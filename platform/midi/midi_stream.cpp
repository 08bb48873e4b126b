#include "platform/midi/midi_stream.h"

#include <algorithm>
#include <utility>

#include "platform/device/limits.h"
#include "platform/midi/midi_bytes.h"

namespace midi {
namespace {

constexpr std::uint8_t ChannelBits = 0x0F;
constexpr std::uint16_t Channels = 16;

constexpr bool isRealTime(std::uint8_t byte) { return byte >= TimingClock; }

}  // namespace

void MidiReader::read(std::span<const std::uint8_t> bytes, const Take& take) {
  for (const std::uint8_t byte : bytes) {
    if (isRealTime(byte)) {
      if (messageSize(byte) == 1) {
        take({0, {&byte, 1}});
      } else {
        ++broken_;
      }
    } else if (isStatusByte(byte)) {
      readStatus(byte, take);
    } else {
      readData(byte, take);
    }
  }
}

std::uint64_t MidiReader::takeBroken() { return std::exchange(broken_, 0); }

void MidiReader::restart() {
  if (!pending_.empty()) ++broken_;
  pending_.clear();
  running_ = 0;
  skipping_ = false;
}

void MidiReader::readStatus(std::uint8_t byte, const Take& take) {
  const bool ended = byte == EndOfExclusive && !pending_.empty() && pending_.front() == SystemExclusive;
  const bool endedSkipped = byte == EndOfExclusive && skipping_;
  if (ended) {
    pending_.push_back(byte);
    finish(take);
    return;
  }
  restart();
  if (endedSkipped) return;
  if (byte != SystemExclusive && messageSize(byte) == 0) {
    ++broken_;
    // What follows is its data, which is not counted again.
    skipping_ = true;
    return;
  }
  if (isChannelStatus(byte)) running_ = byte;
  pending_.push_back(byte);
  if (messageSize(byte) == 1) finish(take);
}

void MidiReader::readData(std::uint8_t byte, const Take& take) {
  if (skipping_) return;
  if (pending_.empty()) {
    if (running_ == 0) {
      ++broken_;
      skipping_ = true;
      return;
    }
    pending_.push_back(running_);
  }
  pending_.push_back(byte);
  if (pending_.front() != SystemExclusive) {
    if (pending_.size() == messageSize(pending_.front())) finish(take);
    return;
  }
  // The byte that ends it would exceed the limit.
  if (pending_.size() < device::MaxMessageBytes) return;
  restart();
  skipping_ = true;
}

void MidiReader::finish(const Take& take) {
  const std::uint8_t status = pending_.front();
  std::uint16_t group = 0;
  if (isChannelStatus(status)) {
    group = status & ChannelBits;
    pending_.front() = static_cast<std::uint8_t>(status & ~ChannelBits);
  }
  take({group, pending_});
  pending_.clear();
}

Sendable appendMidi(const device::Message& message, std::vector<std::uint8_t>& out) {
  const auto bytes = message.bytes;
  if (bytes.empty()) return Sendable::NotOneMessage;
  const std::uint8_t status = bytes.front();
  auto data = bytes.subspan(1);
  if (status == SystemExclusive) {
    if (data.empty() || data.back() != EndOfExclusive) return Sendable::NotOneMessage;
    data = data.first(data.size() - 1);
  } else if (messageSize(status) != bytes.size()) {
    return Sendable::NotOneMessage;
  }
  if (std::ranges::any_of(data, isStatusByte)) return Sendable::NotOneMessage;
  std::uint8_t first = status;
  if (isChannelStatus(status) && message.group != 0) {
    if (message.group >= Channels || (status & ChannelBits) != 0) return Sendable::NoSuchChannel;
    first = static_cast<std::uint8_t>(status | message.group);
  }
  out.push_back(first);
  out.insert(out.end(), bytes.begin() + 1, bytes.end());
  return Sendable::Yes;
}

}  // namespace midi
