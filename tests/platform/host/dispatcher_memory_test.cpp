// How a dispatcher bounds what one user's clients take.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"
#include "tests/support/sanitizer.h"

namespace host {
namespace {

constexpr std::uint32_t Ann = 1000;  // everybody, unless a test says otherwise
constexpr std::uint32_t Ben = 1001;
constexpr std::size_t MiB = 1U << 20U;

class SmallMemory : public DispatcherTest {
 protected:
  SmallMemory()
      : DispatcherTest({.service = {.queueBytes = 8 * MiB, .memory = MiB},
                        .eventWindow = 0,
                        .sendWindow = 8,
                        .graphWindow = 0,
                        .sessionsOfUser = 3,
                        .firstHandle = 0}) {}

  service::MemoryLedger& memory() { return service_->memory(); }
  std::optional<Time> advance() { return dispatcher_->advance(Time(1)); }
};

TEST_F(SmallMemory, SessionsOfOneUserAreBounded) {
  const std::uint64_t first = hello("a");
  hello("b");
  hello("c");
  say("d", 7, wire::Hello{});
  EXPECT_EQ(peers_.texts("d"), Texts{"7: refused at 0"});
  EXPECT_EQ(log_.back(), "test (process 5) refused: its user has 3 clients already");
  EXPECT_EQ(service_->clientsOf(Ann), 3U);

  peers_.identities["e"] = {Ben, 6, "other"};
  EXPECT_NE(hello("e"), 0U) << "another user";
  say("a", 2, wire::Tap{first, EventPort, HolderBytes, "G0Out1"});
  EXPECT_EQ(peers_.texts("a"), Texts{"2: ok at 0"}) << "sessions that exist go on";
  say("a", 3, wire::Goodbye{first});
  EXPECT_NE(hello("d"), 0U) << "there is room again, on the same connection";
}

TEST_F(SmallMemory, NewClientsFindRoomInTheReserveUntilItIsUsedUp) {
  memory().change(Ben, 0, MiB / 2);
  memory().change(Ben + 1, 0, MiB / 2 - MiB / 16);
  const std::uint64_t session = hello("a");
  EXPECT_NE(session, 0U);
  say("a", 2, wire::Tap{session, EventPort, HolderBytes, "G0Out1"});
  EXPECT_EQ(peers_.texts("a"), Texts{"2: ok at 0"}) << "of a user who holds little";
  memory().change(Ann, 0, MiB / 64);
  say("a", 3, wire::Tap{session, EventPort, HolderBytes, "G0Out2"});
  EXPECT_EQ(peers_.texts("a"), Texts{"3: refused at 0"}) << "but not for all of its taps";
  memory().change(Ann, MiB / 64, 0);
  say("a", 3, wire::AskStats{session});
  EXPECT_EQ(peers_.take("a").size(), 1U);
  memory().change(Ben + 1, 0, MiB / 16);
  say("b", 4, wire::Hello{});
  EXPECT_EQ(peers_.texts("b"), Texts{"4: refused at 0"});
  EXPECT_EQ(log_.back(), "test (process 5) refused: the memory for clients is used up");
}

TEST_F(SmallMemory, TapsAndPatchesOfAUserAtTheHalfAreRefused) {
  const std::uint64_t session = hello("a");
  peers_.identities["b"] = {Ben, 6, "other"};
  const std::uint64_t other = hello("b");
  say("a", 2, wire::Patch{session, true, service::link(service::out(0, 0), service::in(1, 0))});
  EXPECT_EQ(peers_.texts("a"), Texts{"2: ok at 1"});
  memory().change(Ann, 0, MiB / 2 - memory().of(Ann));
  say("a", 3, wire::Tap{session, EventPort, HolderBytes, "G0Out1"});
  say("a", 4, wire::Patch{session, true, service::link(service::out(0, 1), service::in(1, 1))});
  say("a", 5, wire::Patch{session, true, service::link(service::out(0, 0), service::in(1, 0))});
  say("a", 6, wire::Patch{session, false, service::link(service::out(0, 0), service::in(1, 0))});
  EXPECT_EQ(peers_.texts("a"), (Texts{"3: refused at 1", "4: refused at 1", "5: ok at 1", "6: ok at 2"}));
  say("b", 7, wire::Tap{other, EventPort, HolderBytes, "G0Out1"});
  say("b", 8, wire::Patch{other, true, service::link(service::out(0, 1), service::in(1, 1))});
  EXPECT_EQ(peers_.texts("b"), (Texts{"7: ok at 2", "8: ok at 3"}));
}

TEST_F(SmallMemory, RecordsGoFirstThenTheConnectionsThatHoldTheMost) {
  const std::uint64_t deaf = attach("deaf");
  tap("deaf", deaf, "G0Out1");
  const std::uint64_t sender = hello("sender");
  log_.clear();
  const Bytes tune(100'000, 0xF8);
  // The window is small, so all but the first wait.
  for (int i = 0; i < 4; ++i) say("sender", 0, wire::Inject{sender, "G0Out1", {{0, tune}}});
  peers_.heavy[Ann] = {"deaf control", "other"};
  ASSERT_GT(service_->waitingMemory(Ann), 200'000U);
  EXPECT_EQ(advance(), std::nullopt) << "nobody holds too much";
  ASSERT_EQ(service_->counts().lost, 0U);

  // Buffers, for example.
  memory().change(Ann, 0, MiB / 2 - 150'000);
  advance();
  EXPECT_EQ(service_->counts().lost, 2U) << "as little as helps";
  EXPECT_FALSE(memory().isOver());
  EXPECT_EQ(peers_.disconnected, Texts());

  log_.clear();
  memory().change(Ann, 0, 250'000);
  while (service_->waitingMemory() > 0) EXPECT_EQ(advance(), Time(1)) << "it goes on at once";
  EXPECT_EQ(peers_.disconnected, Texts()) << "not in the same turn";
  advance();
  EXPECT_THAT(peers_.disconnected, testing::IsSupersetOf({"deaf control", "deaf events", "deaf graph", "other"}));
  EXPECT_THAT(log_, testing::Contains("test (process 5) disconnected: its user holds too much memory").Times(2));
  EXPECT_EQ(service_->clientsOf(Ann), 1U) << "the sender is there";
  const auto linesBefore = log_.size();
  for (const char* gone : {"deaf control", "deaf events", "deaf graph", "other"}) hangUp(gone);
  EXPECT_EQ(log_.size(), linesBefore) << "one line for each";
}

TEST_F(SmallMemory, ClientThatHasToGoLeavesNoHalfFrameBehind) {
  wire::Inject inject{attach("a"), "G0Out1", {}};
  inject.messages.assign(100, {0, {0xF8}});
  EXPECT_FALSE(receive("a control", wire::encode(0, inject)).all);
  const std::uint64_t before = service_->counts().in;
  EXPECT_LT(before, 100U);
  peers_.heavy[Ann] = {"a control"};
  memory().change(Ann, 0, MiB);
  advance();
  ASSERT_EQ(service_->clientsOf(Ann), 0U);
  memory().change(Ann, MiB, 0);
  inject.session = hello("a control");
  say("a control", 0, inject);
  EXPECT_EQ(service_->counts().in, before + 100) << "the next frame begins at its beginning";
}

TEST_F(SmallMemory, NobodyIsDisconnectedWithoutNeed) {
  attach("a");
  peers_.heavy[Ann] = {"a control"};
  memory().change(Ann, 0, MiB / 2 - memory().of(Ann));
  EXPECT_EQ(advance(), std::nullopt);
  EXPECT_EQ(peers_.disconnected, Texts());
}

TEST_F(SmallMemory, WhatCannotBeFreedKeepsNobodyBusy) {
  attach("a");
  memory().change(Ann, 0, MiB);
  EXPECT_EQ(advance(), std::nullopt);
  EXPECT_EQ(peers_.disconnected, Texts());
}

// Says nothing to anybody.
class Nobody : public Connections {
 public:
  void send(ConnectionId /*to*/, std::span<const std::uint8_t> /*message*/) override {}
  void continueLater(ConnectionId /*connection*/) override {}
  void endAfterReading(ConnectionId /*connection*/) override {}
  PeerIdentity identity(ConnectionId /*connection*/) const override { return {Ann, 5, "program"}; }
  void disconnect(ConnectionId /*connection*/) override {}
  std::optional<ConnectionId> heaviestOf(std::uint32_t /*user*/) override { return std::nullopt; }
};

TEST(SessionMemory, IsAboutWhatTheAllocatorSpends) {
  if (testsupport::Sanitized) GTEST_SKIP() << "the sanitizer has an allocator of its own";
  const auto allocated = [] {
    const auto use = mallinfo2();
    return static_cast<double>(use.uordblks + use.hblkhd);
  };
  service::Told told;
  service::Service service(
      std::make_unique<service::TestDevice>(service::evenTopology(1, 1), std::vector<device::Link>{}, told), {}, {});
  Nobody nobody;
  Dispatcher dispatcher(service, nobody, {}, {});
  constexpr std::uint64_t Count = 10'000;
  const double before = allocated();
  const Bytes hello = wire::encode(1, wire::Hello{});
  for (std::uint64_t i = 1; i <= Count; ++i) {
    dispatcher.connectionOpened(ConnectionId{i}, Time(0));
    dispatcher.receive(ConnectionId{i}, hello, Time(0));
  }
  const double spent = (allocated() - before) / Count;
  ASSERT_EQ(service.clientsOf(Ann), Count);
  const double counted = static_cast<double>(service.memory().of(Ann)) / Count;
  RecordProperty("spent", std::to_string(spent));
  EXPECT_GT(counted, spent) << "three connections also stand in tables";
  EXPECT_LT(counted, 2 * spent);
}

}  // namespace
}  // namespace host
