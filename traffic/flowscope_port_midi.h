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

// Messages are received and printed on the thread that calls receiveEvent of the port's manager. Once attached, it
// receives the traffic of other ports; how it is printed, the traffic mode and the text form decide.
class FlowScopePortMIDI : public StrmSrv::StreamPortMIDI {
 public:
  // The shell must outlive the port's last event.
  FlowScopePortMIDI(EvtSrv::EventPortManager& manager, TrafficShell& shell);

  // The text form of what is printed from now on: labelled, or raw (the form at first). Any thread.
  void setLabelled(bool labelled) { labelled_ = labelled; }
  bool labelled() const { return labelled_; }

  // Takes a debug-receive event apart and calls the handler of each message, in order; in traffic mode off, none.
  // EvtRes_UnknownError for a malformed record, from which on nothing is handled; otherwise EvtRes_Success, also for
  // events of other types, which are not looked at.
  EvtSrv::EventResult receiveMain(const char* name, unsigned type, EvtSrv::MemoryHolder* data,
                                  EvtSrv::MemoryHolder* reply) override;

  // Each prints one message that came from the port called name. In raw form, error data print nothing, and system
  // exclusive, system common and meta messages end the process (see formatRawLong).
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
  std::string piece_;  // kept, which saves an allocation a message

  static_assert(std::atomic<bool>::is_always_lock_free);
};

}  // namespace flowscope
