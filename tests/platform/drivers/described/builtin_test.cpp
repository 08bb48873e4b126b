#include "platform/drivers/described/builtin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/drivers/described/device_recorder.h"

namespace drivers {
namespace {

using namespace std::chrono_literals;

constexpr device::PortId SequencerOut1{2, 0, device::Side::Source};
constexpr device::PortId ClockOut1{7, 0, device::Side::Source};

std::vector<Emitted> from(const DeviceRecorder& recorder, device::PortId source) {
  std::vector<Emitted> result;
  std::copy_if(recorder.all.begin(), recorder.all.end(), std::back_inserter(result),
               [source](const Emitted& one) { return one.source == source; });
  return result;
}

TEST(BuiltinDevice, HasItsGroups) {
  const auto driver = makeBuiltinDriver();
  const struct {
    std::uint16_t id;
    const char* name;
    int sources;
    int sinks;
  } table[] = {
      {0, "Keyboard", 1, -1},   {1, "Panel", 1, 1},          {2, "Sequencer", 4, 4},
      {3, "Arpeggiator", 1, 1}, {4, "ToneGenerator", -1, 4}, {5, "MidiDin", 1, 1},
      {6, "MidiUsb", 2, 2},     {7, "Clock", 1, -1},         {8, "Thru", 1, 1},
  };
  const auto& groups = driver->topology().groups();
  ASSERT_EQ(groups.size(), std::size(table));
  for (std::size_t at = 0; at < groups.size(); ++at) {
    EXPECT_EQ(groups[at].wantedId, table[at].id);
    EXPECT_EQ(groups[at].name, table[at].name);
    EXPECT_EQ(groups[at].sources ? groups[at].sources->count : -1, table[at].sources) << table[at].name;
    EXPECT_EQ(groups[at].sinks ? groups[at].sinks->count : -1, table[at].sinks) << table[at].name;
  }
}

TEST(BuiltinDevice, HasItsConnectionsInOrder) {
  const auto driver = makeBuiltinDriver();
  DeviceRecorder recorder;
  std::vector<std::string> links;
  for (const device::Link& link : driver->start(recorder, {}).links) {
    EXPECT_TRUE(driver->topology().exists(link.source()));
    EXPECT_TRUE(driver->topology().exists(link.sink()));
    links.push_back(driver->topology().name(link.source()) + " " + driver->topology().name(link.sink()));
  }
  EXPECT_THAT(links, testing::ElementsAre("KeyboardOut1 ToneGeneratorIn1", "KeyboardOut1 SequencerIn1",
                                          "SequencerOut1 ToneGeneratorIn1", "SequencerOut2 ToneGeneratorIn2",
                                          "MidiUsbOut1 SequencerIn1", "ClockOut1 ArpeggiatorIn1"));
}

TEST(BuiltinDevice, IsSilentUntilItsSourcesAreUsed) {
  const auto driver = makeBuiltinDriver();
  DeviceRecorder recorder;
  driver->start(recorder, 0s);
  EXPECT_EQ(driver->advance(0s), std::nullopt);
  for (std::uint16_t index = 1; index < 4; ++index) driver->setUsed({2, index, device::Side::Source}, true, 0s);
  driver->setUsed(SequencerOut1, false, 0s);
  EXPECT_EQ(driver->advance(1h), std::nullopt);
  EXPECT_TRUE(recorder.all.empty());
}

TEST(BuiltinDevice, PlaysAPhraseOfEightEighthNotes) {
  const auto driver = makeBuiltinDriver();
  DeviceRecorder recorder;
  driver->start(recorder, 1s);
  driver->setUsed(SequencerOut1, true, 1s);
  run(*driver, 1s, 5s - 1ns);
  const auto notes = from(recorder, SequencerOut1);
  ASSERT_EQ(notes.size(), 32U);
  for (std::size_t note = 0; note < 16; ++note) {
    const Emitted& on = notes[2 * note];
    const Emitted& off = notes[2 * note + 1];
    EXPECT_EQ(on.bytes.substr(0, 2), "90");
    EXPECT_EQ(off.bytes.substr(0, 2), "80");
    EXPECT_EQ(on.bytes.substr(3, 2), off.bytes.substr(3, 2));
    EXPECT_EQ(on.group, 0);
    EXPECT_EQ(off.group, 0);
    EXPECT_EQ(on.time, 1s + note * 250ms);
    EXPECT_LT(off.time, on.time + 250ms);
    EXPECT_EQ(on.bytes, notes[2 * (note % 8)].bytes);
  }
}

TEST(BuiltinDevice, PlaysForHoursWithoutDrift) {
  const auto driver = makeBuiltinDriver();
  DeviceRecorder recorder;
  driver->start(recorder, 0s);
  driver->setUsed(SequencerOut1, true, 0s);
  driver->setUsed(ClockOut1, true, 0s);
  run(*driver, 0s, 3h);
  const auto notes = from(recorder, SequencerOut1);
  const auto clocks = from(recorder, ClockOut1);
  ASSERT_EQ(notes.size(), 4U * 3600 * 3 * 2 + 1);
  EXPECT_EQ(notes.back().time, 3h);
  ASSERT_EQ(clocks.size(), 48U * 3600 * 3 + 1);
  EXPECT_EQ(clocks.back(), (Emitted{ClockOut1, 3h, 0, "F8"}));
  for (std::size_t at = 0; at < notes.size(); ++at) {
    ASSERT_EQ(notes[at].bytes.substr(0, 2), at % 2 == 0 ? "90" : "80") << at;
  }
}

TEST(BuiltinDevice, AfterALongPauseThereIsNoBurst) {
  const auto driver = makeBuiltinDriver();
  DeviceRecorder recorder;
  driver->start(recorder, 0s);
  driver->setUsed(SequencerOut1, true, 0s);
  driver->setUsed(ClockOut1, true, 0s);
  run(*driver, 0s, 100ms);
  recorder.all.clear();
  run(*driver, 8h, 8h + 1s);
  EXPECT_EQ(from(recorder, SequencerOut1).size(), 9U);
  EXPECT_EQ(from(recorder, SequencerOut1).front().bytes.substr(0, 2), "80");
  EXPECT_EQ(from(recorder, ClockOut1).size(), 49U);
}

TEST(BuiltinDevice, ThrusPassWhatEntersThem) {
  const auto driver = makeBuiltinDriver();
  DeviceRecorder recorder;
  driver->start(recorder, 0s);
  const midi::ByteVector note = midi::fromHex("91 3C 40");
  for (std::uint16_t group = 0; group < 9; ++group) {
    const device::PortId sink{group, 0, device::Side::Sink};
    if (driver->topology().exists(sink)) driver->deliver(sink, {0x0102, note}, 5s);
  }
  EXPECT_THAT(recorder.all, testing::ElementsAre(Emitted{{3, 0, device::Side::Source}, 5s, 0x0102, "91 3C 40"},
                                                 Emitted{{8, 0, device::Side::Source}, 5s, 0x0102, "91 3C 40"}));
}

}  // namespace
}  // namespace drivers
