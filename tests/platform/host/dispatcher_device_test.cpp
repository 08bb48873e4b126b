// What a dispatcher makes of what its device tells.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

TEST_F(DispatcherTest, NotesOfTheDeviceAreLogged) {
  device_->onAdvance = [](device::DriverEvents& events, Time) -> std::optional<Time> {
    events.noted("client \"a\x1b\" disconnected");
    events.warned("no server");
    return std::nullopt;
  };
  dispatcher_->advance(Time(0));
  EXPECT_EQ(log_, (Texts{"client \"a\\x1B\" disconnected", "no server"}));
}

TEST_F(DispatcherTest, WarningsAreReportedWithoutALog) {
  Texts warnings;
  Dispatcher quiet(*service_, peers_, Settings{}, Log{}, [&](std::string_view line) { warnings.emplace_back(line); });
  device_->onAdvance = [](device::DriverEvents& events, Time) -> std::optional<Time> {
    events.noted("only noted");
    events.warned("no\tserver");
    return std::nullopt;
  };
  quiet.advance(Time(0));
  EXPECT_EQ(warnings, Texts{"no\\x09server"});
}

TEST_F(DispatcherTest, LossOnTheWayToTheServiceIsLoggedOnceASecondAtMost) {
  device_->onAdvance = [](device::DriverEvents& events, Time now) -> std::optional<Time> {
    events.lost(service::out(0, 0), 2, now);
    return std::nullopt;
  };
  EXPECT_EQ(dispatcher_->advance(Time(0)), std::nullopt);
  EXPECT_EQ(dispatcher_->advance(Time(1)), Time(std::chrono::seconds(1)));
  EXPECT_EQ(log_, Texts{"2 messages lost before reaching the service"});
  dispatcher_->advance(std::chrono::seconds(1));
  EXPECT_EQ(log_.back(), "4 messages lost before reaching the service");
}

TEST_F(DispatcherTest, UncountedLossIsLoggedEveryTenSecondsAtMost) {
  bool counted = true;
  device_->onAdvance = [&](device::DriverEvents& events, Time now) -> std::optional<Time> {
    events.lost(service::out(0, 0), counted ? 3 : 0, now);
    events.lost(service::out(0, 0), 0, now);
    return std::nullopt;
  };
  EXPECT_EQ(dispatcher_->advance(Time(0)), std::nullopt);
  EXPECT_EQ(log_, (Texts{"3 messages lost before reaching the service",
                         "an unknown number of messages, perhaps none, lost before reaching the service"}));
  log_.clear();
  counted = false;
  EXPECT_EQ(dispatcher_->advance(std::chrono::seconds(4)), Time(std::chrono::seconds(10)));
  EXPECT_EQ(log_, Texts{});
  dispatcher_->advance(std::chrono::seconds(10));
  EXPECT_EQ(log_, Texts{"4 times an unknown number of messages, perhaps none, lost before reaching the service"});
}

TEST_F(DispatcherTest, LossesAndNotesThatAreLeftAreLoggedAtTheEnd) {
  device_->onAdvance = [](device::DriverEvents& events, Time now) -> std::optional<Time> {
    events.lost(service::out(0, 0), 2, now);
    events.lost(service::out(0, 0), 0, now);
    return std::nullopt;
  };
  device_->onFinish = [](device::DriverEvents& events) { events.noted("4 periods skipped"); };
  dispatcher_->advance(Time(0));
  dispatcher_->advance(Time(1));
  log_.clear();
  dispatcher_->finish(Time(2));
  EXPECT_EQ(log_, (Texts{"4 periods skipped", "2 messages lost before reaching the service",
                         "an unknown number of messages, perhaps none, lost before reaching the service"}));
  dispatcher_->finish(Time(3));
  EXPECT_EQ(log_.size(), 4U) << "only the device has more to tell";
}

TEST_F(DispatcherTest, ChangesThatTheDeviceReportsAreSent) {
  attach("a");
  device_->onAdvance = [](device::DriverEvents& events, Time now) -> std::optional<Time> {
    events.linked(service::link(service::out(0, 0), service::in(1, 0)), now);
    return std::nullopt;
  };
  dispatcher_->advance(Time(0));
  EXPECT_EQ(peers_.texts("a graph").size(), 1U);
}

TEST_F(DispatcherTest, SendersAreHeldBackWhileTheDeviceIsBehind) {
  const std::uint64_t session = attach("a");
  tap("a", session, "G0In1");
  device_->isBehind = true;
  for (std::uint8_t i = 0; i < 8; ++i) say("a control", 0, note(session, i));
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  device_->isBehind = false;
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 8"});
}

