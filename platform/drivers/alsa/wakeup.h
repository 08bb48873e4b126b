// Wakes the service's thread from another one.
#pragma once

namespace service::alsa {

// A descriptor that is readable from raise() to clear(). Both are for any thread.
class Wakeup {
 public:
  // Throws std::system_error when the system has no descriptor left.
  Wakeup();
  Wakeup(const Wakeup&) = delete;
  Wakeup& operator=(const Wakeup&) = delete;
  ~Wakeup();

  void raise() const noexcept;
  void clear() const noexcept;
  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace service::alsa
