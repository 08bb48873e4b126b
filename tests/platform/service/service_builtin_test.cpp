// The service on the built-in device, driven through simulated time.
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <map>

#include "platform/drivers/described/builtin.h"
#include "platform/service/service.h"
#include "tests/platform/service/received.h"

namespace service {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr EventPortId One{1};

struct Studio {
  void tap(std::initializer_list<const char*> names) {
    for (const char* name : names) EXPECT_EQ(service.tap(client, One, name, 1004, now), device::Status::Ok) << name;
  }

  void runTo(device::Time end) {
    for (; now <= end; now += milliseconds(1)) service.advance(now);
  }

  std::vector<Received> take() {
    Bytes entries;
    service.takeEvents(client, std::numeric_limits<std::size_t>::max(), entries);
    return readEntries(entries);
  }

  device::Time now{};
  Service service{drivers::makeBuiltinDriver(), {}, device::Time{}};
  ClientId client = service.addClient();
};

TEST(ServiceOnBuiltinDevice, SequencersPhraseIsSeenAtBothEndsOfItsConnection) {
  Studio studio;
  studio.tap({"SequencerOut1", "ToneGeneratorIn1"});
  studio.runTo(seconds(10));
  std::map<std::string, std::vector<Bytes>> messages;
  for (const Received& one : studio.take()) messages[one.port].push_back(one.message);
  const auto& atSource = messages["SequencerOut1"];
  ASSERT_GE(atSource.size(), 76U);
  EXPECT_EQ(messages["ToneGeneratorIn1"], atSource);
  for (std::size_t i = 0; i < atSource.size(); ++i) {
    EXPECT_EQ(atSource[i].at(0) & 0xF0, i % 2 == 0 ? 0x90 : 0x80) << i;
  }
}

TEST(ServiceOnBuiltinDevice, ClockPassesTheArpeggiator) {
  Studio studio;
  studio.tap({"ClockOut1", "ArpeggiatorIn1", "ArpeggiatorOut1"});
  studio.runTo(seconds(2));
  std::map<std::string, std::size_t> clocks;
  for (const Received& one : studio.take()) {
    if (one.message == Bytes{0xF8}) ++clocks[one.port];
  }
  EXPECT_GE(clocks["ClockOut1"], 90U);
  EXPECT_EQ(clocks["ArpeggiatorIn1"], clocks["ClockOut1"]);
  EXPECT_EQ(clocks["ArpeggiatorOut1"], clocks["ClockOut1"]);
}

TEST(ServiceOnBuiltinDevice, ThruThatIsConnectedToItselfMakesNoLoop) {
  Studio studio;
  const auto source = studio.service.topology().port("ThruOut1");
  const auto sink = studio.service.topology().port("ThruIn1");
  ASSERT_TRUE(source && sink);
  EXPECT_EQ(studio.service.connect(link(*source, *sink), {}), device::Status::Ok);
  studio.tap({"ThruIn1", "ThruOut1"});
  const Bytes note = {0x90, 0x3C, 0x40};
  studio.service.send(studio.client, One, {5, note}, {});
  const auto received = studio.take();
  EXPECT_EQ(textsOf(received), (Texts{"1 ThruIn1: 90 3C 40", "1 ThruOut1: 90 3C 40"}));
  EXPECT_EQ(received.at(1).group, 5);
}

TEST(ServiceOnBuiltinDevice, StartsWithTheConnectionsOfTheDevice) {
  Studio studio;
  Texts texts;
  for (const device::Link& one : studio.service.links()) {
    texts.push_back(studio.service.topology().name(one.source()) + " " + studio.service.topology().name(one.sink()));
  }
  EXPECT_EQ(texts,
            (Texts{"KeyboardOut1 ToneGeneratorIn1", "KeyboardOut1 SequencerIn1", "SequencerOut1 ToneGeneratorIn1",
                   "SequencerOut2 ToneGeneratorIn2", "MidiUsbOut1 SequencerIn1", "ClockOut1 ArpeggiatorIn1"}));
}

}  // namespace
}  // namespace service
