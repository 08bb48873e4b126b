// Answers that come later.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

using device::Status;

class DispatcherLater : public DispatcherTest {
 protected:
  DispatcherLater() {
    device_->onRequest = [this](device::RequestId request, bool, const device::Link&) { asked_.push_back(request); };
    device_->whetherUsable = [](device::PortId) { return std::nullopt; };
  }

  // The device does this when it advances.
  void act(const std::function<void(device::DriverEvents&)>& action) {
    device_->onAdvance = [&](device::DriverEvents& events, Time) -> std::optional<Time> {
      action(events);
      return std::nullopt;
    };
    dispatcher_->advance(Time(2));
    device_->onAdvance = nullptr;
  }

  void patched(device::RequestId request, Status status) {
    act([&](device::DriverEvents& events) { events.patched(request, status, {}); });
  }

  const device::Link link_ = service::link(service::out(0, 0), service::in(1, 0));
  std::vector<device::RequestId> asked_;
};

TEST_F(DispatcherLater, RequestsAreAnsweredByTheirTagsWhenTheDeviceAnswers) {
  const std::uint64_t a = attach("a");
  const std::uint64_t b = attach("b");
  say("a control", 7, wire::Patch{a, true, link_});
  say("b control", 8, wire::Patch{b, true, link_});
  say("a control", 9, wire::Tap{a, EventPort, HolderBytes, "G0Out1"});
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  say("a control", 10, wire::AskOriginals{a});
  EXPECT_EQ(peers_.texts("a control").size(), 1U) << "others are answered meanwhile";
  patched(asked_.at(1), Status::Refused);
  EXPECT_EQ(peers_.texts("b control"), Texts{"8: refused at 0"});
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  act([](device::DriverEvents& events) { events.used(service::out(0, 0), Status::Refused, {}); });
  EXPECT_EQ(peers_.texts("a control"), Texts{"9: refused at 0"});
  patched(asked_.at(0), Status::Ok);
  EXPECT_EQ(peers_.texts("a control"), Texts{"7: ok at 0"});
}

TEST_F(DispatcherLater, ChangeGoesOutBeforeTheAnswerThatHoldsItsVersion) {
  const std::uint64_t a = attach("a");
  say("a control", 7, wire::Patch{a, true, link_});
  peers_.order.clear();
  act([&](device::DriverEvents& events) {
    events.linked(link_, {});
    events.patched(asked_.at(0), Status::Ok, {});
  });
  EXPECT_EQ(peers_.order, (Texts{"a graph", "a control"}));
  EXPECT_EQ(peers_.texts("a control"), Texts{"7: ok at 1"});
}

TEST_F(DispatcherLater, ChangeReachesItsClientBeforeTheAnswerThoughManyWaitForIt) {
  constexpr std::size_t Others = 400;
  for (std::size_t i = 0; i < Others; ++i) attach("c" + std::to_string(i));
  const std::uint64_t a = attach("a");
  say("a control", 7, wire::Patch{a, true, link_});
  peers_.order.clear();
  act([&](device::DriverEvents& events) {
    events.linked(link_, {});
    events.patched(asked_.at(0), Status::Ok, {});
  });
  EXPECT_LT(peers_.order.size(), Others) << "the others are told in pieces";
  const auto change = std::ranges::find(peers_.order, "a graph");
  const auto answer = std::ranges::find(peers_.order, "a control");
  ASSERT_NE(answer, peers_.order.end());
  EXPECT_LT(change, answer);
  EXPECT_EQ(peers_.texts("a graph"), Texts{"made 0.0>1.0 at 1"});
}

TEST_F(DispatcherLater, RequestOfOneClientMayEndThatOfAnother) {
  const std::uint64_t a = attach("a");
  say("a control", 7, wire::Tap{a, EventPort, HolderBytes, "G0Out1"});
  say("a control", 8, wire::Untap{a, EventPort, "G0Out1"});
  EXPECT_EQ(peers_.texts("a control"), (Texts{"8: ok at 0", "7: ok at 0"})) << "without waiting for anything else";
}

