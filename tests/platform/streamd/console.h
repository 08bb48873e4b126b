// A person's console on a service.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "tests/platform/streamd/injector.h"
#include "tests/support/case_runner.h"
#include "tests/support/pseudo_terminal.h"

namespace streamd {

// flowscope on a pseudo terminal.
class Console {
 public:
  static constexpr std::chrono::seconds Patience{60};

  // Waits for the first prompt.
  explicit Console(const std::string& endpoint) : terminal_(command(endpoint), {}) { EXPECT_TRUE(shows("[ /]$ ")); }

  void type(std::string_view line) {
    EXPECT_TRUE(terminal_.type(std::string(line) + "\r", testsupport::Deadline(Patience)));
  }

  // Waits until text stands in what has been written since the last time.
  bool shows(std::string_view text) {
    const testsupport::Deadline deadline(Patience);
    for (std::size_t from = seen_;;) {
      const std::string& output = terminal_.output();
      const std::size_t found = output.find(text, from);
      if (found != std::string::npos) {
        seen_ = found + text.size();
        return true;
      }
      from = std::max(seen_, output.size() - std::min(output.size(), text.size()));
      if (!terminal_.read(deadline)) return false;
    }
  }

  // The numbers of the notes (see numberedNote) that stand in the output, in order, once it ends with that of last.
  std::vector<std::uint32_t> notesUntil(std::uint32_t last) {
    std::vector<std::uint32_t> numbers;
    if (!shows(rawLine(last))) return numbers;
    const std::string& all = terminal_.output();
    for (std::size_t at = all.find("0x90 "); at != std::string::npos && at < seen_; at = all.find("0x90 ", at + 1)) {
      unsigned low = 0;
      unsigned middle = 0;
      unsigned high = 0;
      if (std::sscanf(all.c_str() + at, "0x90 0x%x 0x%x 0x%x", &low, &middle, &high) == 3) {
        numbers.push_back(low | middle << 7U | high << 14U);
      }
    }
    return numbers;
  }

  testsupport::PseudoTerminal& terminal() { return terminal_; }

 private:
  static testsupport::Command command(const std::string& endpoint) {
    testsupport::Command command{FLOWSCOPE_BINARY_DIR "/flowscope", {}, {}, {}};
    command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
    command.environment["EVTSRV_ENDPOINT"] = endpoint;
    return command;
  }

  testsupport::PseudoTerminal terminal_;
  std::size_t seen_ = 0;
};

}  // namespace streamd
