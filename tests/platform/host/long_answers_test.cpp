// Answers that are too long for one message.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/channel/link_mirror.h"
#include "tests/platform/host/dispatcher_fixture.h"
#include "tests/platform/host/whole_answer.h"

namespace host {
namespace {

constexpr std::uint16_t Ports = 150;
constexpr std::size_t Many = std::size_t{Ports} * Ports;  // three pieces
constexpr std::uint32_t Tag = 5;

// All pairs of sources and sinks of one group.
std::vector<device::Link> allLinks(std::uint16_t ports) {
  std::vector<device::Link> links;
  for (std::uint16_t source = 0; source < ports; ++source) {
    for (std::uint16_t sink = 0; sink < ports; ++sink) links.push_back({0, source, 0, sink});
  }
  return links;
}

class LongAnswers : public DispatcherTest {
 protected:
  void SetUp() override {
    device_->change(service::evenTopology(1, Ports));
    for (const device::Link& link : allLinks(Ports)) {
      ASSERT_EQ(service_->connect(link, Time(1)), device::Status::Ok);
    }
    service_->takeGraphChanges();
    session_ = attach("a");
    peers_.take("a control");
    dispatcher_->advance(Time(1));
    peers_.take("a events");
  }

  // The pieces that were sent, each of which must have the request's tag.
  template <class Answer>
  std::vector<Answer> pieces() {
    std::vector<Answer> pieces;
    for (const Bytes& message : peers_.take("a control")) {
      auto envelope = wire::decode(message);
      EXPECT_EQ(envelope->tag, Tag);
      pieces.push_back(std::get<Answer>(std::move(envelope->body)));
    }
    return pieces;
  }

  // Gives the connection its turn. False if it does not wait for one.
  bool goOn() {
    const bool continues = std::exchange(peers_.continuing, {}) == Texts{"a control"};
    if (continues) dispatcher_->continued(peers_.of("a control"));
    return continues;
  }

