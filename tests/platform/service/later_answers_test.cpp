// Requests that the device answers later.
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "platform/service/service.h"
#include "tests/platform/service/foreign_device.h"

namespace service {
namespace {

using device::Status;

constexpr EventPortId One{1};
constexpr EventPortId Two{2};
const Bytes Note{0x90, 0x40, 0x7F};

class LaterAnswers : public ForeignDevice {
 protected:
  LaterAnswers() {
    device_->onRequest = [this](RequestId request, bool /*made*/, const device::Link& /*link*/) {
      asked_.push_back(request);
    };
    device_->whetherUsable = [](device::PortId) { return std::nullopt; };
  }

  // The device says whether it can use a source.
  void usable(device::PortId source, Status status) {
    act([&](device::DriverEvents& events) { events.used(source, status, {}); });
  }

  void patched(RequestId request, Status status) {
    act([&](device::DriverEvents& events) { events.patched(request, status, {}); });
  }

  Texts textsOfClient(ClientId client) {
    Bytes entries;
    service_->takeEvents(client, std::numeric_limits<std::size_t>::max(), entries);
    return textsOf(readEntries(entries));
  }

  std::vector<RequestId> asked_;
};

TEST_F(LaterAnswers, PatchesAreAnsweredInTheOrderOfTheDevice) {
  const Reply first = service_->connect(Across, {});
  const Reply second = service_->disconnect(Across, {});
  EXPECT_EQ(first.status, std::nullopt);
  EXPECT_EQ(second.status, std::nullopt);
  EXPECT_EQ(asked_, (std::vector{first.request, second.request}));
  EXPECT_TRUE(service_->takeAnswers().empty());
  patched(second.request, Status::NotFound);
  act([&](device::DriverEvents& events) {
    events.linked(Across, {});
    events.patched(first.request, Status::Ok, {});
    events.patched(first.request, Status::Refused, {});
  });
  EXPECT_EQ(service_->takeAnswers(),
            (std::vector<Answer>{{second.request, Status::NotFound}, {first.request, Status::Ok}}));
  EXPECT_TRUE(service_->takeAnswers().empty()) << "each once";
  EXPECT_EQ(service_->links(), std::vector{Across});
}

TEST_F(LaterAnswers, AnswerInsideThePatchIsTheReply) {
  device_->onRequest = [this](RequestId request, bool made, const device::Link&) {
    device_->events().patched(request, made ? Status::Ok : Status::Refused, {});
  };
  EXPECT_EQ(service_->connect(Across, {}), Status::Ok);
  EXPECT_EQ(service_->disconnect(Across, {}), Status::Refused);
  EXPECT_TRUE(service_->takeAnswers().empty());
}

TEST_F(LaterAnswers, TapIsAnsweredWhenItsSourceCanBeUsed) {
  const Reply reply = tap("G0Out1");
  EXPECT_EQ(reply.status, std::nullopt);
  EXPECT_EQ(news(), Told{"use G0Out1"});
  EXPECT_TRUE(service_->takeAnswers().empty());
  usable(out(0, 0), Status::Ok);
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{reply.request, Status::Ok}}));
  EXPECT_EQ(tap("G0Out1"), Status::Ok) << "a repeated one at once";
  EXPECT_EQ(service_->tap(client_, Two, "G0Out1", 1004, {}), Status::Ok) << "and another";
  EXPECT_FALSE(service_->hasEvents(client_));
}

TEST_F(LaterAnswers, RefusedTapIsNotThere) {
  const Reply reply = tap("G0Out1");
  usable(out(0, 0), Status::Refused);
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{reply.request, Status::Refused}}));
  EXPECT_EQ(news(), (Told{"use G0Out1", "unuse G0Out1"}));
  EXPECT_EQ(service_->untap(client_, One, "G0Out1", {}), Status::Nothing);
  EXPECT_FALSE(service_->hasEvents(client_)) << "an error is no loss";
  EXPECT_EQ(service_->counts().uncountedLosses, 0U);
}

