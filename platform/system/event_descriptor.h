// Tells the service's thread that another thread has put something somewhere.
#pragma once

namespace service {

// A descriptor that is readable from wake() until clear().
class Wakeup {
 public:
  // Throws std::system_error when the system has no descriptor left.
  Wakeup();
  Wakeup(const Wakeup&) = delete;
  Wakeup& operator=(const Wakeup&) = delete;
  ~Wakeup();

  // From any thread, also from one that must not wait.
  void wake();

  // What is put somewhere from now on wakes again. Look for what is there after this, not before.
  void clear();

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace service
