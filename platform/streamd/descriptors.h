// The file descriptors of the process.
#pragma once

namespace streamd {

// Raises the descriptor limit as far as the system allows; every client takes three.
void raiseDescriptorLimit();

}  // namespace streamd