TEST_F(LaterAnswers, TapThatIsRefusedAtOnceIsNotThere) {
  device_->whetherUsable = [](device::PortId) { return Status::Refused; };
  EXPECT_EQ(tap("G0Out1"), Status::Refused);
  EXPECT_EQ(news(), (Told{"use G0Out1", "unuse G0Out1"}));
  EXPECT_EQ(service_->counts(client_).taps, 0U);
  EXPECT_EQ(service_->counts().uncountedLosses, 0U);
  device_->whetherUsable = nullptr;
  EXPECT_EQ(tap("G0Out1"), Status::Ok) << "it is tried anew";
}

TEST_F(LaterAnswers, ClientsThatAskForTheSameEachGetTheAnswer) {
  const ClientId other = service_->addClient();
  const Reply mine = tap("G0Out1");
  const Reply again = tap("G0Out1");
  const Reply others = service_->tap(other, One, "G0Out1", 1004, {});
  EXPECT_EQ(news(), Told{"use G0Out1"});
  usable(out(0, 0), Status::Refused);
  EXPECT_EQ(service_->takeAnswers(),
            (std::vector<Answer>{
                {mine.request, Status::Refused}, {again.request, Status::Refused}, {others.request, Status::Refused}}));
  EXPECT_EQ(service_->counts(client_).taps + service_->counts(other).taps, 0U);
  EXPECT_EQ(news(), Told{"unuse G0Out1"});
}

TEST_F(LaterAnswers, SourceThatBreaksIsALossOfUnknownSizeInEachTap) {
  const ClientId other = service_->addClient();
  tap("G0Out1");
  usable(out(0, 0), Status::Ok);
  service_->takeAnswers();
  act([](device::DriverEvents& events) {
    events.emitted(out(0, 0), {0, Note}, {});
    events.used(out(0, 0), Status::Refused, {});
    events.used(out(0, 0), Status::Refused, {});
  });
  EXPECT_EQ(texts(), (Texts{"1 G0Out1: 90 40 7F", "lost before 0"}));
  EXPECT_EQ(service_->counts().uncountedLosses, 1U);
  EXPECT_EQ(service_->tap(other, One, "G0Out1", 1004, {}), Status::Refused) << "who comes now is told at once";
  EXPECT_EQ(tap("G0Out1"), Status::Ok) << "it stands";
  EXPECT_EQ(news(), Told{"use G0Out1"});
  usable(out(0, 0), Status::Ok);
  EXPECT_EQ(service_->tap(other, One, "G0Out1", 1004, {}), Status::Ok);
  EXPECT_FALSE(service_->hasEvents(client_));
  usable(out(0, 0), Status::Refused);
  EXPECT_EQ(texts(), Texts{"lost before 0"});
  EXPECT_EQ(textsOfClient(other), Texts{"lost before 0"});
}

TEST_F(LaterAnswers, TapOfASinkWaitsForAllItsSources) {
  act([](device::DriverEvents& events) {
    events.linked(Across, {});
    events.linked(link(out(1, 0), in(1, 0)), {});
  });
  const Reply first = tap("G1In1");
  usable(out(0, 0), Status::Ok);
  EXPECT_TRUE(service_->takeAnswers().empty());
  usable(out(1, 0), Status::Ok);
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{first.request, Status::Ok}}));
  service_->untap(client_, One, "G1In1", {});
  const Reply second = tap("G1In1");
  usable(out(1, 0), Status::Refused);
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{second.request, Status::Refused}}))
      << "whatever the other one becomes";
  EXPECT_EQ(service_->counts(client_).taps, 0U);
}

TEST_F(LaterAnswers, SourceThatATappedSinkGetsLaterAndCannotUseIsALoss) {
  EXPECT_EQ(tap("G1In1"), Status::Ok);
  device_->whetherUsable = [](device::PortId) { return Status::Refused; };
  act([](device::DriverEvents& events) { events.linked(Across, {}); });
  EXPECT_EQ(texts(), Texts{"lost before 0"});
}

