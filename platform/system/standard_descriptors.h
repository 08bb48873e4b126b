// The standard descriptors of the process.
#pragma once

namespace sys {

// Opens /dev/null as each standard descriptor that the parent closed. Writing to it fails, as to a closed descriptor.
// Call it before anything else is opened: a file or socket would otherwise get such a number, and output meant for the
// terminal would be written into it.
void openStandardDescriptors();

}  // namespace sys
