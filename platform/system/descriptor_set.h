// Several descriptors in one.
#pragma once

namespace sys {

// A descriptor that is readable while any of a set is. The descriptors of the set must outlive it.
class DescriptorSet {
 public:
  // Makes an empty set. Throws std::system_error if the system has no descriptor left.
  DescriptorSet();
  DescriptorSet(const DescriptorSet&) = delete;
  DescriptorSet& operator=(const DescriptorSet&) = delete;
  ~DescriptorSet();

  // Throws std::system_error if the system refuses.
  void add(int descriptor);

  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace sys