TEST_F(LaterAnswers, CarriedConnectionThatCannotReceiveIsRefusedAndEnds) {
  device_->onRequest = nullptr;
  const Reply first = service_->connect(Within, {});
  const Reply second = service_->connect(Within, {});
  EXPECT_EQ(first.status, std::nullopt);
  EXPECT_EQ(second.status, std::nullopt);
  usable(out(0, 0), Status::Refused);
  EXPECT_EQ(service_->takeAnswers(),
            (std::vector<Answer>{{first.request, Status::Refused}, {second.request, Status::Refused}}));
  EXPECT_TRUE(service_->links().empty());
  const auto changes = service_->takeGraphChanges();
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_FALSE(changes[1].added);
  EXPECT_EQ(service_->counts().uncountedLosses, 0U);

  const Reply third = service_->connect(Within, {});
  usable(out(0, 0), Status::Ok);
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{third.request, Status::Ok}}));
  usable(out(0, 0), Status::Refused);
  EXPECT_EQ(service_->links(), std::vector{Within}) << "it has stood";
  EXPECT_EQ(service_->counts().uncountedLosses, 1U);
  EXPECT_EQ(service_->connect(Within, {}), Status::Ok);
}

TEST_F(LaterAnswers, ClientThatLeavesGetsNoAnswerToItsTaps) {
  tap("G0Out1");
  const Reply patch = service_->connect(Across, {});
  service_->removeClient(client_, {});
  EXPECT_EQ(news(), (Told{"use G0Out1", "unuse G0Out1"}));
  usable(out(0, 0), Status::Ok);
  EXPECT_TRUE(service_->takeAnswers().empty());
  patched(patch.request, Status::Ok);
  EXPECT_EQ(service_->takeAnswers().size(), 1U) << "the patch is nobody's own";
}

TEST_F(LaterAnswers, TapThatEndsBeforeItsAnswerIsAnswered) {
  const Reply reply = tap("G0Out1");
  EXPECT_EQ(service_->untap(client_, One, "G0Out1", {}), Status::Ok);
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{reply.request, Status::Ok}}));
  usable(out(0, 0), Status::Refused);
  EXPECT_TRUE(service_->takeAnswers().empty());
  EXPECT_EQ(news(), (Told{"use G0Out1", "unuse G0Out1"}));
}

TEST_F(LaterAnswers, SourceThatIsStillRefusedWhenItReturnsIsALossAgain) {
  tap("G1Out1");
  usable(out(1, 0), Status::Ok);
  usable(out(1, 0), Status::Refused);
  EXPECT_EQ(texts(), Texts{"lost before 0"});
  act([&](device::DriverEvents&) { device_->change(evenTopology(1, 1)); });
  act([&](device::DriverEvents&) { device_->change(evenTopology(2, 2)); });
  EXPECT_EQ(texts(), Texts{});
  usable(out(1, 0), Status::Refused);
  EXPECT_EQ(texts(), Texts{"lost before 0"});
}

TEST_F(LaterAnswers, RefusalThatIsOverWhenItIsHeardOfIsALoss) {
  tap("G0Out1");
  usable(out(0, 0), Status::Ok);
  act([](device::DriverEvents& events) {
    events.used(out(0, 0), Status::Refused, {});
    events.used(out(0, 0), Status::Ok, {});
  });
  EXPECT_EQ(texts(), Texts{"lost before 0"});
}

TEST_F(LaterAnswers, ManyAnswersComeInPiecesAndInOrder) {
  constexpr std::size_t Many = 1000;
  std::vector<ClientId> clients;
  std::vector<RequestId> requests;
  for (std::size_t i = 0; i < Many; ++i) {
    clients.push_back(service_->addClient());
    requests.push_back(service_->tap(clients.back(), One, "G0Out1", 1004, {}).request);
  }
  usable(out(0, 0), Status::Refused);
  std::vector<Answer> answers = service_->takeAnswers();
  EXPECT_LT(answers.size(), Many / 2);
  while (service_->advance({})) {
    for (const Answer& answer : service_->takeAnswers()) answers.push_back(answer);
  }
  ASSERT_EQ(answers.size(), Many);
  for (std::size_t i = 0; i < Many; ++i) EXPECT_EQ(answers[i], (Answer{requests[i], Status::Refused}));
  for (const ClientId client : clients) EXPECT_FALSE(service_->hasEvents(client)) << "an error is no loss";
  EXPECT_EQ(service_->counts().uncountedLosses, 0U);
}

