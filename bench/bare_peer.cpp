// What the service and its clients are compared with: the same hops over bare ZeroMQ, and a bare start.
//
//   bare_peer relay IN OUT   forwards every message
//   bare_peer print IN       prints a line for every message, as the console does, and flushes when none waits
//   bare_peer start          makes a ZeroMQ context and a thread, prints a prompt, and ends when its input ends
#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <zmq.hpp>

namespace {

int relay(const std::string& from, const std::string& to) {
  zmq::context_t context;
  zmq::socket_t in(context, zmq::socket_type::pull);
  zmq::socket_t out(context, zmq::socket_type::push);
  in.bind(from);
  out.bind(to);
  zmq::message_t message;
  while (in.recv(message)) out.send(message, zmq::send_flags::none);
  return 0;
}

int print(const std::string& from) {
  zmq::context_t context;
  zmq::socket_t in(context, zmq::socket_type::pull);
  in.connect(from);
  std::array<char, 128> line{};
  for (zmq::message_t message;;) {
    if (!in.recv(message, zmq::recv_flags::dontwait)) {
      std::fflush(stdout);
      if (!in.recv(message)) return 0;
    }
    const auto* bytes = message.data<const std::uint8_t>();
    const int size =
        std::snprintf(line.data(), line.size(), "0x%02X 0x%02X 0x%02X 0x%02X\n", bytes[0], bytes[1], bytes[2], 0U);
    std::fwrite(line.data(), 1, static_cast<std::size_t>(size), stdout);
  }
}

int start() {
  const zmq::context_t context;
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
  if (mode == "relay" && count == 4) return relay(words[2], words[3]);
  if (mode == "print" && count == 3) return print(words[2]);
  if (mode == "start" && count == 2) return start();
  std::fputs("usage: bare_peer relay IN OUT | print IN | start\n", stderr);
  return 2;
}
