// A stack for signal handlers, for a thread whose own stack may have run out.
#pragma once

#include <csignal>
#include <cstddef>
#include <memory>

namespace flowscope {

// Belongs to the thread that makes it, which must also be the one that destroys it; the stack that the thread had
// before comes back then.
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
