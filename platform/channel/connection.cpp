#include "platform/channel/connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "platform/system/through_signals.h"

namespace channel {
namespace {

// More may not wait for a service that takes nothing: requests and reports of what was read are short, and of long
// messages only one waits.
constexpr std::size_t MaxWaiting = 4U << 20U;

// Reads before the caller looks at the clock again. A message that has arrived takes fewer, unless it came byte by
// byte.
constexpr int ReadsAtOnce = 64;

}  // namespace

Connection::Connection(sys::UniqueDescriptor socket)
    : socket_(std::move(socket)), stream_(socket_.get()), closed_(!socket_) {}

bool Connection::send(std::span<const std::uint8_t> message) {
  if (closed_ || stream_.waiting() + message.size() > MaxWaiting) return false;
  stream_.queue(message);
  return stream_.flush();
}

bool Connection::flush(const Deadline& deadline) {
  while (!closed_) {
    if (!stream_.flush()) return false;
    if (stream_.waiting() == 0) return true;
    pollfd socket{socket_.get(), POLLOUT, 0};
    if (sys::throughSignals([&] { return poll(&socket, 1, static_cast<int>(deadline.left().count())); }) == 0) break;
  }
  return false;
}

std::optional<std::span<const std::uint8_t>> Connection::receive() {
  read();
  return stream_.next();
}

std::optional<std::span<const std::uint8_t>> Connection::receiveRest() {
  return stream_.drained() ? stream_.next() : receive();
}

void Connection::read() {
  if (!closed_ && stream_.waiting() > 0) stream_.flush();
  for (int reads = 0; reads < ReadsAtOnce && !closed_ && !stream_.ready(); ++reads) {
    const auto result = stream_.read();
    if (result == Stream::Read::Nothing) return;
    if (result == Stream::Read::Ended) close();
  }
}

void Connection::close() {
  // The descriptor stays, because its number must not become that of something else.
  if (!std::exchange(closed_, true)) shutdown(socket_.get(), SHUT_RDWR);
}

Connection::Wait Connection::wait(const Deadline& deadline) {
  // Otherwise poll says sooner whether there is anything.
  if (!stream_.drained()) read();
  for (bool isLast = false;;) {
    if (stream_.ready()) return Wait::Ready;
    if (closed_) return Wait::Closed;
    // However often single bytes arrive.
    if (std::exchange(isLast, deadline.passed())) return Wait::Over;
    const auto output = static_cast<short>(stream_.waiting() > 0 ? POLLOUT : 0);
    pollfd socket{socket_.get(), static_cast<short>(POLLIN | output), 0};
    const int ready = poll(&socket, 1, static_cast<int>(deadline.left().count()));
    if (ready < 0 && errno == EINTR) return Wait::Interrupted;
    if (ready == 0) return Wait::Over;
    read();
  }
}

bool Connection::waitThroughSignals(const Deadline& deadline) {
  for (;;) {
    const Wait result = wait(deadline);
    if (result == Wait::Ready) return true;
    if (result != Wait::Interrupted || deadline.passed()) return false;
  }
}

bool Connection::closed() {
  if (closed_ || stream_.failed()) return true;
  pollfd socket{socket_.get(), POLLRDHUP, 0};
  return sys::throughSignals([&] { return poll(&socket, 1, 0); }) > 0;
}

}  // namespace channel
