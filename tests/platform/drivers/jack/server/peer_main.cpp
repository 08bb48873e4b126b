// A client of JACK's in a process of its own: peer_process.h.
//
// jack_peer NAME SOURCE SINK: emits from its one source what it reads, an event in hex a line, and writes in the same
// way what arrives at its one sink; first an empty line, when it is there. Ends with its input.
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <string>

#include "tests/platform/drivers/jack/server/jack_peer.h"
#include "tests/platform/midi/smf_maker.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  try {
    const std::string source = argv[2];
    const std::string sink = argv[3];
    drivers::jack::JackPeer peer(argv[1], {source}, {sink});
    std::puts("");
    std::fflush(stdout);
    pollfd input{STDIN_FILENO, POLLIN, 0};
    std::string read;
    while (true) {
      if (poll(&input, 1, 1) > 0) {
        std::array<char, 4096> buffer{};
        const auto size = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (size <= 0) return 0;
        read.append(buffer.data(), static_cast<std::size_t>(size));
      }
      if (const auto end = read.find('\n'); end != std::string::npos) {
        peer.emit(source, {midi::fromHex(read.substr(0, end))});
        read.erase(0, end + 1);
      }
      for (const auto& event : peer.arrived(sink)) std::printf("%s\n", midi::toHex(event).c_str());
      std::fflush(stdout);
    }
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "jack_peer: %s\n", failure.what());
    return 1;
  }
}
