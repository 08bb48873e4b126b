// The file descriptors of the process.
#pragma once

namespace streamd {

// Opens /dev/null as each standard descriptor that the parent closed. Call it before anything else is opened: that
// would get such a number, and the log would be written into it.
void openStandardDescriptors();

// Raises the descriptor limit as far as the system allows; every client takes three. Connections above the limit are
// closed as soon as they are accepted: a client that opens too many does not harm clients that are already connected.
void raiseDescriptorLimit();

}  // namespace streamd
