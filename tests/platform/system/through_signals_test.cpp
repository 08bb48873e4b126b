#include "platform/system/through_signals.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

namespace sys {
namespace {

// Calls that end with these values of errno, 0 for success; how many were made.
struct Made {
  int result = 0;
  int error = 0;
  std::size_t calls = 0;
};

Made make(const std::vector<int>& errors) {
  Made made;
  made.result = throughSignals([&] {
    errno = errors.at(made.calls++);
    return errno == 0 ? 5 : -1;
  });
  made.error = errno;
  return made;
}

TEST(ThroughSignals, RepeatsOnlyWhatASignalHasInterrupted) {
  const struct {
    std::vector<int> errors;
    int result;
    std::size_t calls;
  } table[] = {
      {{0}, 5, 1},
      {{EINTR, 0}, 5, 2},
      {{EINTR, EINTR, EINTR, 0}, 5, 4},
      {{EAGAIN}, -1, 1},
      {{EINTR, EHOSTUNREACH}, -1, 2},
  };
  for (const auto& row : table) {
    const Made made = make(row.errors);
    EXPECT_EQ(made.result, row.result);
    EXPECT_EQ(made.calls, row.calls);
    EXPECT_EQ(made.error, row.errors.back());
  }
}

}  // namespace
}  // namespace sys
