// Wakes a thread that waits for descriptors.
#pragma once

namespace sys {

// A descriptor that is readable from wake() until clear().
class EventDescriptor {
 public:
  // Throws std::system_error when the system has no descriptor left.
  EventDescriptor();
  EventDescriptor(const EventDescriptor&) = delete;
  EventDescriptor& operator=(const EventDescriptor&) = delete;
  ~EventDescriptor();

  // Does not block, and keeps errno. Any thread; signal handlers, too.
  void wake() noexcept;

  // Call this before you read what others have left: what they leave from now on wakes again.
  void clear() noexcept;

  // The same as long as this lives.
  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace sys
