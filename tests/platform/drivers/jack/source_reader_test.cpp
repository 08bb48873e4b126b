#include "platform/drivers/jack/source_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/midi/smf_maker.h"

namespace drivers::jack {
namespace {

using testing::ElementsAre;

// Reads events in hex; "gap N" stands for a gap. Answers the messages, "GROUP: BYTES", and what was lost at the end.
std::vector<std::string> read(const std::vector<std::string>& events) {
  SourceReader reader;
  std::vector<std::string> all;
  for (const std::string& event : events) {
    if (event.starts_with("gap ")) {
      reader.gap(std::stoul(event.substr(4)));
      continue;
    }
    reader.read(midi::fromHex(event), [&](const device::Message& message) {
      all.push_back(std::to_string(message.group) + ": " + midi::toHex({message.bytes.begin(), message.bytes.end()}));
    });
  }
  all.push_back("lost " + std::to_string(reader.takeLost()));
  return all;
}

TEST(SourceReader, SplitsChannelsAndJoinsSystemExclusive) {
  EXPECT_THAT(read({"93 40 01", "F0 01 02", "03", "F7", "C5 07"}),
              ElementsAre("3: 90 40 01", "0: F0 01 02 03 F7", "5: C0 07", "lost 0"));
}

TEST(SourceReader, LeavesOutTheRestOfAMessageThatLacksAPiece) {
  // The middle, which begins no message, is missing.
  EXPECT_THAT(read({"F0 01", "gap 0", "03 04", "F7", "90 01 01"}), ElementsAre("0: 90 01 01", "lost 1"));
  // The beginning is missing.
  EXPECT_THAT(read({"gap 1", "02 03", "F7", "90 01 01"}), ElementsAre("0: 90 01 01", "lost 1"));
  // The end is missing, together with two more messages.
  EXPECT_THAT(read({"F0 01", "gap 2", "90 01 01"}), ElementsAre("0: 90 01 01", "lost 3"));
}

TEST(SourceReader, AMessageInRealTimeDoesNotEndAGap) {
  EXPECT_THAT(read({"gap 1", "02", "F8", "03", "F7", "FA"}), ElementsAre("0: F8", "0: FA", "lost 1"));
}

TEST(SourceReader, CountsBrokenMessages) {
  EXPECT_THAT(read({"90 40", "80 40 01", "F4", ""}), ElementsAre("0: 80 40 01", "lost 2"));
}

TEST(SourceReader, KnowsWhereAMessageBegins) {
  for (const char* event : {"90 01 01", "F0", "F8", "F4"})
    EXPECT_TRUE(SourceReader::begins(midi::fromHex(event))) << event;
  for (const char* event : {"", "01", "F7"}) EXPECT_FALSE(SourceReader::begins(midi::fromHex(event))) << event;
}

}  // namespace
}  // namespace drivers::jack
