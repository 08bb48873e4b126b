#include "platform/drivers/described/described_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/drivers/described/device_recorder.h"

namespace drivers {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(DescribedDevice, AThruJoinsEqualIndexesOnly) {
  DeviceDescription device;
  device.groups = {device::numberedGroup(9, "T", 2, 3), device::numberedGroup(10, "U", 2, 2)};
  device.thrus = {9};
  const auto driver = makeDescribedDevice(std::move(device));
  DeviceRecorder recorder;
  driver->start(recorder, 0s);
  const midi::ByteVector bytes = midi::fromHex("F0 01 F7");
  for (const device::PortId sink : {device::PortId{9, 1, device::Side::Sink}, device::PortId{9, 2, device::Side::Sink},
                                    device::PortId{10, 0, device::Side::Sink}}) {
    driver->deliver(sink, {3, bytes}, 1s);
  }
  EXPECT_THAT(recorder.all, ElementsAre(Emitted{{9, 1, device::Side::Source}, 1s, 3, "F0 01 F7"}));
}

TEST(DescribedDevice, PlayersStartWithTheFirstUseOfTheirSource) {
  DeviceDescription device;
  device.groups = {device::numberedGroup(0, "A", 2, std::nullopt)};
  const midi::Score score{{{100ms, 5, midi::fromHex("90 01 01")}}, 1s};
  device.scores.push_back({{0, 0, device::Side::Source}, midi::ScorePlayback{score, false, 1}});
  device.scores.push_back({{0, 1, device::Side::Source}, midi::ScorePlayback{score, false, 1}});
  const auto driver = makeDescribedDevice(std::move(device));
  DeviceRecorder recorder;
  driver->start(recorder, 0s);
  driver->setUsed({0, 1, device::Side::Source}, true, 10s);
  EXPECT_EQ(driver->advance(10s), 10s + 100ms);
  driver->setUsed({0, 1, device::Side::Source}, false, 10s);
  driver->setUsed({0, 1, device::Side::Source}, true, 10s + 50ms);
  EXPECT_EQ(driver->advance(10s + 100ms), std::nullopt);
  driver->setUsed({0, 0, device::Side::Source}, true, 20s);
  EXPECT_EQ(driver->advance(20s + 100ms), std::nullopt);
  EXPECT_THAT(recorder.all, ElementsAre(Emitted{{0, 1, device::Side::Source}, 10s + 100ms, 5, "90 01 01"},
                                        Emitted{{0, 0, device::Side::Source}, 20s + 100ms, 5, "90 01 01"}));
}

TEST(DescribedDevice, AFloodComesInPiecesAndComplete) {
  DeviceDescription device;
  device.groups = {device::numberedGroup(0, "A", 2, std::nullopt)};
  midi::Score score;
  for (unsigned number = 0; number < 20'000; ++number) {
    score.events.push_back(
        {0ms, 0, {0xE0, static_cast<std::uint8_t>(number & 0x7FU), static_cast<std::uint8_t>(number >> 7U & 0x7FU)}});
  }
  const auto expected = score.events;
  device.scores.push_back({{0, 0, device::Side::Source}, midi::ScorePlayback{std::move(score), false, 0}});
  device.clocks.push_back({{0, 1, device::Side::Source}, midi::ClockPlayback{120}});
  const auto driver = makeDescribedDevice(std::move(device));
  DeviceRecorder recorder;
  driver->start(recorder, 0s);
  driver->setUsed({0, 0, device::Side::Source}, true, 1s);
  driver->setUsed({0, 1, device::Side::Source}, true, 1s);
  EXPECT_LE(*driver->advance(1s), 1s);
  EXPECT_LE(recorder.all.size(), 1000U);
  // The clock is not kept waiting by the flood.
  EXPECT_EQ(recorder.all.back().bytes, "F8");
  while (*driver->advance(1s) <= 1s) {
  }
  std::vector<std::string> flood;
  for (const Emitted& one : recorder.all) {
    if (one.source.index == 0) flood.push_back(one.bytes);
  }
  ASSERT_EQ(flood.size(), expected.size());
  for (std::size_t at = 0; at < flood.size(); ++at) ASSERT_EQ(flood[at], midi::toHex(expected[at].bytes)) << at;
}

}  // namespace
}  // namespace drivers
