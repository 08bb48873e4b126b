#include "platform/drivers/foreign/sendable.h"

#include "platform/drivers/foreign/burst_log.h"
#include "platform/midi/midi_stream.h"

namespace drivers {

std::optional<std::string_view> appendSendable(const device::Message& message, std::vector<std::uint8_t>& bytes) {
  switch (midi::appendMidi(message, bytes)) {
    case midi::Sendable::NoSuchChannel:
      return unsent::NoSuchChannel;
    case midi::Sendable::NotOneMessage:
      return unsent::NotOneMessage;
    case midi::Sendable::Yes:
      break;
  }
  return std::nullopt;
}

}  // namespace drivers
