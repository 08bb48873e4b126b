#include "terminal/waiting_stream.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

#include "terminal/awaited_room.h"

namespace flowscope {
namespace {

// Writes everything, unless there is an error.
ssize_t writeAll(void* cookie, const char* bytes, std::size_t size) {
  const auto descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
  std::size_t written = 0;
  AwaitedRoom room;
  while (written < size) {
    const ssize_t count = write(descriptor, bytes + written, size - written);
    if (count >= 0) {
      written += static_cast<std::size_t>(count);
      room.found();
    } else if (errno == EAGAIN) {
      room.await(descriptor, -1);
    } else if (errno != EINTR) {
      break;
    }
  }
  return static_cast<ssize_t>(written);
}

}  // namespace

std::FILE* openWaitingStream(int descriptor) {
  // The C library passes a pointer to the function; it holds the descriptor.
  void* const cookie =
      reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));  // NOLINT(performance-no-int-to-ptr)
  cookie_io_functions_t functions{};
  functions.write = writeAll;
  std::FILE* const stream = fopencookie(cookie, "w", functions);
  if (stream == nullptr) throw std::system_error(errno, std::generic_category(), "fopencookie");
  std::setvbuf(stream, nullptr, isatty(descriptor) == 1 ? _IOLBF : _IOFBF, BUFSIZ);
  return stream;
}

}  // namespace flowscope
