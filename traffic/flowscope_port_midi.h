// The shell's own MIDI port: it prints every message that reaches it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "strmsrv.h"
#include "traffic/message_formatter.h"
#include "traffic/record_decoder.h"
#include "traffic/text_piece.h"

namespace flowscope {

class TrafficShell;

// Receives and prints messages on the thread that calls receiveEvent of the port's manager. Once attached, it receives
// the traffic of other ports. The traffic mode and the text form decide how it prints.
class FlowScopePortMIDI : public StrmSrv::StreamPortMIDI {
 public:
  // The shell must outlive the port's last event.
  FlowScopePortMIDI(EvtSrv::EventPortManager& manager, TrafficShell& shell);

  // Sets the text form of everything printed from now on: labelled, or raw (the default). Any thread may call it.
  void setLabelled(bool labelled) { labelled_ = labelled; }
  bool labelled() const { return labelled_; }

  // Splits a debug-receive event into messages and calls the handler of each, in order; in traffic mode off, it calls
  // none. Returns EvtRes_UnknownError at a malformed record and handles nothing from there on. Otherwise returns
  // EvtRes_Success; it ignores events of other types.
  EvtSrv::EventResult receiveMain(const char* name, unsigned type, EvtSrv::MemoryHolder* data,
                                  EvtSrv::MemoryHolder* reply) override;

  // Each prints one message from the port with this name. In raw form, error data prints nothing, and system exclusive,
  // system common and meta messages end the process (see formatRawLong).
  void handleErrorData(const char* name, const std::uint8_t* bytes, std::size_t length, std::uint16_t group) override;
  void handleNoteOff(const char* name, std::uint8_t note, std::uint8_t velocity, std::uint16_t group) override;
  void handleNoteOn(const char* name, std::uint8_t note, std::uint8_t velocity, std::uint16_t group) override;
  void handlePolyAfter(const char* name, std::uint8_t note, std::uint8_t value, std::uint16_t group) override;
  void handleControlChange(const char* name, std::uint8_t number, std::uint8_t value, std::uint16_t group) override;
  void handleProgramChange(const char* name, std::uint8_t number, std::uint16_t group) override;
  void handleAfterTouch(const char* name, std::uint8_t value, std::uint16_t group) override;
  void handlePitchBend(const char* name, std::uint8_t lsb, std::uint8_t msb, std::uint16_t group) override;
  void handleSystemExclusive(const char* name, const std::uint8_t* bytes, std::size_t length,
                             std::uint16_t group) override;
  void handleSystemCommon(const char* name, const std::uint8_t* bytes, std::size_t length,
                          std::uint16_t group) override;
  void handleRealTimeMessage(const char* name, std::uint8_t status, std::uint16_t group) override;
  void handleMetaEvent(const char* name, const std::uint8_t* bytes, std::size_t length, std::uint16_t group) override;

 private:
  void handleRecord(const char* name, const Record& record);
  void printChannelMessage(const char* name, const ChannelMessage& message);
  void printLong(LongKind kind, const char* name, const Record& record);
  void print(std::string_view text);
  TextForm form() const { return labelled_ ? TextForm::Labelled : TextForm::Raw; }

  TrafficShell& shell_;
  std::atomic<bool> labelled_ = false;
  TextPiece line_;
  std::string piece_;  // kept to save an allocation per message

  static_assert(std::atomic<bool>::is_always_lock_free);
};

}  // namespace flowscope
