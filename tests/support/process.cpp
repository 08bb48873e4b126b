#include "tests/support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace testsupport {
namespace {

struct Pipe {
  UniqueFd readEnd;
  UniqueFd writeEnd;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe2");
  }
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

void doNotBlock(const UniqueFd& fd) { ::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) | O_NONBLOCK); }

// Appends what is ready to read; closes the descriptor at the end of the stream.
void drain(UniqueFd& fd, std::string& text) {
  std::array<char, 65536> piece{};
  for (;;) {
    const ssize_t count = ::read(fd.get(), piece.data(), piece.size());
    if (count > 0) {
      text.append(piece.data(), static_cast<std::size_t>(count));
    } else if (count < 0 && errno == EINTR) {
      continue;
    } else {
      if (count == 0 || errno != EAGAIN) {
        fd.reset();
      }
      return;
    }
  }
}

// Writes as much as fits; closes the descriptor after the last byte or if there is no reader.
void feed(UniqueFd& fd, std::string_view& rest) {
  while (!rest.empty()) {
    // Not write(): a program that has ended must not end the test with SIGPIPE.
    const ssize_t count = ::send(fd.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
    if (count >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      return;
    } else if (errno != EINTR) {
      rest = {};
    }
  }
  fd.reset();
}

}  // namespace

ProcessResult runProcess(const Command& command, std::string_view input, const Deadline& deadline) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  UniqueFd inputWrite(ends[0]);
  UniqueFd inputRead(ends[1]);
  Pipe output = makePipe();
  Pipe error = makePipe();
  ChildDescriptors descriptors;
  descriptors.duplicate(STDIN_FILENO, inputRead.get());
  descriptors.duplicate(STDOUT_FILENO, output.writeEnd.get());
  descriptors.duplicate(STDERR_FILENO, error.writeEnd.get());
  Child child(command, descriptors);
  inputRead.reset();
  output.writeEnd.reset();
  error.writeEnd.reset();
  for (const UniqueFd* fd : {&inputWrite, &output.readEnd, &error.readEnd}) {
    doNotBlock(*fd);
  }

  ProcessResult result;
  feed(inputWrite, input);
  while ((output.readEnd || error.readEnd) && !deadline.passed()) {
    // poll() ignores the closed descriptors, which are -1.
    std::array<pollfd, 3> ready{
        {{inputWrite.get(), POLLOUT, 0}, {output.readEnd.get(), POLLIN, 0}, {error.readEnd.get(), POLLIN, 0}}};
    ::poll(ready.data(), ready.size(), deadline.pollTimeout());
    if (ready[0].revents != 0) {
      feed(inputWrite, input);
    }
    if (ready[1].revents != 0) {
      drain(output.readEnd, result.standardOutput);
    }
    if (ready[2].revents != 0) {
      drain(error.readEnd, result.standardError);
    }
  }
  result.status = child.wait(deadline);
  return result;
}

}  // namespace testsupport
