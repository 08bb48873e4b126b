// A stack for signal handlers, for a thread whose own stack may have run out.
#pragma once

#include <csignal>
#include <cstddef>
#include <memory>

namespace flowscope {

// Sets the alternate signal stack of the thread that creates it. The same thread must destroy it; that restores the
// stack that the thread had before.
class AlternateSignalStack {
 public:
  AlternateSignalStack();
  AlternateSignalStack(const AlternateSignalStack&) = delete;
  AlternateSignalStack& operator=(const AlternateSignalStack&) = delete;
  ~AlternateSignalStack();

 private:
  std::unique_ptr<std::byte[]> memory_;
  stack_t before_{};
};

}  // namespace flowscope
