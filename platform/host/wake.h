// Wakes a thread that waits for sockets.
#pragma once

namespace host {

// A descriptor that becomes readable for good once wake() was called.
class Wake {
 public:
  // Throws std::system_error when the system has no descriptor left.
  Wake();
  Wake(const Wake&) = delete;
  Wake& operator=(const Wake&) = delete;
  ~Wake();

  // From any thread, and from signal handlers.
  void wake() noexcept;

  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace host
