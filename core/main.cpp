#include <cstdio>
#include <exception>
#include <span>

#include "core/program.h"
#include "core/shell_io.h"

int main(int count, char** words) {
  try {
    const std::span<const char* const> all(words, static_cast<std::size_t>(count));
    return flowscope::runProgram(all.subspan(all.empty() ? 0 : 1), flowscope::standardIo());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "flowscope: %s\n", error.what());
    return 0;
  }
}