  std::uint64_t session_ = 0;
};

TEST_F(LongAnswers, ComeInPiecesBetweenWhichOthersAreServed) {
  const std::uint64_t other = attach("b");
  peers_.take("b control");
  say("a control", Tag, wire::AskLinks{session_});
  std::vector<wire::Links> all = pieces<wire::Links>();
  ASSERT_EQ(all.size(), 1U);
  while (all.back().part.more) {
    say("b control", 9, wire::UntapAll{other, EventPort});
    EXPECT_EQ(peers_.take("b control").size(), 1U);
    dispatcher_->advance(Time(7));
    ASSERT_EQ(pieces<wire::Links>().size(), 0U) << "it has not had its turn";
    ASSERT_TRUE(goOn());
    const auto more = pieces<wire::Links>();
    ASSERT_EQ(more.size(), 1U);
    all.push_back(more.back());
  }
  EXPECT_FALSE(goOn());
  ASSERT_EQ(all.size(), 3U);
  std::vector<wire::LinkRecord> links;
  for (const wire::Links& piece : all) {
    EXPECT_EQ(piece.version, Many);
    EXPECT_EQ(piece.part.first, links.empty());
    links.insert(links.end(), piece.links.begin(), piece.links.end());
  }
  const auto expected = allLinks(Ports);
  ASSERT_EQ(links.size(), Many);
  for (std::size_t i = 0; i < Many; ++i) ASSERT_EQ(links[i].link, expected[i]);
}

TEST_F(LongAnswers, AreNotBegunInTheTurnOfTheQuestion) {
  for (const wire::Body& question : {wire::Body(wire::AskLinks{session_}), wire::Body(wire::AskTopology{session_}),
                                     wire::Body(wire::AskOriginals{session_}), wire::Body(wire::AskStats{session_})}) {
    EXPECT_TRUE(receive("a control", wire::encode(Tag, question)).all);
    EXPECT_EQ(peers_.take("a control").size(), 0U);
    ASSERT_TRUE(goOn());
    EXPECT_EQ(peers_.take("a control").size(), 1U);
    while (goOn()) continue;
    peers_.take("a control");
  }
}

TEST_F(LongAnswers, EndWithTheirClient) {
  say("a control", Tag, wire::AskLinks{session_});
  EXPECT_EQ(pieces<wire::Links>().size(), 1U);
  hangUp("a control");
  EXPECT_TRUE(goOn());
  EXPECT_EQ(pieces<wire::Links>().size(), 0U);
  EXPECT_FALSE(goOn());
}

TEST_F(LongAnswers, AreNotMadeWithoutATag) {
  say("a control", 0, wire::AskLinks{session_});
  say("a control", 0, wire::AskTopology{session_});
  EXPECT_EQ(peers_.take("a control").size(), 0U);
  EXPECT_FALSE(goOn());
}

// A mirror of the list and the changes shows the graph as it is, in the order of making.
TEST_F(LongAnswers, MirrorIsRightWhenTheGraphChangesBetweenThePieces) {
  const std::uint64_t other = attach("b");
  std::mt19937 random(7);
  const auto anyPort = [&] { return static_cast<std::uint16_t>(random() % Ports); };
  for (int round = 0; round < 5; ++round) {
    channel::LinkMirror mirror;
    wire::PieceJoiner joiner;
    std::optional<wire::Body> whole;
    say("a control", Tag, wire::AskLinks{session_});
    peers_.take("a graph");
    for (;;) {
      for (const Bytes& message : peers_.take("a control")) {
        whole = joiner.add(std::move(wire::decode(message)->body), message.size());
      }
      ASSERT_EQ(joiner.fault(), wire::PieceJoiner::Fault::None);
      // Removed, and some made again: listed already, listed later, and not at all.
      for (int i = 0; i < 40; ++i) {
        const device::Link link{0, anyPort(), 0, anyPort()};
        say("b control", 0, wire::Patch{other, false, link});
        if (i % 2 == 0) say("b control", 0, wire::Patch{other, true, link});
        if (i % 4 == 0) say("b control", 0, wire::Patch{other, false, link});
      }
      dispatcher_->advance(Time(7));
      if (!goOn()) break;
    }
    ASSERT_TRUE(whole);
    mirror.reset(std::get<wire::Links>(*whole));
    std::size_t changes = 0;
    for (const Bytes& message : peers_.take("a graph")) {
      const auto envelope = wire::decode(message);
      ASSERT_TRUE(std::holds_alternative<wire::GraphChanged>(envelope->body)) << messageText(message);
      ASSERT_TRUE(mirror.apply(std::get<wire::GraphChanged>(envelope->body)));
      ++changes;
    }
    EXPECT_GT(changes, 100U);
    EXPECT_EQ(mirror.version(), service_->graphVersion());
    channel::LinkMirror expected;
    wire::Links links;
    for (const auto& [link, carried] : service_->connections()) links.links.push_back({link, carried});
    expected.reset(links);
    for (std::uint16_t port = 0; port < Ports; ++port) {
      for (const auto side : {device::Side::Source, device::Side::Sink}) {
        const auto peers = mirror.peers({0, port, side});
        ASSERT_TRUE(std::ranges::equal(peers, expected.peers({0, port, side}))) << port;
      }
    }
    say("a graph", 0, wire::GraphSeen{session_, mirror.version()});
    peers_.take("b graph");
    say("b graph", 0, wire::GraphSeen{other, mirror.version()});
  }
}

TEST_F(LongAnswers, TopologyThatChangesMeanwhileIsReportedOnceMoreAfterTheAnswer) {
  const auto change = [&](char first) {
    device::SideOfGroup side{30'000, "", {}};
    for (int port = 0; port < 30'000; ++port) side.names.push_back(first + std::to_string(port));
    device_->change(device::Topology({{0, "G", std::move(side), std::nullopt}}));
    dispatcher_->advance(Time(7));
  };
  say("a control", 1, wire::AskTopology{session_});
  peers_.take("a control");
  change('a');
  EXPECT_EQ(peers_.texts("a events"), Texts{"topology changed"});
  say("a control", Tag, wire::AskTopology{session_});
  EXPECT_EQ(pieces<wire::Topology>().size(), 1U);
  change('b');
  change('c');
  EXPECT_EQ(peers_.texts("a events"), Texts{}) << "the answer will show it";
  wire::Topology last;
  while (goOn()) last = std::move(pieces<wire::Topology>().at(0));
  EXPECT_EQ(last.groups.back().sources->names.back(), "c29999");
  change('d');
  EXPECT_EQ(peers_.texts("a events"), Texts{"topology changed"});
}

TEST_F(LongAnswers, TopologyOfADeviceThatAlwaysChangesComesToItsEnd) {
  int changes = 0;
  const auto change = [&] {
    const std::string first = "v" + std::to_string(++changes) + "p";
    device::SideOfGroup side{30'000, "", {}, {}};
    for (int port = 0; port < 30'000; ++port) {
      side.names.push_back(first + std::to_string(port));
      side.originals.push_back("original " + side.names.back());
    }
    device_->change(device::Topology({{0, "G", std::move(side), std::nullopt, "original", 0}}));
    dispatcher_->advance(Time(7));
  };
  change();
  const auto ask = [&]<class Question, class Answer>(const Question& question, Answer& whole) {
    wire::PieceJoiner joiner;
    int beginnings = 0;
    std::optional<wire::Body> body;
    say("a control", Tag, question);
    do {
      change();
      for (const Bytes& message : peers_.take("a control")) {
        auto envelope = wire::decode(message);
        if (std::get<Answer>(envelope->body).part.first) ++beginnings;
        body = joiner.add(std::move(envelope->body), message.size());
      }
    } while (!body && changes < 100 && goOn());
    ASSERT_TRUE(body);
    EXPECT_EQ(beginnings, 4);
    EXPECT_FALSE(goOn());
    whole = std::get<Answer>(std::move(*body));
  };
  wire::Topology topology;
  peers_.take("a events");
  ask(wire::AskTopology{session_}, topology);
  const std::string shown = "v" + std::to_string(changes - 1) + "p29999";
  ASSERT_EQ(topology.groups.size(), 1U);
  EXPECT_EQ(topology.groups[0].sources->names.back(), shown);
  EXPECT_EQ(peers_.texts("a events"), Texts{"topology changed"}) << "the last change came after the answer";
  wire::Originals originals;
  ask(wire::AskOriginals{session_}, originals);
  ASSERT_EQ(originals.groups.size(), 1U);
  const std::string original = "original v" + std::to_string(changes - 1) + "p29999";
  EXPECT_EQ(originals.groups[0].sources.back(), wire::Original(original.begin(), original.end()));
}

TEST_F(LongAnswers, EventsOfAnyHolderFitIntoAMessage) {
  say("a control", 2, wire::Tap{session_, EventPort, 0xFFFFFFFF, "G0In1"});
  peers_.take("a control");
  for (int i = 0; i < 4; ++i) {
    Bytes bytes(600'000, 0x11);
    bytes.front() = 0xF0;
    say("a control", 0, wire::Send{session_, EventPort, 0, bytes});
  }
  std::size_t events = 0;
  std::uint64_t consumed = 0;
  for (auto messages = peers_.take("a events"); !messages.empty(); messages = peers_.take("a events")) {
    for (const Bytes& message : messages) {
      EXPECT_LE(message.size(), channel::MaxFrameBytes);
      consumed += message.size() - 8;
      ++events;
    }
    say("a events", 0, wire::Consumed{session_, consumed});
  }
  EXPECT_EQ(events, 4U);
}

// Sessions of a service, without their connections.
class StatsPieces : public testing::Test {
 protected:
  // Their programs are "p0", "p1", ....
  void addSessions(int count) {
    for (; count > 0; --count, ++added_) {
      Session& session = *sessions_.add(ConnectionId{++connections_}, house_.service->addClient());
      session.peer.program = "p" + std::to_string(added_);
      numbers_.push_back(session.number);
    }
  }

  void remove(std::size_t index) { sessions_.remove(numbers_.at(index)); }

  std::unique_ptr<LongAnswer> answer() { return statsAnswer(*house_.service, sessions_, {}); }

  ServiceWithPorts house_{service::evenTopology(1, 1)};
  SessionTable sessions_;
  std::vector<std::uint64_t> numbers_;
  std::uint64_t connections_ = 0;
  int added_ = 0;
};

Texts programs(const wire::Stats& stats) {
  Texts programs;
  for (const wire::ClientStats& client : stats.clients) programs.push_back(client.program);
  return programs;
}

TEST_F(StatsPieces, AllClientsAreListedOnceInTheOrderOfConnecting) {
  for (const int count : {0, 1, 2000, 2001, 16'384}) {
    addSessions(count - added_);
    const auto pieces = answer();
    const WholeAnswer<wire::Stats> whole(*pieces);
    Texts expected;
    for (int i = 0; i < count; ++i) expected.push_back("p" + std::to_string(i));
    ASSERT_TRUE(whole.answer);
    EXPECT_EQ(programs(*whole.answer), expected);
    EXPECT_LT(whole.longest.time(), service::LongestAllowed);
  }
}

TEST_F(StatsPieces, ClientsThatComeAndGoMeanwhileDisturbNoOthers) {
  addSessions(5000);
  const auto pieces = answer();
  const WholeAnswer<wire::Stats> whole(*pieces, [this](std::size_t count) {
    if (count != 1) return;
    for (const std::size_t gone : {0U, 1'999U, 2'000U, 4'999U}) remove(gone);
    addSessions(1);
  });
  Texts expected;
  for (int i = 0; i < 5001; ++i) {
    if (i != 2'000 && i != 4'999) expected.push_back("p" + std::to_string(i));
  }
  ASSERT_TRUE(whole.answer);
  EXPECT_EQ(programs(*whole.answer), expected);
}

TEST(LinkPieces, NoneTakesLong) {
  constexpr std::uint16_t Ends = 400;
  const ServiceWithPorts house(service::evenTopology(1, Ends), allLinks(Ends));
  const auto pieces = linksAnswer(*house.service, 0);
  const WholeAnswer<wire::Links> whole(*pieces);
  ASSERT_TRUE(whole.answer);
  EXPECT_EQ(whole.answer->links.size(), std::size_t{Ends} * Ends);
  EXPECT_LT(whole.longest.time(), service::LongestAllowed);
}

}  // namespace
}  // namespace host
