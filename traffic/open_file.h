// Opens the files that the user names.
#pragma once

#include <cstdio>
#include <memory>

namespace flowscope {

// How many descriptors opening a file must leave free. A file that stays open leaves more, so that files that are
// closed again can still be opened when no more files that stay can.
inline constexpr int KeptFromFilesThatStay = 64;
inline constexpr int KeptFromFilesThatAreClosed = 32;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// A file that its owner closes.
using OwnedFile = std::unique_ptr<std::FILE, CloseFile>;

// fopen(name, mode) with close-on-exec. Returns null if the file cannot be opened, with the reason in errno: EMFILE
// also if fewer than kept descriptors would stay free, and then an existing file is not emptied. Blocks like fopen: for
// the disk, and at a named pipe until another process opens its other end. Thread-safe, but two threads that open files
// at the same time may leave one descriptor fewer.
std::FILE* openFile(const char* name, const char* mode, int kept);

// Prints one line on standard error: name was not opened because descriptors are kept.
void tellDescriptorsAreKept(const char* name);

}  // namespace flowscope
