#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "strmsrv.h"

namespace StrmSrv {
namespace {

TEST(NameTables, ListTheStreamTypes) {
  EXPECT_STREQ(StreamTypeNameTable[0], "Midi");
  EXPECT_STREQ(StreamTypeNameTable[1], "Audio");
  EXPECT_STREQ(StreamTypeNameTable[2], "Control");
}

TEST(NameTables, GroupsAreEmptyUntilPublished) {
  GroupNames names;
  for (std::size_t id = 0; id < GroupNames::Count; ++id) EXPECT_STREQ(names[id], "");
  names.publish(41, "Last");
  EXPECT_STREQ(names[41], "Last");
  EXPECT_STREQ(names[40], "");
}

TEST(NameTables, IdsBeyondTheTableHaveNoName) {
  GroupNames names;
  names.publish(GroupNames::Count, "Beyond");
  names.publish(65'535, "Beyond");
  for (std::size_t id = 0; id < GroupNames::Count; ++id) EXPECT_STREQ(names[id], "");
}

TEST(NameTables, NamesStayWhenOthersArePublished) {
  GroupNames names;
  names.publish(1, "Old");
  const char* old = names[1];
  names.publish(1, "New");
  EXPECT_STREQ(old, "Old");
  EXPECT_STREQ(names[1], "New");
  names.publish(1, "Old");
  EXPECT_EQ(names[1], old) << "one copy of each text is enough";
}

TEST(NameTables, ReadersSeeWholeNames) {
  GroupNames names;
  names.publish(0, "One");
  std::thread publisher([&] {
    for (int i = 0; i < 1000; ++i) names.publish(0, i % 2 == 0 ? "Two" : "One");
  });
  int strange = 0;
  for (int i = 0; i < 1000; ++i) {
    const std::string name = names[0];
    if (name != "One" && name != "Two") ++strange;
  }
  publisher.join();
  EXPECT_EQ(strange, 0);
}

}  // namespace
}  // namespace StrmSrv
