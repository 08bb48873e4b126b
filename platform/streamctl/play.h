// streamctl play.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Plays a Standard MIDI File through a port, with a progress bar where standard error is a terminal. Dies of the
// signals StopSignals::Ending, once the service has taken what was handed over and what ends the notes that sound, and
// the bar is gone.
Outcome run(const PlayCommand& command, const ServicePlace& place);

}  // namespace streamctl
