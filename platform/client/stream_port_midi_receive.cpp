#include "platform/wire/events.h"
#include "strmsrv.h"

namespace StrmSrv {
namespace {

// The least number of bytes of a message with this status; 0 for an unknown status.
std::size_t neededBytes(std::uint8_t status) {
  switch (status) {
    case 0x80:
    case 0x90:
    case 0xA0:
    case 0xB0:
    case 0xE0:
    case 0xF2:
      return 3;
    case 0xC0:
    case 0xD0:
    case 0xF1:
    case 0xF3:
      return 2;
    case 0xF0:
    case 0xF6:
    case 0xF7:
    case 0xF8:
    case 0xFA:
    case 0xFB:
    case 0xFC:
    case 0xFE:
    case 0xFF:
      return 1;
    default:
      return 0;
  }
}

// Calls the receiver of a message. Returns false if the bytes are not a message.
bool receive(StreamPortMIDI& port, const wire::Record& record) {
  const auto& bytes = record.message;
  const std::uint8_t status = bytes[0];
  const std::size_t needed = neededBytes(status);
  if (needed == 0 || bytes.size() < needed) return false;
  const std::uint8_t first = bytes.size() > 1 ? bytes[1] : std::uint8_t{0};
  const std::uint8_t second = bytes.size() > 2 ? bytes[2] : std::uint8_t{0};
  switch (status) {
    case 0x80:
      port.receiveNoteOff(first, second, record.group);
      break;
    case 0x90:
      port.receiveNoteOn(first, second, record.group);
      break;
    case 0xA0:
      port.receivePolyAfter(first, second, record.group);
      break;
    case 0xB0:
      port.receiveControlChange(first, second, record.group);
      break;
    case 0xC0:
      port.receiveProgramChange(first, record.group);
      break;
    case 0xD0:
      port.receiveAfterTouch(first, record.group);
      break;
    case 0xE0:
      port.receivePitchBend(first, second, record.group);
      break;
    case 0xF0:
    case 0xF7:
      port.receiveSystemExclusive(bytes.data(), bytes.size(), record.group);
      break;
    case 0xF1:
    case 0xF2:
    case 0xF3:
    case 0xF6:
      port.receiveSystemCommon(bytes.data(), bytes.size(), record.group);
      break;
    case 0xFF:
      if (bytes.size() > 1) {
        port.receiveMetaEvent(bytes.data(), bytes.size(), record.group);
        break;
      }
      [[fallthrough]];
    default:
      port.receiveRealTimeMessage(status, record.group);
      break;
  }
  return true;
}

}  // namespace

EvtSrv::EventResult StreamPortMIDI::receiveMain(const char* /*name*/, unsigned type, EvtSrv::MemoryHolder* data,
                                                EvtSrv::MemoryHolder* /*reply*/) {
  if (type != EvtSrv::EvtTyp_Debug_Receive || data == nullptr) return EvtSrv::EvtRes_Success;
  // Whatever the records are, the event has been read then.
  const std::uint8_t* first = data->getCurrentOffset(0);
  const auto left = static_cast<std::size_t>(data->buffer() + data->size() - first);
  data->getCurrentOffset(left);
  wire::RecordReader records({first, left}, wire::isBigEndian({data->buffer(), data->size()}));
  bool complete = true;
  while (const auto record = records.next()) complete &= receive(*this, *record);
  return complete && records.ok() ? EvtSrv::EvtRes_Success : EvtSrv::EvtRes_UnknownError;
}

}  // namespace StrmSrv
