// Files that the user names.
#pragma once

#include <cstdio>
#include <memory>

namespace flowscope {

// How many descriptors opening a file leaves for all else. What stays open leaves more, so that what is closed again
// can still be opened when there is no room for the former.
inline constexpr int KeptFromFilesThatStay = 64;
inline constexpr int KeptFromFilesThatAreClosed = 32;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// A file that is closed with its owner.
using OwnedFile = std::unique_ptr<std::FILE, CloseFile>;

// fopen(name, mode), for a file that programs which this one starts do not inherit. Null when it cannot be opened, with
// the reason in errno: EMFILE also when fewer than kept descriptors would be left. A file that is there to be emptied
// keeps what it holds then. Blocks like fopen: for the disk, and at a named pipe until somebody opens its other end.
// Thread-safe; but two threads that open at once may leave one descriptor fewer.
std::FILE* openFile(const char* name, const char* mode, int kept);

// Tells on standard error, in one line, that name was not opened because descriptors are kept.
void tellDescriptorsAreKept(const char* name);

}  // namespace flowscope
