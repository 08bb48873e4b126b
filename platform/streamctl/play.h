// streamctl play.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Plays a Standard MIDI File through a port, with a progress bar if standard error is a terminal. The signals
// StopSignals::Ending end the process, but only after the service has taken what was sent and what ends the sounding
// notes, and after the bar is removed.
Outcome run(const PlayCommand& command, const ServicePlace& place);

}  // namespace streamctl
