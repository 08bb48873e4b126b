// Programs that print the messages of songs, and whether they print them all.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "bench/message_account.h"
#include "bench/peers.h"
#include "tests/support/child.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/unique_fd.h"

namespace bench {

// Where a line of a program has the group id of a message.
enum class LineForm { Text, Json, Console };

// Reads the lines of one program, and counts the messages in them. Thread-safe.
class LineAccount {
 public:
  LineAccount(LineForm form, MessageAccount account) : form_(form), account_(std::move(account)) {}

  // rest: what the last call for the same descriptor has left of a line.
  void feed(std::string_view bytes, std::string& rest) {
    const std::scoped_lock lock(mutex_);
    std::size_t begin = 0;
    for (std::size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n', begin)) {
      if (rest.empty()) {
        line(bytes.substr(begin, end - begin));
      } else {
        line(rest.append(bytes.substr(begin, end - begin)));
        rest.clear();
      }
      begin = end + 1;
    }
    rest.append(bytes.substr(begin));
  }

  MessageAccount account() const {
    const std::scoped_lock lock(mutex_);
    return account_;
  }

  // The first line that tells neither a message nor a loss; empty if there is none.
  std::string strangeLine() const {
    const std::scoped_lock lock(mutex_);
    return strange_;
  }

 private:
  // The number at the begin of a text.
  template <class Number>
  static std::optional<Number> numberAt(std::string_view text, int base = 10) {
    Number number{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return result.ec == std::errc() ? std::optional(number) : std::nullopt;
  }

  // What follows the last (the first, if first) occurrence of a mark; empty without it.
  static std::string_view behind(std::string_view text, std::string_view mark, bool first = true) {
    const std::size_t at = first ? text.find(mark) : text.rfind(mark);
    return at == std::string_view::npos ? std::string_view() : text.substr(at + mark.size());
  }

  void line(std::string_view text) {
    if (!message(text) && !loss(text) && strange_.empty()) strange_ = text;
  }

  bool message(std::string_view text) {
    const auto port = numberAt<std::size_t>(behind(text, "SongOut"));
    const auto group = port ? groupIn(text) : std::nullopt;
    if (!group) return false;
    account_.printed(*port - 1, *group);
    return true;
  }

  std::optional<std::uint16_t> groupIn(std::string_view text) const {
    switch (form_) {
      case LineForm::Text:
        return numberAt<std::uint16_t>(behind(behind(text, "SongOut"), " "));
      case LineForm::Json:
        return numberAt<std::uint16_t>(behind(text, "\"group\":"));
      case LineForm::Console:
        return numberAt<std::uint16_t>(behind(text, ":grpId= 0x", false), 16);
    }
    return std::nullopt;
  }

  bool loss(std::string_view text) {
    const std::size_t end =
        text.find(text.find(" messages lost: ") != std::string_view::npos ? " messages lost: " : " message lost: ");
    if (end == std::string_view::npos) return false;
    const std::size_t blank = text.rfind(' ', end - 1);
    const auto count = numberAt<std::uint64_t>(text.substr(blank == std::string_view::npos ? 0 : blank + 1));
    if (!count) return false;
    account_.toldLost(*count);
    return true;
  }

  LineForm form_;
  mutable std::mutex mutex_;
  MessageAccount account_;
  std::string strange_;
};

// streamctl watch on all ports of the songs.
class Watcher {
 public:
  Watcher(const std::string& endpoint, const std::vector<std::string>& ports, LineForm form, bool fromTheFirst)
      : lines_(form, MessageAccount(ports.size(), fromTheFirst)),
        child_(commandOf("streamctl", argumentsFor(endpoint, ports, form)), prepared()) {
    for (auto& pipe : pipes_) pipe.in = testsupport::UniqueFd();
    thread_ = std::thread([this] { read(); });
  }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;
  ~Watcher() {
    child_.signal(SIGKILL);
    if (thread_.joinable()) thread_.join();
  }

  pid_t id() const { return child_.id(); }
  const LineAccount& lines() const { return lines_; }

  void stall() { child_.signal(SIGSTOP); }
  void goOn() { child_.signal(SIGCONT); }

