// Several descriptors in one.
#pragma once

#include <initializer_list>

namespace sys {

// A descriptor that is readable while any of a set is. The descriptors of the set must outlive it.
class DescriptorSet {
 public:
  // Throws std::system_error if the system has no descriptor left.
  DescriptorSet(std::initializer_list<int> descriptors);
  DescriptorSet(const DescriptorSet&) = delete;
  DescriptorSet& operator=(const DescriptorSet&) = delete;
  ~DescriptorSet();

  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace sys
