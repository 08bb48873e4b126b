// Files that the user names.
#pragma once

#include <cstdio>
#include <memory>

namespace flowscope {

// How many descriptors opening a file must leave free. A file that stays open leaves more, so that files that are
// closed again can still be opened when no more of the former can.
inline constexpr int KeptFromFilesThatStay = 64;
inline constexpr int KeptFromFilesThatAreClosed = 32;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// A file that is closed with its owner.
using OwnedFile = std::unique_ptr<std::FILE, CloseFile>;

// fopen(name, mode) with close-on-exec. Returns null when the file cannot be opened, with the reason in errno: EMFILE
// also when fewer than kept descriptors would stay free. Then an existing file is not emptied. Blocks like fopen: for
// the disk, and at a named pipe until somebody opens its other end. Thread-safe, but two threads that open files at the
// same time may leave one descriptor fewer.
std::FILE* openFile(const char* name, const char* mode, int kept);

// Tells on standard error, in one line, that name was not opened because descriptors are kept.
void tellDescriptorsAreKept(const char* name);

}  // namespace flowscope