  // Ends the program with this signal, and counts all that it has printed. Returns nullopt if it does not end.
  std::optional<testsupport::ExitStatus> end(int signal) {
    child_.signal(signal);
    const auto status = child_.wait(testsupport::Deadline(Patience));
    if (!status) child_.signal(SIGKILL);
    thread_.join();
    return status;
  }

 private:
  struct Pipe {
    testsupport::UniqueFd out;
    testsupport::UniqueFd in;
    std::string rest;
  };

  static std::vector<std::string> argumentsFor(const std::string& endpoint, const std::vector<std::string>& ports,
                                               LineForm form) {
    std::vector<std::string> arguments{"--endpoint", endpoint, "watch"};
    if (form == LineForm::Json) arguments.emplace_back("--json");
    arguments.insert(arguments.end(), ports.begin(), ports.end());
    return arguments;
  }

  testsupport::ChildDescriptors& prepared() {
    for (auto& pipe : pipes_) {
      std::array<int, 2> ends{};
      if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe2");
      pipe.out = testsupport::UniqueFd(ends[0]);
      pipe.in = testsupport::UniqueFd(ends[1]);
    }
    descriptors_.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    descriptors_.duplicate(STDOUT_FILENO, pipes_[0].in.get());
    descriptors_.duplicate(STDERR_FILENO, pipes_[1].in.get());
    return descriptors_;
  }

  // Until the program has closed both pipes.
  void read() {
    std::vector<char> buffer(1U << 18U);
    std::array<pollfd, 2> ready{{{pipes_[0].out.get(), POLLIN, 0}, {pipes_[1].out.get(), POLLIN, 0}}};
    while (std::ranges::any_of(ready, [](const pollfd& pipe) { return pipe.fd >= 0; })) {
      ::poll(ready.data(), ready.size(), -1);
      for (std::size_t i = 0; i < ready.size(); ++i) {
        if (ready[i].fd < 0 || ready[i].revents == 0) continue;
        const ssize_t size = ::read(ready[i].fd, buffer.data(), buffer.size());
        if (size <= 0) {
          ready[i].fd = -1;
        } else {
          lines_.feed({buffer.data(), static_cast<std::size_t>(size)}, pipes_[i].rest);
        }
      }
    }
  }

  LineAccount lines_;
  std::array<Pipe, 2> pipes_;
  testsupport::ChildDescriptors descriptors_;
  testsupport::Child child_;
  std::thread thread_;
};

// A console on a terminal, which shows all ports of the songs. The first line of its output that is counted is the one
// after the prompt.
class SongConsole {
 public:
  SongConsole(const std::string& endpoint, std::size_t ports)
      : lines_(LineForm::Console, MessageAccount(ports, true)), terminal_(commandOf("flowscope", {}, endpoint), {}) {
    const std::size_t prompt = readUntil(terminal_, "$ ");
    terminal_.type("cat -l /Midi/Source/Song/*\r", testsupport::Deadline(Patience));
    readUntil(terminal_, "[ /]$ ", prompt);
    // The end of the prompt.
    while (terminal_.read(testsupport::Deadline(std::chrono::milliseconds(500)))) {
    }
    terminal_.takeOutput();
    thread_ = std::thread([this] { read(); });
  }
  SongConsole(const SongConsole&) = delete;
  SongConsole& operator=(const SongConsole&) = delete;
  ~SongConsole() { stop(); }

  pid_t id() const { return terminal_.id(); }
  const LineAccount& lines() const { return lines_; }

  // Nobody reads the terminal.
  void stall() { stalled_ = true; }
  void goOn() { stalled_ = false; }

  // Quits the console. Returns nullopt if it does not end.
  std::optional<testsupport::ExitStatus> quit() {
    stop();
    terminal_.type("quit\r", testsupport::Deadline(Patience));
    return terminal_.waitForExit(testsupport::Deadline(Patience));
  }

 private:
  void read() {
    std::string rest;
    while (!stopping_) {
      if (stalled_) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      } else if (terminal_.read(testsupport::Deadline(std::chrono::milliseconds(100)))) {
        lines_.feed(terminal_.takeOutput(), rest);
      }
    }
  }

  void stop() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
  }

  LineAccount lines_;
  testsupport::PseudoTerminal terminal_;
  std::atomic<bool> stalled_{false};
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace bench
