// Messages that another system has no form for.
#include <gtest/gtest.h>

#include "tests/platform/service/house.h"

namespace service {
namespace {

const Bytes Note{0x90, 0x40, 0x7F};
constexpr std::uint16_t NoChannel = 16;

// Groups 2 and 3 are another system, which has 16 channels.
class Unsendable : public testing::Test {
 protected:
  explicit Unsendable(std::vector<device::Link> links = {}) : house_(std::move(links)) {
    house_.device->isUnsendable = [](device::PortId sink, const device::Message& message) {
      return sink.group >= 2 && message.group >= NoChannel;
    };
  }

  void inject(const char* port, std::uint16_t group) {
    EXPECT_EQ(house_.service->inject(house_.injector, port, {group, Note}, {}), device::Status::Ok);
  }

  std::uint64_t ofInjector() const { return house_.service->counts(house_.injector).unsendable; }
  std::uint64_t ofAll() const { return house_.service->counts().unsendable; }

  House house_;
};

TEST_F(Unsendable, InjectedMessageIsCountedForItsClientAndInTotal) {
  const ClientId other = house_.service->addClient();
  inject("G2In1", NoChannel - 1);
  EXPECT_EQ(ofInjector(), 0U);
  inject("G2In1", NoChannel);
  inject("G3In2", NoChannel);
  EXPECT_EQ(ofInjector(), 2U);
  EXPECT_EQ(ofAll(), 2U);
  EXPECT_EQ(house_.service->counts(other).unsendable, 0U);
  EXPECT_EQ(house_.service->counts(house_.injector).in, 3U) << "they have entered the device";
  EXPECT_EQ(house_.service->counts().lost, 0U);
}

TEST_F(Unsendable, SystemThatHasAFormCountsNothing) {
  inject("G0In1", NoChannel);
  inject("G1Out1", 65535);
  EXPECT_EQ(ofInjector(), 0U);
  EXPECT_EQ(ofAll(), 0U);
}

TEST_F(Unsendable, SentMessageCountsOnceHoweverManyPortsItReaches) {
  for (const char* port : {"G0In1", "G2In1", "G2In2", "G0In2", "G3In1"}) house_.tap(house_.injector, port);
  house_.news();
  EXPECT_EQ(house_.service->send(house_.injector, One, {NoChannel, Note}, {}), device::Status::Ok);
  EXPECT_EQ(ofInjector(), 1U);
  EXPECT_EQ(ofAll(), 1U);
  EXPECT_EQ(house_.news(), (Told{"deliver G0In1 90 40 7F", "deliver G2In1 90 40 7F", "deliver G2In2 90 40 7F",
                                 "deliver G0In2 90 40 7F", "deliver G3In1 90 40 7F"}))
      << "the other ports get it";
  EXPECT_EQ(house_.texts(house_.injector).size(), 5U) << "and so do all taps";
  house_.service->send(house_.injector, One, {NoChannel, Note}, {});
  EXPECT_EQ(ofInjector(), 2U);
}

// Two sources, each connected to sinks of the other system; the first also to a thru of this one.
class UnsendableAlongConnections : public Unsendable {
 protected:
  UnsendableAlongConnections()
      : Unsendable({link(out(0, 0), in(2, 0)), link(out(0, 0), in(2, 1)), link(out(0, 1), in(1, 0)),
                    link(out(1, 0), in(3, 0))}) {
    house_.device->beThru();
  }
};

TEST_F(UnsendableAlongConnections, MessageIsTheSendersToTheEndOfItsWay) {
  inject("G0Out1", NoChannel);
  EXPECT_EQ(ofInjector(), 1U) << "at two sinks";
  inject("G0Out2", NoChannel);
  EXPECT_EQ(ofInjector(), 2U) << "behind a thru";
  EXPECT_EQ(ofAll(), 2U);
}

TEST_F(UnsendableAlongConnections, MessageOfTheDeviceCountsInTotalAlone) {
  inject("G0Out1", NoChannel);
  house_.device->events().emitted(out(0, 0), {NoChannel, Note}, {});
  house_.device->events().emitted(out(0, 1), {NoChannel, Note}, {});
  house_.device->events().emitted(out(0, 0), {NoChannel - 1, Note}, {});
  EXPECT_EQ(ofInjector(), 1U);
  EXPECT_EQ(ofAll(), 3U);
}

// A source with so many taps that a message is on its way for a while, and another; both lead to the other system.
class UnsendableOnItsWay : public Unsendable {
 protected:
  UnsendableOnItsWay() : Unsendable({link(out(0, 0), in(2, 0)), link(out(0, 1), in(3, 0))}) {
    for (int i = 0; i < 3; ++i) {
      const ClientId listener = house_.service->addClient();
      for (std::uint32_t port = 0; port < 1000; ++port) house_.tap(listener, "G0Out1", EventPortId{port});
    }
  }

  void arrive() {
    ASSERT_TRUE(house_.service->isPassing());
    while (house_.service->isPassing()) house_.service->advance({});
  }
};

TEST_F(UnsendableOnItsWay, MessageIsTheSendersAlthoughTheDeviceEmitsMeanwhile) {
  inject("G0Out1", NoChannel);
  EXPECT_EQ(ofInjector(), 0U) << "it has not arrived";
  house_.device->events().emitted(out(0, 1), {NoChannel, Note}, {});
  arrive();
  EXPECT_EQ(ofInjector(), 1U);
  EXPECT_EQ(ofAll(), 2U);
  house_.device->events().emitted(out(0, 1), {NoChannel, Note}, {});
  EXPECT_EQ(ofInjector(), 1U);
  EXPECT_EQ(ofAll(), 3U);
}

TEST_F(UnsendableOnItsWay, MessagesOfTwoSendersAreKeptApart) {
  const ClientId other = house_.service->addClient();
  const auto ofOther = [&] { return house_.service->counts(other).unsendable; };
  inject("G0Out1", NoChannel);
  house_.service->inject(other, "G0Out1", {NoChannel, Note}, {});
  EXPECT_EQ(ofInjector(), 1U) << "the first is finished for the second";
  EXPECT_EQ(ofOther(), 0U);
  arrive();
  EXPECT_EQ(ofInjector(), 1U);
  EXPECT_EQ(ofOther(), 1U);
  EXPECT_EQ(ofAll(), 2U);
}

TEST_F(UnsendableOnItsWay, SenderMayLeaveMeanwhile) {
  inject("G0Out1", NoChannel);
  house_.service->removeClient(house_.injector, {});
  arrive();
  EXPECT_EQ(ofInjector(), 0U);
  EXPECT_EQ(ofAll(), 1U);
}

TEST_F(Unsendable, CountsOfAClientThatHasLeftStayInTheTotal) {
  inject("G2In1", NoChannel);
  house_.service->removeClient(house_.injector, {});
  EXPECT_EQ(ofInjector(), 0U);
  EXPECT_EQ(ofAll(), 1U);
  EXPECT_EQ(house_.service->inject(house_.injector, "G2In1", {NoChannel, Note}, {}), device::Status::NoSession);
  EXPECT_EQ(ofAll(), 1U);
}

}  // namespace
}  // namespace service
