// A system-service library without a service: it has the same headers, writes down what the console asks of it, and
// answers what a test has laid out.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "evtsrv.h"
#include "strmsrv.h"

namespace recording {

struct Library {
  // What was asked, in order: of event ports "connect NAME TARGET BYTES" and "disconnect NAME"; of the MIDI port
  // "send KIND VALUE... to GROUP", in decimal; of the patcher "patch", "unpatch", "sinks of" and "sources of", with
  // ports as GROUP.INDEX and the arguments in their order.
  std::vector<std::string> calls;
  std::map<std::string, EvtSrv::EventResult> connectResults;  // of names that are not there: success
  EvtSrv::EventResult disconnectResult = EvtSrv::EvtRes_Success;

  StrmSrv::StreamResult sendResult = StrmSrv::StrmRes_NoService;
  std::map<std::string, StrmSrv::StreamResult> patchResults;  // by what stands behind "patch"; of others: success
  // By what stands behind "sinks of" and "sources of"; they stay as they are, whatever is patched.
  std::map<std::string, std::vector<StrmSrv::PortRecord>> sinksOf;
  std::map<std::string, std::vector<StrmSrv::PortRecord>> sourcesOf;

  // The device.
  std::vector<StrmSrv::GroupRecord> sources;
  std::vector<StrmSrv::GroupRecord> sinks;
};

// Made anew by reset().
Library& library();
void reset();

}  // namespace recording
