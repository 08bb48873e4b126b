// Messages sent through a port of one's own, over real sockets.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/system/program_line.h"
#include "platform/wire/messages.h"
#include "tests/platform/client/fixture.h"

namespace client {
namespace {

using EvtSrv::EventPortManager;
using Texts = std::vector<std::string>;

constexpr std::uint32_t Behaviour = EvtSrv::ConBehave_Default;

// Keeps what it receives as numbers: the group of each note.
class CountingPort : public StrmSrv::StreamPortMIDI {
 public:
  using StreamPortMIDI::StreamPortMIDI;

  void receiveNoteOn(std::uint8_t /*note*/, std::uint8_t /*velocity*/, std::uint16_t group) override {
    groups.push_back(group);
  }

  std::vector<std::uint16_t> groups;
};

std::vector<std::uint16_t> countUpTo(std::uint16_t count) {
  std::vector<std::uint16_t> numbers(count);
  for (std::uint16_t i = 0; i < count; ++i) numbers[i] = i;
  return numbers;
}

TEST(Sending, EveryKindOfMessageArrives) {
  class AllKinds : public StrmSrv::StreamPortMIDI {
   public:
    using StreamPortMIDI::StreamPortMIDI;
    EvtSrv::EventResult receiveMain(const char* /*name*/, unsigned /*type*/, EvtSrv::MemoryHolder* data,
                                    EvtSrv::MemoryHolder* /*reply*/) override {
      while (!data->atEnd()) bytes.push_back(*data->getCurrentOffset(1));
      return EvtSrv::EvtRes_Success;
    }
    service::Bytes bytes;
  };
  TestService service;
  EventPortManager manager(Behaviour, true);
  AllKinds port(manager);
  port.connect("G0Out1", EvtSrv::DebugPortName, nullptr, nullptr, 0);
  const service::Bytes exclusive{0xF0, 0x7E, 0xF7};
  EXPECT_EQ(port.sendNoteOff(1, 2, 0x0102), StrmSrv::StrmRes_Success);
  EXPECT_EQ(port.sendNoteOn(3, 4, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(port.sendPolyAfter(5, 6, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(port.sendControlChange(7, 8, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(port.sendProgramChange(9, 10, 11, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(port.sendAfterTouch(12, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(port.sendPitchBend(13, 14, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(port.sendSystemExclusive(exclusive.data(), exclusive.size(), 15), StrmSrv::StrmRes_Success);
  const service::Bytes expected{
      5, 0, 0, 0, 2,  1, 0x80, 1,    2,   //
      5, 0, 0, 0, 0,  0, 0x90, 3,    4,   //
      5, 0, 0, 0, 0,  0, 0xA0, 5,    6,   //
      5, 0, 0, 0, 0,  0, 0xB0, 7,    8,   //
      4, 0, 0, 0, 0,  0, 0xC0, 9,         //
      4, 0, 0, 0, 0,  0, 0xD0, 12,        //
      5, 0, 0, 0, 0,  0, 0xE0, 13,   14,  //
      5, 0, 0, 0, 15, 0, 0xF0, 0x7E, 0xF7,
  };
  ASSERT_TRUE(receiveUntil(manager, [&] { return port.bytes.size() >= expected.size(); }));
  EXPECT_EQ(port.bytes, expected);
}

TEST(Sending, EmptyAndOverlongMessagesAreRefused) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  const service::Bytes tooLong(device::MaxMessageBytes + 1, 0xF0);
  EXPECT_EQ(port.sendSystemExclusive(tooLong.data(), tooLong.size(), 0), StrmSrv::StrmRes_BadArgument);
  EXPECT_EQ(port.sendSystemExclusive(tooLong.data(), 0, 0), StrmSrv::StrmRes_BadArgument);
  EXPECT_EQ(port.sendSystemExclusive(nullptr, 3, 0), StrmSrv::StrmRes_BadArgument);
  EXPECT_EQ(port.sendSystemExclusive(tooLong.data(), device::MaxMessageBytes, 0), StrmSrv::StrmRes_Success);
}

TEST(Sending, TwentyThousandAtFullSpeedArriveCompleteAndInOrder) {
  constexpr std::uint16_t Count = 20'000;
  TestService service;
  EventPortManager sender(Behaviour, true);
  EventPortManager receiver(Behaviour, true);
  CountingPort out(sender);
  CountingPort in(receiver);
  out.connect("G0Out1", EvtSrv::DebugPortName, nullptr, nullptr, 0);
  in.connect("G0Out1", EvtSrv::DebugPortName, nullptr, nullptr, 0);
  std::atomic<int> failed{0};
  std::thread sending([&] {
    for (std::uint16_t i = 0; i < Count; ++i) {
      if (out.sendNoteOn(1, 1, i) != StrmSrv::StrmRes_Success) ++failed;
    }
  });
  EXPECT_TRUE(receiveUntil(receiver, [&] { return in.groups.size() >= Count; }));
  sending.join();
  // The sender's own copies have waited for it all the time.
  EXPECT_TRUE(receiveUntil(sender, [&] { return out.groups.size() >= Count; }));
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(in.groups, countUpTo(Count));
  EXPECT_EQ(out.groups, countUpTo(Count));
}

TEST(Sending, WaitsWithinTheSmallestWindow) {
  constexpr std::uint16_t Count = 2'000;
  TestService service(host::Settings{.service = {}, .eventWindow = 0, .sendWindow = 1, .graphWindow = 0});
  EventPortManager manager(Behaviour, true);
  CountingPort port(manager);
  port.connect("G0Out1", EvtSrv::DebugPortName, nullptr, nullptr, 0);
  for (std::uint16_t i = 0; i < Count; ++i) ASSERT_EQ(port.sendNoteOn(1, 1, i), StrmSrv::StrmRes_Success);
  ASSERT_TRUE(receiveUntil(manager, [&] { return port.groups.size() >= Count; }));
  EXPECT_EQ(port.groups, countUpTo(Count));
}

TEST(Sending, SeveralThreadsMaySendAndAskAtOnce) {
  constexpr std::uint16_t Each = 1'000;
  TestService service;
  EventPortManager manager(Behaviour, true);
  CountingPort port(manager);
  RecordingPort other(manager);
  port.connect("G0Out1", EvtSrv::DebugPortName, nullptr, nullptr, 0);
  std::vector<std::thread> threads;
  std::atomic<int> failed{0};
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      for (std::uint16_t n = 0; n < Each; ++n) {
        if (port.sendNoteOn(1, 1, n) != StrmSrv::StrmRes_Success) ++failed;
      }
    });
  }
  threads.emplace_back([&] {
    for (int n = 0; n < 50; ++n) {
      if (other.tap("G1Out1") != EvtSrv::EvtRes_Success) ++failed;
      if (other.disconnect("G1Out1", nullptr) != EvtSrv::EvtRes_Success) ++failed;
    }
  });
  EXPECT_TRUE(receiveUntil(manager, [&] { return port.groups.size() >= 2 * Each; }));
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(port.groups.size(), 2U * Each);
}

// The sum of what the lines report; 0 when another line is among them.
std::uint64_t reportedLoss(const std::string& text) {
  std::uint64_t sum = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    const std::regex form(sys::programName() +
                          ": (?:(1) message|([0-9]+) messages) lost: this program reads too slowly");
    if (!std::regex_match(line, match, form)) return 0;
    sum += std::stoull(match[match[1].matched ? 1 : 2]);
  }
  return sum;
}

TEST(Sending, FullQueueReportsItsExactLossAndOtherQueuesLoseNothing) {
  constexpr std::uint16_t Count = 5'000;
  TestService service(
      host::Settings{.service = {.queueBytes = 4096}, .eventWindow = 0, .sendWindow = 64, .graphWindow = 0});
  EventPortManager slow(Behaviour, true);
  EventPortManager quick(Behaviour, true);
  CountingPort late(slow);
  CountingPort port(quick);
  late.connect("G0Out1", EvtSrv::DebugPortName, nullptr, nullptr, 0);
  port.connect("G0Out1", EvtSrv::DebugPortName, nullptr, nullptr, 0);
  for (std::uint16_t i = 0; i < Count; ++i) {
    ASSERT_EQ(port.sendNoteOn(1, 1, i), StrmSrv::StrmRes_Success);
    ASSERT_TRUE(receiveUntil(quick, [&] { return port.groups.size() > i; }));
  }
  EXPECT_EQ(port.groups, countUpTo(Count));

  testing::internal::CaptureStderr();
  // The first messages after its return may still be lost: the queue is full.
  std::uint16_t next = Count;
  const bool complete = receiveUntil(slow, [&] {
    if (!late.groups.empty() && late.groups.back() >= Count) return true;
    port.sendNoteOn(1, 1, next++);
    return false;
  });
  const std::string said = testing::internal::GetCapturedStderr();
  ASSERT_TRUE(complete) << late.groups.size();
  // What arrived is in order, and what is missing in it is what was reported.
  std::uint64_t missing = 0;
  std::uint32_t expected = 0;
  for (const std::uint16_t group : late.groups) {
    ASSERT_GE(group, expected);
    missing += group - expected;
    expected = group + 1U;
  }
  EXPECT_GT(missing, 0U);
  EXPECT_EQ(reportedLoss(said), missing) << said;
}

}  // namespace
}  // namespace client
