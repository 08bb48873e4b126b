// Several descriptors in one.
#pragma once

#include <initializer_list>

namespace drivers::alsa {

// A descriptor that is readable while one of a set is. Those of the set must live longer.
class DescriptorSet {
 public:
  // Throws std::system_error when the system has no descriptor left.
  DescriptorSet(std::initializer_list<int> descriptors);
  DescriptorSet(const DescriptorSet&) = delete;
  DescriptorSet& operator=(const DescriptorSet&) = delete;
  ~DescriptorSet();

  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace drivers::alsa
