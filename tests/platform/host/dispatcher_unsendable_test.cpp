// What senders learn of messages that another system has no form for.
#include <gtest/gtest.h>

#include <variant>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

class DispatcherUnsendable : public DispatcherTest {
 protected:
  DispatcherUnsendable() {
    device_->isUnsendable = [](device::PortId sink, const device::Message& message) {
      return sink.group == 1 && message.group > 15;
    };
  }

  void inject(const std::string& client, std::uint64_t session, std::vector<std::uint16_t> groups) {
    wire::Inject message{session, "G1In1", {}};
    for (const std::uint16_t group : groups) message.messages.push_back({group, {0xF8}});
    say(client + " control", 0, message);
  }

  wire::Stats stats(std::uint64_t session) {
    say("a control", 9, wire::AskStats{session});
    const auto answers = peers_.take("a control");
    const auto envelope = answers.size() == 1 ? wire::decode(answers[0]) : std::nullopt;
    const auto* found = envelope ? std::get_if<wire::Stats>(&envelope->body) : nullptr;
    EXPECT_NE(found, nullptr);
    return found != nullptr ? *found : wire::Stats{};
  }
};

TEST_F(DispatcherUnsendable, TakenHoldsTheTotalOfTheSender) {
  const std::uint64_t a = attach("a");
  const std::uint64_t b = attach("b");
  tap("a", a, "G1In2");
  inject("a", a, {15, 16, 17});
  say("a control", 0, wire::Send{a, EventPort, 40, {0x90, 1, 1}});
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 2, 3 unsendable"}) << "a quarter of the window";
  inject("b", b, {0});
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("b control"), Texts{"taken 1"});
  inject("a", a, {0});
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 3, 3 unsendable"});
}

TEST_F(DispatcherUnsendable, SenderThatLeavesAtOnceIsTold) {
  const std::uint64_t a = attach("a");
  inject("a", a, {99});
  say("a control", 7, wire::Goodbye{a});
  EXPECT_EQ(peers_.texts("a control"), (Texts{"taken 1, 1 unsendable", "7: ok at 0"}));
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{});
}

// Each of these messages makes so many copies that it is on its way for a while.
TEST_F(DispatcherUnsendable, MessagesOnTheirWayCountBeforeTheirFrameIsTaken) {
  const std::uint64_t a = attach("a");
  for (const char* listener : {"l", "m", "n"}) {
    const std::uint64_t session = hello(listener);
    for (std::uint32_t port = 0; port < 1000; ++port) {
      say(listener, 0, wire::Tap{session, port, HolderBytes, "G0Out1"});
    }
  }
  say("a control", 0, wire::Patch{a, true, service::link(service::out(0, 0), service::in(1, 0))});
  const Bytes frame = wire::encode(0, wire::Inject{a, "G0Out1", {{16, {0xF8}}, {0, {0xF8}}, {17, {0xF8}}}});
  EXPECT_FALSE(receive("a control", frame).all);
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  say("a control", frame);
  say("a control", 7, wire::Goodbye{a});
  EXPECT_EQ(peers_.texts("a control"), (Texts{"taken 1, 2 unsendable", "7: ok at 1"}));
}

TEST_F(DispatcherUnsendable, SenderThatLeavesIsToldEvenWhileItIsHeldBack) {
  const std::uint64_t a = attach("a");
  device_->isBehind = true;
  inject("a", a, {99});
  dispatcher_->advance(std::chrono::hours(1));
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 0, 1 unsendable"});
  say("a control", 7, wire::Goodbye{a});
  EXPECT_EQ(peers_.texts("a control"), (Texts{"taken 1, 1 unsendable", "7: ok at 0"}));
}

TEST_F(DispatcherUnsendable, FrameThatFailsInTheMiddleCountsWhatCameBefore) {
  const std::uint64_t a = attach("a");
  say("a control", 0, wire::Inject{a, "G1In1", {{20, {0xF8}}, {0, {}}, {20, {0xF8}}}});
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), (Texts{"bad request at 0", "taken 1, 1 unsendable"}));
}

TEST_F(DispatcherUnsendable, StatisticsHoldTheCounts) {
  const std::uint64_t a = attach("a");
  const std::uint64_t b = attach("b");
  inject("b", b, {16, 17});
  say("a control", 0, wire::Patch{a, true, service::link(service::out(0, 0), service::in(1, 0))});
  const Bytes clock{0xF8};
  device_->events().emitted(service::out(0, 0), {16, clock}, {});
  peers_.take("a control");
  const wire::Stats all = stats(a);
  EXPECT_EQ(all.unsendable, 3U) << "also what no client has sent";
  EXPECT_EQ(all.lost, 0U);
  ASSERT_EQ(all.clients.size(), 2U);
  EXPECT_EQ(all.clients[0].unsendable, 0U);
  EXPECT_EQ(all.clients[1].unsendable, 2U);
}

}  // namespace
}  // namespace host
