#include "terminal/alternate_signal_stack.h"

namespace flowscope {
namespace {

// The handlers need little; the rest is what the kernel puts on the stack for the widest registers.
constexpr std::size_t StackSize = 65536;

}  // namespace

// Not initialized: the system would have to provide every page of it, on each start, for a stack that is rarely used.
AlternateSignalStack::AlternateSignalStack() : memory_(std::make_unique_for_overwrite<std::byte[]>(StackSize)) {
  stack_t stack{};
  stack.ss_sp = memory_.get();
  stack.ss_size = StackSize;
  sigaltstack(&stack, &before_);
}

AlternateSignalStack::~AlternateSignalStack() { sigaltstack(&before_, nullptr); }

}  // namespace flowscope
