// What is told to many clients is told in pieces, and clients that are silent cost nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

class DispatcherNews : public DispatcherTest {
 protected:
  static constexpr std::size_t Many = 600;

  void SetUp() override {
    for (std::size_t i = 0; i < Many; ++i) sessions_.push_back(attach(nameOf(i)));
    peers_.order.clear();
  }

  static std::string nameOf(std::size_t client) { return "c" + std::to_string(client); }

  // How many messages were sent since the last time.
  std::size_t sent() { return std::exchange(peers_.order, {}).size(); }

  // Rounds until nothing is left to send. Returns the most messages of one.
  std::size_t rounds() {
    std::size_t most = 0;
    for (auto next = std::optional(Time(1)); next == Time(1);) {
      next = dispatcher_->advance(Time(1));
      most = std::max(most, sent());
    }
    return most;
  }

  void patch(bool made) { say("c0 control", 7, wire::Patch{sessions_[0], made, {0, 0, 1, 1}}); }

  // The device reports so many changes at once.
  void change(std::size_t changes) {
    for (std::size_t i = 0; i < changes; ++i) {
      const auto link = service::link(service::out(0, 0), service::in(1, 1));
      if (i % 2 == 0) {
        device_->events().linked(link, {});
      } else {
        device_->events().unlinked(link, {});
      }
    }
  }

  std::vector<std::uint64_t> sessions_;
};

TEST_F(DispatcherNews, GraphChangesReachManyClientsInPieces) {
  patch(true);
  const std::size_t first = sent();
  EXPECT_LT(first, Many);
  // Who has made the change knows it before the answer.
  EXPECT_EQ(peers_.texts("c0 graph"), Texts{"made 0.0>1.1 at 1"});
  EXPECT_EQ(peers_.texts("c0 control"), Texts{"7: ok at 1"});
  // The next change comes before all have the first.
  patch(false);
  sent();
  EXPECT_LT(rounds(), Many);
  EXPECT_EQ(peers_.texts("c0 graph"), Texts{"gone 0.0>1.1 at 2"});
  for (std::size_t i = 1; i < Many; ++i) {
    ASSERT_EQ(peers_.texts(nameOf(i) + " graph"), (Texts{"made 0.0>1.1 at 1", "gone 0.0>1.1 at 2"})) << i;
  }
  EXPECT_EQ(rounds(), 0U) << "nothing is left";
}

TEST_F(DispatcherNews, ClientsThatAreOverrunAreToldOnceAndThenCostNothing) {
  for (int burst = 0; burst < 5; ++burst) {
    change(5000);
    EXPECT_LE(rounds(), 300U);
  }
  for (std::size_t i = 0; i < Many; ++i) {
    const Texts texts = peers_.texts(nameOf(i) + " graph");
    ASSERT_LE(texts.size(), wire::MinGraphWindow + 1) << i;
    ASSERT_EQ(std::ranges::count(texts, "stale"), 1) << i;
    ASSERT_EQ(texts.back(), "stale") << i;
  }
  change(1000);
  EXPECT_EQ(rounds(), 0U);
  // One asks, and is told again; the others stay silent.
  say("c5 control", 4, wire::AskLinks{sessions_[5]});
  EXPECT_EQ(peers_.texts("c5 control"), Texts{"4: links at 26000"});
  sent();
  change(2);
  EXPECT_EQ(rounds(), 2U);
  EXPECT_EQ(peers_.texts("c5 graph"), (Texts{"made 0.0>1.1 at 26001", "gone 0.0>1.1 at 26002"}));
}

TEST_F(DispatcherNews, ClientsThatHaveLeftCostNothing) {
  for (std::size_t i = 1; i < Many; ++i) hangUp(nameOf(i) + " control");
  sent();
  change(1);
  EXPECT_EQ(rounds(), 1U);
  EXPECT_EQ(peers_.texts("c0 graph"), Texts{"made 0.0>1.1 at 1"});
}

TEST_F(DispatcherNews, ChangeThatAnAnswerIncludesIsNoNews) {
  change(1);
  say("c5 control", 4, wire::AskLinks{sessions_[5]});
  rounds();
  EXPECT_EQ(peers_.texts("c5 graph"), Texts{});
  EXPECT_EQ(peers_.texts("c6 graph"), Texts{"made 0.0>1.1 at 1"});
}

TEST_F(DispatcherNews, ManyClientsAreToldOfAChangedTopologyInPieces) {
  device_->change(service::evenTopology(3, 2));
  const std::size_t most = rounds();
  EXPECT_LT(most, Many / 2);
  for (std::size_t i = 0; i < Many; ++i) ASSERT_EQ(peers_.texts(nameOf(i) + " events"), Texts{"topology changed"});
  device_->change(service::evenTopology(4, 2));
  EXPECT_EQ(rounds(), 0U) << "nobody has asked";
  say("c5 control", 0, wire::AskTopology{sessions_[5]});
  sent();
  EXPECT_EQ(rounds(), 0U) << "the answer has it all";
  device_->change(service::evenTopology(2, 2));
  EXPECT_EQ(rounds(), 1U);
  EXPECT_EQ(peers_.texts("c5 events"), Texts{"topology changed"});
}

TEST_F(DispatcherNews, EventsReachManyClientsInPieces) {
  for (std::size_t i = 0; i < Many; ++i) tap(nameOf(i), sessions_[i], "G0Out1");
  sent();
  for (const std::uint8_t note : {std::uint8_t{1}, std::uint8_t{2}}) {
    say("c0 control", 0, wire::Inject{sessions_[0], "G0Out1", {{0, {0x90, note, 0x40}}}});
    EXPECT_LT(sent(), Many / 2);
  }
  EXPECT_LT(rounds(), Many / 2);
  for (std::size_t i = 0; i < Many; ++i) {
    Texts texts;
    for (const std::string& text : peers_.texts(nameOf(i) + " events")) texts.push_back(text);
    const std::string all = testing::PrintToString(texts);
    ASSERT_NE(all.find("90 01 40"), std::string::npos) << i;
    ASSERT_NE(all.find("90 02 40"), std::string::npos) << i;
  }
}

}  // namespace
}  // namespace host
