#include "platform/drivers/alsa/raw_midi_room.h"

#include <gtest/gtest.h>

namespace drivers::alsa {
namespace {

constexpr const char* Hardware = R"(USB MIDI

Output 0
  Tx bytes     : 1234
  Owner PID    : 77
  Mode         : native
  Buffer size  : 4096
  Avail        : 4000
Output 1
  Tx bytes     : 0
Input 0
  Rx bytes     : 9
  Owner PID    : 77
  Mode         : native
  Buffer size  : 4096
  Avail        : 1
  Overruns     : 0
)";

constexpr const char* Virtual = R"(VirMIDI

Output 0
  Tx bytes     : 0
  Owner PID    : 5
  Mode         : native
  Buffer size  : 4096
  Avail        : 7
Input 0
  Rx bytes     : 500
  Owner PID    : 5
  Mode         : native
  Buffer size  : 4096
  Avail        : 100
  Overruns     : 0
Input 1
  Rx bytes     : 500
  Owner PID    : 6
  Mode         : native
  Buffer size  : 8192
  Avail        : 8192
  Overruns     : 3
Input 2
  Rx bytes     : 0
)";

TEST(RawMidiRoom, IsTheFreeSpaceOfTheOutputOfAHardwarePort) {
  EXPECT_EQ(roomIn(Hardware, placeOfHardwarePort(0, 0)), 4000U);
  EXPECT_EQ(roomIn(Hardware, placeOfHardwarePort(0, 1)), std::nullopt);
  EXPECT_EQ(roomIn(Hardware, placeOfHardwarePort(0, 2)), std::nullopt);
}

TEST(RawMidiRoom, IsTheFreeSpaceOfTheFullestReaderOfAVirtualPort) {
  const auto place = placeOfVirtualPort(0, "Virtual Raw MIDI 0-0").value();
  EXPECT_EQ(roomIn(Virtual, place), 0U);
  std::string text = Virtual;
  text.erase(text.find("Input 1"));
  EXPECT_EQ(roomIn(text, place), 3996U);
  text.erase(text.find("Input 0"));
  EXPECT_EQ(roomIn(text, place), std::nullopt);
}

TEST(RawMidiRoom, IsUnknownWhereTheTextDoesNotTell) {
  const RawMidiPlace place{0, 0, 0};
  EXPECT_EQ(roomIn("", place), std::nullopt);
  EXPECT_EQ(roomIn("Output 0\n  Avail        : 12\n", place), std::nullopt);
  EXPECT_EQ(roomIn("Output 0\n  Buffer size  : x\n  Avail        : 12\n", place), std::nullopt);
  EXPECT_EQ(roomIn("Output 0\n  Buffer size  : 16\n  Avail        : 12", place), 12U);
  EXPECT_EQ(roomAt({99, 0}), std::nullopt);
}

TEST(RawMidiRoom, PlacesOfPortsAreFound) {
  EXPECT_EQ(placeOfHardwarePort(2, 0), (RawMidiPlace{2, 0, 0}));
  EXPECT_EQ(placeOfHardwarePort(2, 33), (RawMidiPlace{2, 1, 1}));
  EXPECT_EQ(placeOfVirtualPort(1, "Virtual Raw MIDI 1-3"), (RawMidiPlace{1, 3, std::nullopt}));
  EXPECT_EQ(placeOfVirtualPort(1, "Virtual Raw MIDI"), std::nullopt);
  EXPECT_EQ(placeOfVirtualPort(1, "A-B"), std::nullopt);
}

}  // namespace
}  // namespace drivers::alsa
