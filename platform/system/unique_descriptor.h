// Owns one file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace sys {

class UniqueDescriptor {
 public:
  UniqueDescriptor() = default;
  explicit UniqueDescriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  UniqueDescriptor(UniqueDescriptor&& other) noexcept : descriptor_(other.release()) {}
  UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept {
    if (this == &other) return *this;
    reset();
    descriptor_ = other.release();
    return *this;
  }
  UniqueDescriptor(const UniqueDescriptor&) = delete;
  UniqueDescriptor& operator=(const UniqueDescriptor&) = delete;
  ~UniqueDescriptor() { reset(); }

  // -1 if nothing is owned.
  int get() const noexcept { return descriptor_; }

  explicit operator bool() const noexcept { return descriptor_ >= 0; }

  // Returns the descriptor, which the caller owns from now on.
  int release() noexcept { return std::exchange(descriptor_, -1); }

  // Closes it.
  void reset() noexcept {
    if (descriptor_ >= 0) ::close(release());
  }

 private:
  int descriptor_ = -1;
};

}  // namespace sys
