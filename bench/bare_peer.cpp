// What the service and its clients are compared with: the same hops over bare Unix stream sockets, and a bare start.
//
//   bare_peer relay IN OUT   accepts a sender and a reader, and forwards every frame
//   bare_peer print IN       prints a line for every message, as the console does, and flushes when none waits
//   bare_peer start          makes a socket pair, an epoll descriptor and a thread, prints a prompt, and ends when its
//                            input ends
#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <thread>

#include "bench/stream_sockets.h"

namespace {

class Relay {
 public:
  Relay(int in, int out) : in_(in), out_(out), loop_(epoll_create1(EPOLL_CLOEXEC)) {
    if (!loop_) throw bench::socketError("epoll_create1");
    watch(EPOLL_CTL_ADD, in_, EPOLLIN);
    watch(EPOLL_CTL_ADD, out_, 0);
  }

  // Until the sender or the reader has gone.
  void run() {
    for (;;) {
      epoll_event event{};
      if (epoll_wait(loop_.get(), &event, 1, -1) < 0) throw bench::socketError("epoll_wait");
      if (event.data.fd == in_ ? !forward() : !write()) return;
    }
  }

 private:
  void watch(int operation, int socket, std::uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.fd = socket;
    if (epoll_ctl(loop_.get(), operation, socket, &event) != 0) throw bench::socketError("epoll_ctl");
  }

  bool forward() {
    const ssize_t size = recv(in_, buffer_.data(), buffer_.size(), MSG_DONTWAIT);
    if (size < 0 && errno == EAGAIN) return true;
    if (size <= 0) return false;
    relay_.arrived({buffer_.data(), static_cast<std::size_t>(size)});
    return write();
  }

  // Reads no more while the reader takes no more.
  bool write() {
    const auto bytes = relay_.waiting();
    const ssize_t size = bytes.empty() ? 0 : send(out_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (size < 0 && errno != EAGAIN) return false;
    if (size > 0) relay_.written(static_cast<std::size_t>(size));
    const bool full = !relay_.waiting().empty();
    if (full != full_) {
      full_ = full;
      watch(EPOLL_CTL_MOD, in_, full ? 0U : std::uint32_t{EPOLLIN});
      watch(EPOLL_CTL_MOD, out_, full ? std::uint32_t{EPOLLOUT} : 0U);
    }
    return true;
  }

  int in_;
  int out_;
  testsupport::UniqueFd loop_;
  bool full_ = false;
  bench::FrameRelay relay_;
  std::array<std::uint8_t, 65536> buffer_{};
};

int relay(const std::string& from, const std::string& to) {
  const auto senders = bench::listenAt(from);
  const auto readers = bench::listenAt(to);
  const auto in = bench::acceptFrom(senders);
  const auto out = bench::acceptFrom(readers);
  Relay(in.get(), out.get()).run();
  return 0;
}

int print(const std::string& from) {
  const auto in = bench::connectTo(from);
  bench::FrameSource frames(in.get());
  std::array<char, 128> line{};
  while (const auto message = frames.next([] { std::fflush(stdout); })) {
    if (message->size() < 3) return 1;
    const int size = std::snprintf(line.data(), line.size(), "0x%02X 0x%02X 0x%02X 0x%02X\n", unsigned{(*message)[0]},
                                   unsigned{(*message)[1]}, unsigned{(*message)[2]}, 0U);
    std::fwrite(line.data(), 1, static_cast<std::size_t>(size), stdout);
  }
  return 0;
}

int start() {
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) throw bench::socketError("socketpair");
  const testsupport::UniqueFd one(pair[0]);
  const testsupport::UniqueFd other(pair[1]);
  const testsupport::UniqueFd loop(epoll_create1(EPOLL_CLOEXEC));
  std::thread thread([] {});
  std::fputs("> ", stdout);
  std::fflush(stdout);
  thread.join();
  while (std::getchar() != EOF) {
  }
  return 0;
}

}  // namespace

int main(int count, char** words) {
  const std::string_view mode = count > 1 ? words[1] : "";
  try {
    if (mode == "relay" && count == 4) return relay(words[2], words[3]);
    if (mode == "print" && count == 3) return print(words[2]);
    if (mode == "start" && count == 2) return start();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "bare_peer: %s\n", failure.what());
    return 1;
  }
  std::fputs("usage: bare_peer relay IN OUT | print IN | start\n", stderr);
  return 2;
}
