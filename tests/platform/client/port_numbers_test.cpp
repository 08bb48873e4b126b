#include "platform/client/port_numbers.h"

#include <gtest/gtest.h>

namespace client {
namespace {

using device::Side;

wire::Topology withGaps() {
  return {{{77, 1, "G", wire::TopologySide{4, "", {"", "b", "", "d"}}, wire::TopologySide{2, "", {"x", "y"}}}}};
}

TEST(PortNumbers, WithoutGapsTheNumbersAreThoseOfTheService) {
  PortNumbers numbers(withGaps());
  EXPECT_EQ(numbers.count(1, Side::Sink, 2), 2U);
  EXPECT_EQ(numbers.toService(1, 1, Side::Sink), 1U);
  EXPECT_EQ(numbers.toConsole(1, 7, Side::Sink), 7U);
  EXPECT_EQ(numbers.toService(9, 65535, Side::Source), 65535U) << "a group that is not there";
}

TEST(PortNumbers, GapsAreClosed) {
  PortNumbers numbers(withGaps());
  EXPECT_EQ(numbers.count(1, Side::Source, 4), 2U);
  EXPECT_EQ(numbers.toService(1, 0, Side::Source), 1U);
  EXPECT_EQ(numbers.toService(1, 1, Side::Source), 3U);
  EXPECT_EQ(numbers.toConsole(1, 3, Side::Source), 1U);
  EXPECT_EQ(numbers.toService(1, 2, Side::Source), 65535U) << "no port has this index";
}

TEST(PortNumbers, PortsThatComeLaterAreNumberedBehindTheOthers) {
  PortNumbers numbers(withGaps());
  EXPECT_EQ(numbers.toConsole(1, 0, Side::Source), 2U) << "one that has come back";
  EXPECT_EQ(numbers.toConsole(1, 4, Side::Source), 3U);
  EXPECT_EQ(numbers.toConsole(1, 0, Side::Source), 2U);
  EXPECT_EQ(numbers.toService(1, 2, Side::Source), 0U);
  EXPECT_EQ(numbers.toService(1, 3, Side::Source), 4U);
  EXPECT_EQ(numbers.count(1, Side::Source, 4), 2U) << "the lists are those of the beginning";
}

}  // namespace
}  // namespace client