// The sources of a large sink are looked at in pieces. One that is refused in the first piece is an error for who asks
// for the sink, and a loss only for whose tap has stood.
TEST_F(LaterAnswers, RefusalInAPieceIsALossOnlyForTapsThatStood) {
  constexpr std::uint16_t Many = 1000;
  act([&](device::DriverEvents&) { device_->change(evenTopology(2, Many)); });
  act([](device::DriverEvents& events) {
    for (std::uint16_t index = 0; index < Many; ++index) events.linked(link(out(0, index), in(1, 0)), {});
  });
  device_->whetherUsable = [](device::PortId source) {
    return source.index < 2 ? std::nullopt : std::optional(source.index == 2 ? Status::Refused : Status::Ok);
  };
  const ClientId other = service_->addClient();
  const Reply stands = service_->tap(other, One, "G0Out1", 1004, {});
  usable(out(0, 0), Status::Ok);
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{stands.request, Status::Ok}}));

  const Reply reply = tap("G1In1");
  EXPECT_EQ(reply.status, std::nullopt);
  usable(out(0, 0), Status::Refused);
  while (service_->advance({})) {
  }
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{reply.request, Status::Refused}}));
  EXPECT_EQ(textsOfClient(other), Texts{"lost before 0"});
  EXPECT_FALSE(service_->hasEvents(client_)) << "an error is no loss";
}

// What the first ones were not told is not forgotten when the news comes while others are told.
TEST_F(LaterAnswers, NewsDuringAPieceReachesAll) {
  constexpr std::size_t Many = 300;
  std::size_t open = 0;
  for (std::size_t i = 0; i < Many; ++i) {
    const ClientId client = service_->addClient();
    if (!service_->tap(client, One, i < Many / 2 ? "G0Out1" : "G1Out1", 1004, {}).status) ++open;
  }
  ASSERT_EQ(open, Many);
  usable(out(1, 0), Status::Ok);
  usable(out(0, 0), Status::Ok);
  std::size_t answered = service_->takeAnswers().size();
  while (service_->advance({})) answered += service_->takeAnswers().size();
  EXPECT_EQ(answered, Many);
}

TEST_F(LaterAnswers, TapWhosePortGoesStandsUntilThePortReturns) {
  const Reply reply = tap("G1Out1");
  act([&](device::DriverEvents&) { device_->change(evenTopology(1, 1)); });
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{reply.request, Status::Ok}}));
  EXPECT_EQ(service_->counts(client_).taps, 1U);
}

// Until the device has found it again, nothing arrives.
TEST_F(LaterAnswers, SourceThatReturnsIsAskedForAgain) {
  const ClientId other = service_->addClient();
  tap("G1Out1");
  usable(out(1, 0), Status::Ok);
  service_->takeAnswers();
  act([&](device::DriverEvents&) { device_->change(evenTopology(1, 1)); });
  news();
  act([&](device::DriverEvents&) { device_->change(evenTopology(2, 1)); });
  EXPECT_EQ(news(), Told{"use G1Out1"});
  const Reply reply = service_->tap(other, One, "G1Out1", 1004, {});
  EXPECT_EQ(reply.status, std::nullopt);
  const Reply again = tap("G1Out1");
  EXPECT_EQ(again.status, std::nullopt) << "also who tapped it before";
  EXPECT_TRUE(service_->takeAnswers().empty());
  usable(out(1, 0), Status::Ok);
  EXPECT_EQ(service_->takeAnswers(), (std::vector<Answer>{{reply.request, Status::Ok}, {again.request, Status::Ok}}));
  EXPECT_FALSE(service_->hasEvents(client_));
  EXPECT_EQ(news(), Told{});

  act([&](device::DriverEvents&) { device_->change(evenTopology(1, 1)); });
  device_->whetherUsable = [](device::PortId) { return Status::Refused; };
  act([&](device::DriverEvents&) { device_->change(evenTopology(2, 1)); });
  EXPECT_EQ(news(), Told{"use G1Out1"});
  EXPECT_EQ(texts(), Texts{"lost before 0"});
}

// Nobody needs it any more when it returns.
TEST_F(LaterAnswers, SourceThatReturnsUnusedIsNotAskedFor) {
  tap("G1Out1");
  usable(out(1, 0), Status::Ok);
  act([&](device::DriverEvents&) { device_->change(evenTopology(1, 1)); });
  EXPECT_EQ(service_->untap(client_, One, "G1Out1", {}), Status::Ok);
  news();
  act([&](device::DriverEvents&) { device_->change(evenTopology(2, 1)); });
  EXPECT_EQ(news(), Told{});
}

}  // namespace
}  // namespace service
