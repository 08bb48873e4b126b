// Wakes a thread that waits for descriptors.
#pragma once

namespace sys {

// A descriptor that is readable from wake() until clear().
class EventDescriptor {
 public:
  // Throws std::system_error if no descriptor is left.
  EventDescriptor();
  EventDescriptor(const EventDescriptor&) = delete;
  EventDescriptor& operator=(const EventDescriptor&) = delete;
  ~EventDescriptor();

  // Does not block, and keeps errno. Thread-safe and async-signal-safe.
  void wake() noexcept;

  // Call this before you read what other threads left: what they leave afterwards wakes the descriptor again.
  void clear() noexcept;

  // Never changes while this object lives.
  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace sys
