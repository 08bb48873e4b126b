#include "terminal/error_line.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <string>
#include <thread>

namespace flowscope {
namespace {

// What a terminal that does not block has no room for comes when it has.
TEST(ErrorLine, WaitsForRoomOnATerminalThatDoesNotBlock) {
  int master = -1;
  int slave = -1;
  ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
  fcntl(slave, F_SETFL, fcntl(slave, F_GETFL) | O_NONBLOCK);
  const int before = dup(STDERR_FILENO);
  dup2(slave, STDERR_FILENO);
  constexpr int Lines = 2000;
  std::string expected;
  for (int i = 0; i < Lines; ++i) expected += "flowscope: " + std::to_string(i) + "\r\n";
  std::thread writer([&] {
    for (int i = 0; i < Lines; ++i) sayError(std::to_string(i));
  });
  // What comes first fills the terminal.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  std::string seen;
  pollfd ready{master, POLLIN, 0};
  while (seen.size() < expected.size() && poll(&ready, 1, 10'000) > 0) {
    std::array<char, 4096> piece{};
    const ssize_t count = read(master, piece.data(), piece.size());
    if (count <= 0) break;
    seen.append(piece.data(), static_cast<std::size_t>(count));
  }
  writer.join();
  dup2(before, STDERR_FILENO);
  close(before);
  close(slave);
  close(master);
  EXPECT_TRUE(seen == expected) << seen.size() << " of " << expected.size() << " bytes";
}

}  // namespace
}  // namespace flowscope
