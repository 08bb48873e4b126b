// The relay of bare_peer on Asio, to show what its loop costs.
//
//   asio_relay wait IN OUT    waits until the sender's socket can be read, then reads until it would block
//   asio_relay short IN OUT   the same, but a read that does not fill the buffer is the last one
//   asio_relay read IN OUT    reads asynchronously
#include <array>
#include <asio.hpp>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "bench/stream_sockets.h"

namespace {

using Socket = asio::local::stream_protocol::socket;
using asio::error_code;

enum class Shape { Wait, Short, Read };

class Relay {
 public:
  Relay(asio::io_context& loop, Socket in, Socket out, Shape shape)
      : loop_(loop), in_(std::move(in)), out_(std::move(out)), shape_(shape) {
    in_.non_blocking(true);
    out_.non_blocking(true);
  }

  // The loop ends when the sender or the reader has gone.
  void read() {
    if (shape_ == Shape::Read) {
      in_.async_read_some(asio::buffer(buffer_), [this](error_code error, std::size_t size) {
        if (error) return loop_.stop();
        relay_.arrived(std::span(buffer_).first(size));
        if (write()) read();
      });
    } else {
      in_.async_wait(Socket::wait_read, [this](error_code error) { error ? loop_.stop() : readNow(); });
    }
  }

 private:
  void readNow() {
    for (;;) {
      error_code error;
      const std::size_t size = in_.read_some(asio::buffer(buffer_), error);
      if (error == asio::error::would_block) break;
      if (error) return loop_.stop();
      relay_.arrived(std::span(buffer_).first(size));
      if (!write()) return;
      if (shape_ == Shape::Short && size < buffer_.size()) break;
    }
    read();
  }

  // False if the reader takes no more: reading continues when it does.
  bool write() {
    while (!relay_.waiting().empty()) {
      error_code error;
      const auto bytes = relay_.waiting();
      relay_.written(out_.write_some(asio::buffer(bytes.data(), bytes.size()), error));
      if (error == asio::error::would_block) {
        out_.async_wait(Socket::wait_write, [this](error_code failed) {
          if (failed) return loop_.stop();
          if (write()) read();
        });
        return false;
      }
      if (error) {
        loop_.stop();
        return false;
      }
    }
    return true;
  }

  asio::io_context& loop_;
  Socket in_;
  Socket out_;
  Shape shape_;
  bench::FrameRelay relay_;
  std::array<std::uint8_t, 65536> buffer_{};
};

int relay(Shape shape, const std::string& from, const std::string& to) {
  asio::io_context loop(1);
  asio::local::stream_protocol::acceptor senders(loop, from);
  asio::local::stream_protocol::acceptor readers(loop, to);
  Socket in = senders.accept();
  Relay made(loop, std::move(in), readers.accept(), shape);
  made.read();
  loop.run();
  return 0;
}

}  // namespace

int main(int count, char** words) {
  const std::string_view mode = count == 4 ? words[1] : "";
  try {
    if (mode == "wait") return relay(Shape::Wait, words[2], words[3]);
    if (mode == "short") return relay(Shape::Short, words[2], words[3]);
    if (mode == "read") return relay(Shape::Read, words[2], words[3]);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "asio_relay: %s\n", failure.what());
    return 1;
  }
  std::fputs("usage: asio_relay wait|short|read IN OUT\n", stderr);
  return 2;
}