TEST_F(DispatcherTest, SenderThatIsHeldBackIsToldThatTheServiceLives) {
  const std::uint64_t session = attach("a");
  attach("b");
  tap("a", session, "G0In1");
  peers_.take("b control");
  device_->isBehind = true;
  const auto begin = std::chrono::hours(1);
  EXPECT_EQ(dispatcher_->advance(begin), std::nullopt) << "nobody waits";
  say("a control", 0, note(session, 1));
  const auto next = dispatcher_->advance(begin);
  ASSERT_TRUE(next);
  EXPECT_GT(*next, begin);
  EXPECT_LT(*next, begin + std::chrono::seconds(2));
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 0"});
  dispatcher_->advance(*next - Time(1));
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  dispatcher_->advance(*next);
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 0"});
  EXPECT_EQ(peers_.texts("b control"), Texts{});
}

TEST_F(DispatcherTest, OriginalNamesAreSentOnRequest) {
  const std::uint64_t session = attach("a");
  std::vector<device::Group> groups = service::evenTopology(2, 1).groups();
  groups[1].original = "G 1";
  groups[1].sources->originals = {"1:0 Out"};
  device_->change(device::Topology(groups));
  say("a control", 7, wire::AskOriginals{session});
  const auto answers = peers_.take("a control");
  ASSERT_EQ(answers.size(), 1U);
  const auto envelope = wire::decode(answers[0]);
  const auto& originals = std::get<wire::Originals>(envelope->body);
  ASSERT_EQ(originals.groups.size(), 1U);
  EXPECT_EQ(originals.groups[0].handle, 1U);
  EXPECT_EQ(std::string(originals.groups[0].name.begin(), originals.groups[0].name.end()), "G 1");
  ASSERT_EQ(originals.groups[0].sources.size(), 1U);
  EXPECT_TRUE(originals.groups[0].sinks.empty());
}

// However often it changes: what is on its way to a client that does not look is bounded.
TEST_F(DispatcherTest, ChangedTopologyIsReportedOnceUntilItIsFetched) {
  const std::uint64_t session = attach("a");
  dispatcher_->advance(Time(1));
  EXPECT_EQ(peers_.texts("a events"), Texts{});
  for (std::uint16_t groups = 3; groups < 6; ++groups) {
    device_->change(service::evenTopology(groups, 1));
    dispatcher_->advance(Time(1));
  }
  EXPECT_EQ(peers_.texts("a events"), Texts{"topology changed"});
  say("a control", 1, wire::AskTopology{session});
  EXPECT_EQ(peers_.texts("a control"), Texts{"1: topology G0 G1 G2 G3 G4"});
  dispatcher_->advance(Time(1));
  EXPECT_EQ(peers_.texts("a events"), Texts{});
  device_->change(service::evenTopology(1, 1));
  dispatcher_->advance(Time(1));
  EXPECT_EQ(peers_.texts("a events"), Texts{"topology changed"});
  attach("b");
  dispatcher_->advance(Time(1));
  EXPECT_EQ(peers_.texts("b events"), Texts{}) << "what it asks for first is as it is now";
}

// They mean nothing to another service, nor to this one when it is started again.
TEST_F(DispatcherTest, HandlesAreCountedFromARandomNumberOn) {
  const auto firstHandle = [&](Settings settings) {
    Dispatcher dispatcher(*service_, peers_, settings, Log{});
    dispatcher.receive(peers_.of("x"), wire::encode(1, wire::Hello{}), Time(1));
    auto answers = peers_.take("x");
    const auto session = std::get<wire::Welcome>(wire::decode(answers.at(0))->body).session;
    dispatcher.receive(peers_.of("x"), wire::encode(2, wire::AskTopology{session}), Time(1));
    dispatcher.continued(peers_.of("x"));
    answers = peers_.take("x");
    const auto topology = std::get<wire::Topology>(wire::decode(answers.at(0))->body);
    EXPECT_EQ(topology.groups.at(1).handle, topology.groups.at(0).handle + 1);
    EXPECT_EQ(topology.groups.at(1).wantedId, 1U);
    const std::uint64_t handle = topology.groups.at(0).handle;
    dispatcher.receive(peers_.of("x"), wire::encode(3, wire::Patch{session, true, {handle, 0, handle + 1, 1}}),
                       Time(1));
    dispatcher.receive(peers_.of("x"), wire::encode(4, wire::AskLinks{session}), Time(1));
    dispatcher.continued(peers_.of("x"));
    answers = peers_.take("x");
    const auto links = std::get<wire::Links>(wire::decode(answers.at(1))->body);
    EXPECT_EQ(links.links, (std::vector<wire::LinkRecord>{{{handle, 0, handle + 1, 1}}}));
    return handle;
  };
  EXPECT_EQ(firstHandle({.service = {}, .firstHandle = 0xFFFFFFFFFFFFFFFF}), 0xFFFFFFFFFFFFFFFF) << "it goes on at 0";
  EXPECT_NE(firstHandle({}), firstHandle({}));
}

}  // namespace
}  // namespace host
