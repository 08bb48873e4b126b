// A port that dumps the data of events as 32-bit words, to inspect the stream itself.
#pragma once

#include <cstdint>
#include <cstdio>

#include "strmsrv.h"
#include "traffic/record_decoder.h"

namespace flowscope {

class TrafficShell;

// No command creates one. It prints on the thread that calls receiveEvent of its manager, to the stream of the shell's
// output, in every traffic mode.
class SigwatchPort : public StrmSrv::StreamPort {
 public:
  // The shell must outlive the port's last event.
  SigwatchPort(EvtSrv::EventPortManager& manager, TrafficShell& shell) : StreamPort(manager), shell_(shell) {}

  // Prints the records of a debug-receive event: "size = [N]", then its words as "[0x%08x]". The text grows with each
  // word and is printed whole after the fourth word, after every third word from there, and at the end of the record.
  // Reads one word more than the size covers. The dump ends at the first missing word. Prints nothing for other types
  // of events. Returns EvtRes_Success.
  EvtSrv::EventResult receiveMain(const char* name, unsigned type, EvtSrv::MemoryHolder* data,
                                  EvtSrv::MemoryHolder* reply) override;

  // The last word read.
  std::uint32_t lastWord() const { return lastWord_; }

 private:
  // Prints the next count words; returns false if fewer are left (it prints those).
  bool dumpWords(EvtSrv::MemoryHolder& data, ByteOrder order, std::uint32_t count, std::FILE* out);

  TrafficShell& shell_;
  std::uint32_t lastWord_ = 0;
};

}  // namespace flowscope
