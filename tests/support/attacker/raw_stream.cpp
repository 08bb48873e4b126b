#include "tests/support/attacker/raw_stream.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <stdexcept>
#include <variant>

namespace attacker {

using testsupport::Deadline;

std::vector<std::uint8_t> frameOf(std::uint32_t tag, const wire::Body& body) {
  std::vector<std::uint8_t> frame;
  channel::appendFrame(wire::encode(tag, body), frame);
  return frame;
}

RawStream::RawStream(const std::string& path)
    : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) throw std::invalid_argument("too long for a socket: " + path);
  std::ranges::copy(path, std::begin(address.sun_path));
  const auto* any = reinterpret_cast<const sockaddr*>(&address);
  if (socket_ && connect(socket_.get(), any, sizeof address) != 0) socket_.reset();
}

std::size_t RawStream::write(Bytes bytes) {
  std::size_t written = 0;
  while (open() && written < bytes.size()) {
    const ssize_t size = send(socket_.get(), bytes.data() + written, bytes.size() - written, MSG_NOSIGNAL);
    if (size < 0 && errno == EAGAIN) break;
    if (size < 0 && errno != EINTR) socket_.reset();
    if (size > 0) written += static_cast<std::size_t>(size);
  }
  return written;
}

bool RawStream::writeAll(Bytes bytes, const Deadline& deadline) {
  for (;;) {
    bytes = bytes.subspan(write(bytes));
    if (bytes.empty() || !open() || deadline.passed()) return bytes.empty();
    wait(POLLOUT, deadline);
  }
}

void RawStream::read() {
  std::array<std::uint8_t, 65536> buffer;
  while (open() && !reader_.broken()) {
    const ssize_t size = recv(socket_.get(), buffer.data(), buffer.size(), 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size <= 0) return socket_.reset();
    reader_.feed({buffer.data(), static_cast<std::size_t>(size)});
  }
}

std::optional<wire::Envelope> RawStream::next() {
  const auto message = reader_.next();
  return message ? wire::decode(*message) : std::nullopt;
}

std::optional<wire::Envelope> RawStream::answer(std::uint32_t tag, const Deadline& deadline) {
  for (;;) {
    read();
    while (reader_.ready()) {
      if (auto envelope = next(); envelope && envelope->tag == tag) return envelope;
    }
    if (!open() || deadline.passed()) return std::nullopt;
    wait(POLLIN, deadline);
  }
}

std::optional<wire::Welcome> RawStream::greet(const Deadline& deadline) {
  if (!writeAll(frameOf(1, wire::Hello{}), deadline)) return std::nullopt;
  const auto envelope = answer(1, deadline);
  const auto* welcome = envelope ? std::get_if<wire::Welcome>(&envelope->body) : nullptr;
  return welcome ? std::optional(*welcome) : std::nullopt;
}

void RawStream::wait(short events, const Deadline& deadline) const {
  pollfd item{socket_.get(), events, 0};
  poll(&item, 1, deadline.pollTimeout());
}

}  // namespace attacker
