#include <array>
#include <span>

#include "platform/client/session.h"
#include "platform/wire/messages.h"
#include "strmsrv.h"

namespace StrmSrv {
namespace {

constexpr std::uint8_t NoteOff = 0x80;
constexpr std::uint8_t NoteOn = 0x90;
constexpr std::uint8_t PolyAfter = 0xA0;
constexpr std::uint8_t ControlChange = 0xB0;
constexpr std::uint8_t ProgramChange = 0xC0;
constexpr std::uint8_t AfterTouch = 0xD0;
constexpr std::uint8_t PitchBend = 0xE0;

}  // namespace

StreamResult StreamPortMIDI::sendMessage(std::span<const std::uint8_t> bytes, std::uint16_t group) {
  if (bytes.empty() || bytes.size() > device::MaxMessageBytes) return StrmRes_BadArgument;
  const auto connection = session();
  return connection && connection->send(portNumber(), group, bytes) ? StrmRes_Success : StrmRes_NoService;
}

StreamResult StreamPortMIDI::sendNoteOff(std::uint8_t note, std::uint8_t velocity, std::uint16_t group) {
  return sendMessage(std::array{NoteOff, note, velocity}, group);
}

StreamResult StreamPortMIDI::sendNoteOn(std::uint8_t note, std::uint8_t velocity, std::uint16_t group) {
  return sendMessage(std::array{NoteOn, note, velocity}, group);
}

StreamResult StreamPortMIDI::sendPolyAfter(std::uint8_t note, std::uint8_t value, std::uint16_t group) {
  return sendMessage(std::array{PolyAfter, note, value}, group);
}

StreamResult StreamPortMIDI::sendControlChange(std::uint8_t number, std::uint8_t value, std::uint16_t group) {
  return sendMessage(std::array{ControlChange, number, value}, group);
}

StreamResult StreamPortMIDI::sendProgramChange(std::uint8_t number, std::uint8_t /*second*/, std::uint8_t /*third*/,
                                               std::uint16_t group) {
  return sendMessage(std::array{ProgramChange, number}, group);
}

StreamResult StreamPortMIDI::sendAfterTouch(std::uint8_t value, std::uint16_t group) {
  return sendMessage(std::array{AfterTouch, value}, group);
}

StreamResult StreamPortMIDI::sendPitchBend(std::uint8_t lsb, std::uint8_t msb, std::uint16_t group) {
  return sendMessage(std::array{PitchBend, lsb, msb}, group);
}

StreamResult StreamPortMIDI::sendSystemExclusive(const std::uint8_t* bytes, std::size_t length, std::uint16_t group) {
  if (bytes == nullptr) return StrmRes_BadArgument;
  return sendMessage({bytes, length}, group);
}

}  // namespace StrmSrv
