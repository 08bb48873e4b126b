#include "tests/support/pseudo_terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <system_error>

namespace testsupport {
namespace {

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

void closeOnExec(const UniqueFd& fd) { ::fcntl(fd.get(), F_SETFD, FD_CLOEXEC); }

void doNotBlock(const UniqueFd& fd) { ::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) | O_NONBLOCK); }

winsize systemSize(WindowSize size) { return {size.rows, size.columns, 0, 0}; }

}  // namespace

PseudoTerminal::PseudoTerminal(const Command& command, WindowSize size, Input input)
    : pipedInput_(input == Input::Pipe) {
  int master = -1;
  int slave = -1;
  const winsize window = systemSize(size);
  std::array<char, 128> name{};
  if (::openpty(&master, &slave, name.data(), nullptr, &window) != 0) {
    fail("openpty");
  }
  master_ = UniqueFd(master);
  slave_ = UniqueFd(slave);
  closeOnExec(master_);
  closeOnExec(slave_);
  doNotBlock(master_);
  settingsAtStart_ = settings();

  ChildDescriptors descriptors;
  UniqueFd pipeRead;
  descriptors.open(STDOUT_FILENO, name.data(), O_RDWR);
  descriptors.duplicate(STDERR_FILENO, STDOUT_FILENO);
  if (pipedInput_) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      fail("socketpair");
    }
    pipe_ = UniqueFd(ends[0]);
    pipeRead = UniqueFd(ends[1]);
    doNotBlock(pipe_);
    descriptors.duplicate(STDIN_FILENO, pipeRead.get());
  } else {
    descriptors.duplicate(STDIN_FILENO, STDOUT_FILENO);
  }
  child_.emplace(command, descriptors);
}

bool PseudoTerminal::type(std::string_view bytes, const Deadline& deadline) {
  while (!bytes.empty()) {
    const UniqueFd& target = pipedInput_ ? pipe_ : master_;
    if (!target) {
      return false;
    }
    // Not write() on the pipe: a program that no longer reads must not end the test with SIGPIPE.
    const ssize_t count = pipedInput_ ? ::send(target.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL)
                                      : ::write(target.get(), bytes.data(), bytes.size());
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      std::array<pollfd, 2> ready{{{target.get(), POLLOUT, 0}, {master_.get(), POLLIN, 0}}};
      ::poll(ready.data(), ready.size(), deadline.pollTimeout());
      readReady();
      if (deadline.passed()) {
        return false;
      }
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void PseudoTerminal::resize(WindowSize size) {
  const winsize window = systemSize(size);
  if (::ioctl(master_.get(), TIOCSWINSZ, &window) != 0) {
    fail("TIOCSWINSZ");
  }
}

bool PseudoTerminal::read(const Deadline& deadline) {
  while (!ended_) {
    std::array<pollfd, 2> ready{{{master_.get(), POLLIN, 0}, {child_->endDescriptor(), POLLIN, 0}}};
    ::poll(ready.data(), ready.size(), deadline.pollTimeout());
    // Checked before reading, so that everything written before the end is read below.
    const bool gone = child_->wait(Deadline(std::chrono::milliseconds(0))).has_value();
    if (readReady()) {
      return true;
    }
    ended_ = gone;
    if (deadline.passed()) {
      return false;
    }
  }
  return false;
}

std::optional<ExitStatus> PseudoTerminal::waitForExit(const Deadline& deadline) {
  while (!ended_ && !deadline.passed()) {
    read(deadline);
  }
  return ended_ ? child_->wait(deadline) : std::nullopt;
}

termios PseudoTerminal::settings() const {
  termios current{};
  if (::tcgetattr(slave_.get(), &current) != 0) {
    fail("tcgetattr");
  }
  return current;
}

bool PseudoTerminal::readReady() {
  std::array<char, 65536> piece{};
  const ssize_t count = ::read(master_.get(), piece.data(), piece.size());
  if (count <= 0) {
    return false;
  }
  output_.append(piece.data(), static_cast<std::size_t>(count));
  return true;
}

bool sameSettings(const termios& left, const termios& right) {
  return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag && left.c_cflag == right.c_cflag &&
         left.c_lflag == right.c_lflag &&
         std::equal(std::begin(left.c_cc), std::end(left.c_cc), std::begin(right.c_cc));
}

}  // namespace testsupport
