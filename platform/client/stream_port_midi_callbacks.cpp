#include "strmsrv.h"

namespace StrmSrv {

void StreamPortMIDI::receiveNoteOff(std::uint8_t /*note*/, std::uint8_t /*velocity*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::receiveNoteOn(std::uint8_t /*note*/, std::uint8_t /*velocity*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::receivePolyAfter(std::uint8_t /*note*/, std::uint8_t /*value*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::receiveControlChange(std::uint8_t /*number*/, std::uint8_t /*value*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::receiveProgramChange(std::uint8_t /*number*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::receiveAfterTouch(std::uint8_t /*value*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::receivePitchBend(std::uint8_t /*lsb*/, std::uint8_t /*msb*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::receiveSystemExclusive(const std::uint8_t* /*bytes*/, std::size_t /*length*/,
                                            std::uint16_t /*group*/) {}

void StreamPortMIDI::receiveSystemCommon(const std::uint8_t* /*bytes*/, std::size_t /*length*/,
                                         std::uint16_t /*group*/) {}

void StreamPortMIDI::receiveRealTimeMessage(std::uint8_t /*status*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::receiveMetaEvent(const std::uint8_t* /*bytes*/, std::size_t /*length*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::handleErrorData(const char* /*name*/, const std::uint8_t* /*bytes*/, std::size_t /*length*/,
                                     std::uint16_t /*group*/) {}

void StreamPortMIDI::handleNoteOff(const char* /*name*/, std::uint8_t /*note*/, std::uint8_t /*velocity*/,
                                   std::uint16_t /*group*/) {}

void StreamPortMIDI::handleNoteOn(const char* /*name*/, std::uint8_t /*note*/, std::uint8_t /*velocity*/,
                                  std::uint16_t /*group*/) {}

void StreamPortMIDI::handlePolyAfter(const char* /*name*/, std::uint8_t /*note*/, std::uint8_t /*value*/,
                                     std::uint16_t /*group*/) {}

void StreamPortMIDI::handleControlChange(const char* /*name*/, std::uint8_t /*number*/, std::uint8_t /*value*/,
                                         std::uint16_t /*group*/) {}

void StreamPortMIDI::handleProgramChange(const char* /*name*/, std::uint8_t /*number*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::handleAfterTouch(const char* /*name*/, std::uint8_t /*value*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::handlePitchBend(const char* /*name*/, std::uint8_t /*lsb*/, std::uint8_t /*msb*/,
                                     std::uint16_t /*group*/) {}

void StreamPortMIDI::handleSystemExclusive(const char* /*name*/, const std::uint8_t* /*bytes*/, std::size_t /*length*/,
                                           std::uint16_t /*group*/) {}

void StreamPortMIDI::handleSystemCommon(const char* /*name*/, const std::uint8_t* /*bytes*/, std::size_t /*length*/,
                                        std::uint16_t /*group*/) {}

void StreamPortMIDI::handleRealTimeMessage(const char* /*name*/, std::uint8_t /*status*/, std::uint16_t /*group*/) {}

void StreamPortMIDI::handleMetaEvent(const char* /*name*/, const std::uint8_t* /*bytes*/, std::size_t /*length*/,
                                     std::uint16_t /*group*/) {}

}  // namespace StrmSrv
