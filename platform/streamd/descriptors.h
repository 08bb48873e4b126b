// The descriptors of the process.
#pragma once

namespace streamd {

// Opens on /dev/null what the parent has closed of the standard descriptors. Before anything else is opened, which
// would get such a number and be written into as the log.
void openStandardDescriptors();

// Takes as many descriptors as the system grants; every client takes three. Connections for which there are too few
// are closed as soon as they come: a client that opens too many harms nobody who is there already.
void raiseDescriptorLimit();

}  // namespace streamd
