#include "tests/support/full_terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "tests/support/unique_fd.h"

namespace testsupport {

std::string readFromFullTerminal(std::size_t expected, const std::function<void()>& write) {
  int master = -1;
  int slave = -1;
  if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("no pseudo terminal");
  const UniqueFd ownMaster(master);
  const UniqueFd ownSlave(slave);
  fcntl(slave, F_SETFL, fcntl(slave, F_GETFL) | O_NONBLOCK);
  const UniqueFd before(dup(STDERR_FILENO));
  dup2(slave, STDERR_FILENO);
  std::thread writer(write);
  // What comes first fills the terminal.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  std::string seen;
  pollfd ready{master, POLLIN, 0};
  while (seen.size() < expected && poll(&ready, 1, 10'000) > 0) {
    std::array<char, 4096> piece{};
    const ssize_t count = read(master, piece.data(), piece.size());
    if (count <= 0) break;
    seen.append(piece.data(), static_cast<std::size_t>(count));
  }
  writer.join();
  dup2(before.get(), STDERR_FILENO);
  return seen;
}

}  // namespace testsupport
