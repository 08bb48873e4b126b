#include <gtest/gtest.h>

#include "platform/drivers/alsa/graph.h"

namespace drivers::alsa {
namespace {

TEST(NameOfPort, HasTheClientInIt) {
  EXPECT_EQ(nameOfPort("Midi Through", "Midi Through Port-0"), "Midi Through Port-0");
  EXPECT_EQ(nameOfPort("aseqdump", "aseqdump"), "aseqdump");
  EXPECT_EQ(nameOfPort("Virtual Raw MIDI 0-0", "VirMIDI 0-0"), "Virtual Raw MIDI 0-0:VirMIDI 0-0");
  EXPECT_EQ(nameOfPort("Long", "Lo"), "Long:Lo");
}

}  // namespace
}  // namespace drivers::alsa