TEST_F(DispatcherLater, ClientThatHasLeftGetsNoAnswer) {
  const std::uint64_t a = attach("a");
  say("a control", 7, wire::Patch{a, true, link_});
  say("a control", 8, wire::Goodbye{a});
  peers_.take("a control");
  // Somebody else may be at the same place by now.
  hello("a control");
  patched(asked_.at(0), Status::Ok);
  EXPECT_EQ(peers_.texts("a control"), Texts{});
}

TEST_F(DispatcherLater, ClientThatIsLostGetsNoAnswer) {
  const std::uint64_t a = attach("a");
  say("a control", 7, wire::Patch{a, true, link_});
  say("a control", 8, wire::Tap{a, EventPort, HolderBytes, "G0Out1"});
  dispatcher_->connectionClosed(peers_.of("a control"), Time(2));
  EXPECT_EQ(log_.back(), "test (process 5) lost its connection");
  peers_.take("a control");
  patched(asked_.at(0), Status::Ok);
  act([](device::DriverEvents& events) { events.used(service::out(0, 0), Status::Ok, {}); });
  EXPECT_EQ(peers_.texts("a control"), Texts{});
}

TEST_F(DispatcherLater, ClientMayWaitForSoManyAnswersOnly) {
  const std::uint64_t a = attach("a");
  const std::uint64_t b = attach("b");
  for (std::uint32_t tag = 1; tag <= 64; ++tag) say("a control", tag, wire::Patch{a, true, link_});
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  say("a control", 65, wire::Patch{a, true, link_});
  say("a control", 66, wire::Tap{a, EventPort, HolderBytes, "G0Out1"});
  EXPECT_EQ(peers_.texts("a control"), (Texts{"65: refused at 0", "66: refused at 0"}));
  EXPECT_EQ(asked_.size(), 64U);
  say("b control", 1, wire::Patch{b, true, link_});
  EXPECT_EQ(peers_.texts("b control"), Texts{}) << "another client still may";
  patched(asked_.at(0), Status::Ok);
  EXPECT_EQ(peers_.texts("a control"), Texts{"1: ok at 0"});
  say("a control", 67, wire::Patch{a, true, link_});
  EXPECT_EQ(peers_.texts("a control"), Texts{}) << "there is room again";
}

TEST_F(DispatcherLater, ClientsThatWaitForManyAnswersLeaveRoomForOthers) {
  constexpr std::size_t Clients = 64;
  std::vector<std::uint64_t> all;
  for (std::size_t i = 0; i < Clients; ++i) {
    all.push_back(attach("c" + std::to_string(i)));
    for (std::uint32_t tag = 1; tag <= 64; ++tag) {
      say("c" + std::to_string(i) + " control", tag, wire::Patch{all.back(), true, link_});
    }
  }
  EXPECT_EQ(asked_.size(), 1024 + (Clients - 16)) << "one each, when many wait";
  const std::uint64_t a = attach("a");
  say("a control", 1, wire::Patch{a, true, link_});
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  say("a control", 2, wire::Patch{a, true, link_});
  EXPECT_EQ(peers_.texts("a control"), Texts{"2: refused at 0"});
  // Who leaves does not free its places: the device is still at work.
  for (std::size_t i = 0; i < Clients; ++i) {
    say("c" + std::to_string(i) + " control", 0, wire::Goodbye{all[i]});
  }
  say("a control", 3, wire::Patch{a, true, link_});
  EXPECT_EQ(peers_.texts("a control"), Texts{"3: refused at 0"});
  for (const device::RequestId request : asked_) patched(request, Status::Ok);
  EXPECT_EQ(peers_.texts("a control"), Texts{"1: ok at 0"});
  for (std::uint32_t tag = 4; tag <= 5; ++tag) say("a control", tag, wire::Patch{a, true, link_});
  EXPECT_EQ(peers_.texts("a control"), Texts{}) << "there is room again";
}

TEST_F(DispatcherLater, RequestWithoutATagGetsNoAnswer) {
  const std::uint64_t a = attach("a");
  say("a control", 0, wire::Patch{a, true, link_});
  patched(asked_.at(0), Status::Ok);
  EXPECT_EQ(peers_.texts("a control"), Texts{});
}

}  // namespace
}  // namespace host
