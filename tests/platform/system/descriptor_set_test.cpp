#include "platform/system/descriptor_set.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <system_error>

#include "platform/system/event_descriptor.h"

namespace sys {
namespace {

bool isReadable(const DescriptorSet& set) {
  pollfd polled{set.descriptor(), POLLIN, 0};
  return poll(&polled, 1, 0) == 1;
}

TEST(DescriptorSet, IsReadableWhileAnyOfItsDescriptorsIs) {
  EventDescriptor one;
  EventDescriptor two;
  DescriptorSet set;
  EXPECT_FALSE(isReadable(set));
  set.add(one.descriptor());
  set.add(two.descriptor());
  EXPECT_FALSE(isReadable(set));
  one.wake();
  two.wake();
  EXPECT_TRUE(isReadable(set));
  one.clear();
  EXPECT_TRUE(isReadable(set));
  two.clear();
  EXPECT_FALSE(isReadable(set));
}

TEST(DescriptorSet, ThrowsForADescriptorThatIsNotOpen) {
  DescriptorSet set;
  EXPECT_THROW(set.add(-1), std::system_error);
}

}  // namespace
}  // namespace sys
