#include "traffic/flowscope_port_midi.h"

#include <span>

#include "terminal/waiting_stream.h"
#include "traffic/message_kind.h"
#include "traffic/traffic_output.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

FlowScopePortMIDI::FlowScopePortMIDI(EvtSrv::EventPortManager& manager, TrafficShell& shell)
    : StreamPortMIDI(manager), shell_(shell) {}

EvtSrv::EventResult FlowScopePortMIDI::receiveMain(const char* name, unsigned type, EvtSrv::MemoryHolder* data,
                                                   EvtSrv::MemoryHolder* /*reply*/) {
  if (type != EvtSrv::EvtTyp_Debug_Receive) return EvtSrv::EvtRes_Success;
  RecordDecoder decoder(*data);
  while (const auto record = decoder.next()) {
    if (trafficOutput().trafficMode != TrafficOff) handleRecord(name, *record);
  }
  return decoder.ok() ? EvtSrv::EvtRes_Success : EvtSrv::EvtRes_UnknownError;
}

void FlowScopePortMIDI::handleRecord(const char* name, const Record& record) {
  const std::span<const std::uint8_t> message = record.message;
  const std::uint16_t group = record.group;
  switch (kindOf(message)) {
    case MessageKind::ErrorData:
      return handleErrorData(name, message.data(), message.size(), group);
    case MessageKind::NoteOff:
      return handleNoteOff(name, message[1], message[2], group);
    case MessageKind::NoteOn:
      return handleNoteOn(name, message[1], message[2], group);
    case MessageKind::PolyAfter:
      return handlePolyAfter(name, message[1], message[2], group);
    case MessageKind::ControlChange:
      return handleControlChange(name, message[1], message[2], group);
    case MessageKind::ProgramChange:
      return handleProgramChange(name, message[1], group);
    case MessageKind::AfterTouch:
      return handleAfterTouch(name, message[1], group);
    case MessageKind::PitchBend:
      return handlePitchBend(name, message[1], message[2], group);
    case MessageKind::SystemExclusive:
      return handleSystemExclusive(name, message.data(), message.size(), group);
    case MessageKind::SystemCommon:
      return handleSystemCommon(name, message.data(), message.size(), group);
    case MessageKind::RealTime:
      return handleRealTimeMessage(name, message[0], group);
    case MessageKind::Meta:
      return handleMetaEvent(name, message.data(), message.size(), group);
  }
}

void FlowScopePortMIDI::handleErrorData(const char* name, const std::uint8_t* bytes, std::size_t length,
                                        std::uint16_t /*group*/) {
  if (labelled_) print(formatErrorData(line_, {bytes, length}, name));
}

void FlowScopePortMIDI::handleNoteOff(const char* name, std::uint8_t note, std::uint8_t velocity, std::uint16_t group) {
  printChannelMessage(name, {ChannelKind::NoteOff, note, velocity, group});
}

void FlowScopePortMIDI::handleNoteOn(const char* name, std::uint8_t note, std::uint8_t velocity, std::uint16_t group) {
  printChannelMessage(name, {ChannelKind::NoteOn, note, velocity, group});
}

void FlowScopePortMIDI::handlePolyAfter(const char* name, std::uint8_t note, std::uint8_t value, std::uint16_t group) {
  printChannelMessage(name, {ChannelKind::PolyAfter, note, value, group});
}

void FlowScopePortMIDI::handleControlChange(const char* name, std::uint8_t number, std::uint8_t value,
                                            std::uint16_t group) {
  printChannelMessage(name, {ChannelKind::ControlChange, number, value, group});
}

void FlowScopePortMIDI::handleProgramChange(const char* name, std::uint8_t number, std::uint16_t group) {
  printChannelMessage(name, {ChannelKind::ProgramChange, number, 0, group});
}

void FlowScopePortMIDI::handleAfterTouch(const char* name, std::uint8_t value, std::uint16_t group) {
  printChannelMessage(name, {ChannelKind::AfterTouch, value, 0, group});
}

void FlowScopePortMIDI::handlePitchBend(const char* name, std::uint8_t lsb, std::uint8_t msb, std::uint16_t group) {
  printChannelMessage(name, {ChannelKind::PitchBend, lsb, msb, group});
}

void FlowScopePortMIDI::handleSystemExclusive(const char* name, const std::uint8_t* bytes, std::size_t length,
                                              std::uint16_t group) {
  printLong(LongKind::SystemExclusive, name, {group, {bytes, length}});
}

void FlowScopePortMIDI::handleSystemCommon(const char* name, const std::uint8_t* bytes, std::size_t length,
                                           std::uint16_t group) {
  printLong(LongKind::SystemCommon, name, {group, {bytes, length}});
}

void FlowScopePortMIDI::handleRealTimeMessage(const char* name, std::uint8_t status, std::uint16_t group) {
  print(formatRealTime(line_, status, group, name, form()));
}

void FlowScopePortMIDI::handleMetaEvent(const char* name, const std::uint8_t* bytes, std::size_t length,
                                        std::uint16_t group) {
  printLong(LongKind::Meta, name, {group, {bytes, length}});
}

void FlowScopePortMIDI::printChannelMessage(const char* name, const ChannelMessage& message) {
  print(formatChannelMessage(line_, message, name, form()));
}

void FlowScopePortMIDI::printLong(LongKind kind, const char* name, const Record& record) {
  if (!labelled_) {
    // formatRawLong may end the process; what was printed before must be out by then.
    writeCollected();
    flushStream(shell_.output().stream());
    return print(formatRawLong(record.message, record.group));
  }
  print(formatHeader(line_, kind, name, record.message.size()));
  if (kind != LongKind::Meta) {
    for (const std::uint8_t byte : record.message) print(formatByte(line_, byte));
  }
  print(formatTrailer(line_, kind, record.group));
}

void FlowScopePortMIDI::print(std::string_view text) {
  piece_ = text;
  printTraffic(shell_, piece_);
}

}  // namespace flowscope
