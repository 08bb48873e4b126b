// The file descriptors of the process.
#pragma once

namespace streamd {

// Raises the descriptor limit as far as the system allows; every client takes three. Connections above the limit are
// closed as soon as they are accepted: a client that opens too many does not harm clients that are already connected.
void raiseDescriptorLimit();

}  // namespace streamd
