#include "tests/platform/drivers/jack/server/peer_process.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>

#include "tests/platform/drivers/jack/server/jack_server.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;
using testsupport::UniqueFd;

constexpr auto Patience = 5s;
constexpr auto LeavingPatience = 1s;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    reading = UniqueFd(ends[0]);
    writing = UniqueFd(ends[1]);
  }

  UniqueFd reading;
  UniqueFd writing;
};

}  // namespace

PeerProcess::PeerProcess(const std::string& name, const std::string& source, const std::string& sink) {
  Pipe input;
  Pipe output;
  testsupport::ChildDescriptors descriptors;
  descriptors.duplicate(STDIN_FILENO, input.reading.get());
  descriptors.duplicate(STDOUT_FILENO, output.writing.get());
  descriptors.open(STDERR_FILENO, "/dev/null", O_WRONLY);
  input_ = std::move(input.writing);
  output_ = std::move(output.reading);
  child_.emplace(
      testsupport::Command{FLOWSCOPE_BINARY_DIR "/jack_peer", {name, source, sink}, JackServer::environment(), {}},
      descriptors);
  output.writing.reset();
  if (arrived() != "") throw std::runtime_error("the peer " + name + " does not come");
}

// A server whose client was killed takes five seconds or eleven to end.
PeerProcess::~PeerProcess() {
  input_.reset();
  child_->wait(testsupport::Deadline(LeavingPatience));
}

void PeerProcess::emit(const std::string& event) {
  const std::string line = event + "\n";
  if (write(input_.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    throw std::system_error(errno, std::generic_category(), "jack_peer");
  }
}

std::optional<std::string> PeerProcess::arrived() {
  const testsupport::Deadline deadline(Patience);
  std::array<char, 4096> buffer{};
  auto end = read_.find('\n');
  for (; end == std::string::npos; end = read_.find('\n')) {
    pollfd ready{output_.get(), POLLIN, 0};
    if (poll(&ready, 1, deadline.pollTimeout()) <= 0) return std::nullopt;
    const auto size = read(output_.get(), buffer.data(), buffer.size());
    if (size <= 0) return std::nullopt;
    read_.append(buffer.data(), static_cast<std::size_t>(size));
  }
  const std::string line = read_.substr(0, end);
  read_.erase(0, end + 1);
  return line;
}

}  // namespace drivers::jack
