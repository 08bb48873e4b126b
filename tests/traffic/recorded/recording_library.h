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
  // Every connect and disconnect of an event port, in order: "connect NAME TARGET BYTES", "disconnect NAME".
  std::vector<std::string> calls;
  std::map<std::string, EvtSrv::EventResult> connectResults;  // of names that are not there: success
  EvtSrv::EventResult disconnectResult = EvtSrv::EvtRes_Success;

  // The device.
  std::vector<StrmSrv::GroupRecord> sources;
  std::vector<StrmSrv::GroupRecord> sinks;
};

// Made anew by reset().
Library& library();
void reset();

}  // namespace recording
