#include "platform/drivers/side_by_side.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <set>
#include <string>
#include <utility>

#include "tests/platform/service/device.h"

namespace drivers {
namespace {

using service::Bytes;
using service::evenTopology;
using service::hexOf;
using service::in;
using service::link;
using service::out;
using service::TestDevice;
using service::Told;
using testing::ElementsAre;
using testing::IsEmpty;

// Everything a driver tells, as text.
class Teller : public device::DriverEvents {
 public:
  void emitted(device::PortId source, const device::Message& message, device::Time /*now*/) override {
    told.push_back("emitted " + text(source) + " " + std::to_string(message.group) + hexOf(message.bytes));
  }
  void linked(const device::Link& link, device::Time /*now*/) override { told.push_back("linked " + text(link)); }
  void unlinked(const device::Link& link, device::Time /*now*/) override { told.push_back("unlinked " + text(link)); }
  void topologyChanged(device::Time /*now*/) override { told.emplace_back("changed"); }
  void lost(device::PortId source, std::uint64_t count, device::Time /*now*/) override {
    told.push_back("lost " + text(source) + " " + std::to_string(count));
  }
  void patched(device::RequestId request, device::Status status, device::Time /*now*/) override {
    told.push_back("patched " + std::to_string(static_cast<std::uint64_t>(request)) + " " + text(status));
  }
  void used(device::PortId source, device::Status status, device::Time /*now*/) override {
    told.push_back("used " + text(source) + " " + text(status));
  }
  void noted(std::string_view line) override { told.push_back("noted " + std::string(line)); }
  void warned(std::string_view line) override { told.push_back("warned " + std::string(line)); }

  static std::string text(device::Status status) { return status == device::Status::Ok ? "ok" : "no"; }
  static std::string text(device::PortId port) {
    return std::to_string(port.group) + (port.side == device::Side::Source ? ">" : "<") + std::to_string(port.index);
  }
  static std::string text(const device::Link& link) { return text(link.source()) + " " + text(link.sink()); }

  Told told;
};

// Two devices of two groups, which call their groups and ports alike.
class SideBySideTest : public testing::Test {
 protected:
  SideBySideTest() {
    auto one = std::make_unique<TestDevice>(evenTopology(2, 1), std::vector{link(out(0, 0), in(1, 0))}, toldOne_);
    auto two = std::make_unique<TestDevice>(evenTopology(2, 1), std::vector{link(out(1, 0), in(0, 0))}, toldTwo_);
    one_ = one.get();
    two_ = two.get();
    two_->descriptor = eventfd(0, EFD_CLOEXEC);
    std::vector<NamedDriver> drivers;
    drivers.push_back({"one", std::move(one)});
    drivers.push_back({"two", std::move(two)});
    joint_ = makeSideBySide(std::move(drivers));
    started_ = joint_->start(teller_, {});
    toldOne_.clear();
    toldTwo_.clear();
  }
  ~SideBySideTest() override { close(two_->descriptor); }

  bool isReadable() const {
    pollfd readable{started_.descriptor, POLLIN, 0};
    return poll(&readable, 1, 0) == 1;
  }

  Told toldOne_;
  Told toldTwo_;
  TestDevice* one_ = nullptr;
  TestDevice* two_ = nullptr;
  Teller teller_;
  std::unique_ptr<device::Driver> joint_;
  device::Started started_;
};

TEST_F(SideBySideTest, GroupsStandSideBySideUnderNamesThatDiffer) {
  const device::Topology& topology = joint_->topology();
  ASSERT_EQ(topology.groups().size(), 4U);
  EXPECT_EQ(topology.groups()[1].name, "G1");
  EXPECT_EQ(topology.groups()[2].name, "G0_2");
  EXPECT_EQ(topology.groups()[3].handle, 3U);
  EXPECT_EQ(topology.name(out(0, 0)), "G0Out1");
  EXPECT_EQ(topology.name(out(2, 0)), "G0Out1_2");
  EXPECT_EQ(topology.port("G1In1_2"), in(3, 0));
  EXPECT_THAT(started_.links, ElementsAre(link(out(0, 0), in(1, 0)), link(out(3, 0), in(2, 0))));
}

TEST_F(SideBySideTest, EachDriverIsCalledWithItsOwnPortIds) {
  const Bytes note{0x90, 1, 2};
  joint_->deliver(in(3, 0), {5, note}, {});
  joint_->setUsed(out(0, 0), true, {});
  joint_->setUsed(out(2, 0), false, {});
  EXPECT_EQ(toldOne_, Told{"use G0Out1"});
  EXPECT_EQ(toldTwo_, (Told{"deliver G1In1 90 01 02", "unuse G0Out1"}));
}

TEST_F(SideBySideTest, EachDriverSaysWhetherItHasAFormForAMessage) {
  two_->isUnsendable = [](device::PortId sink, const device::Message& message) {
    return sink == in(1, 0) && message.group > 15;
  };
  const Bytes note{0x90, 1, 2};
  EXPECT_EQ(joint_->deliver(in(3, 0), {16, note}, {}), device::Delivery::Unsendable);
  EXPECT_EQ(joint_->deliver(in(3, 0), {15, note}, {}), device::Delivery::Taken);
  EXPECT_EQ(joint_->deliver(in(1, 0), {16, note}, {}), device::Delivery::Taken) << "the other driver";
  EXPECT_EQ(joint_->deliver(in(9, 0), {16, note}, {}), device::Delivery::Taken) << "a port of none";
}

TEST_F(SideBySideTest, EventsOfEachDriverHaveTheJointPortIds) {
  const Bytes note{0x90, 1, 2};
  one_->events().emitted(out(1, 0), {5, note}, {});
  two_->events().emitted(out(1, 0), {5, note}, {});
  two_->events().linked(link(out(0, 0), in(1, 0)), {});
  two_->events().unlinked(link(out(0, 0), in(1, 0)), {});
  two_->events().lost(out(0, 0), 9, {});
  two_->events().noted("a line");
  one_->events().warned("another");
  EXPECT_EQ(teller_.told, (Told{"emitted 1>0 5 90 01 02", "emitted 3>0 5 90 01 02", "linked 2>0 3<0",
                                "unlinked 2>0 3<0", "lost 2>0 9", "noted two: a line", "warned one: another"}));
}

TEST_F(SideBySideTest, FinishReachesEachDriver) {
  one_->onFinish = [](device::DriverEvents& events) { events.noted("a sum"); };
  two_->onFinish = [](device::DriverEvents& events) { events.noted("another"); };
  joint_->finish({});
  EXPECT_EQ(teller_.told, (Told{"noted one: a sum", "noted two: another"}));
}

TEST_F(SideBySideTest, DriversConnectOnlyPortsOfOneDriver) {
  const auto patched = [](Told& told) {
    return [&told](device::DriverEvents&, bool made, const device::Link& wanted) {
      told.push_back((made ? "make " : "end ") + Teller::text(wanted));
      return device::Status::Ok;
    };
  };
  one_->onPatch = patched(toldOne_);
  two_->onPatch = patched(toldTwo_);
  EXPECT_TRUE(joint_->patch(device::RequestId{7}, true, link(out(3, 0), in(2, 0)), {}));
  EXPECT_TRUE(joint_->patch(device::RequestId{8}, false, link(out(0, 0), in(1, 0)), {}));
  EXPECT_FALSE(joint_->patch(device::RequestId{9}, true, link(out(0, 0), in(2, 0)), {}));
  EXPECT_EQ(teller_.told, (Told{"patched 7 ok", "patched 8 ok"}));
  EXPECT_EQ(toldOne_, Told{"end 0>0 1<0"});
  EXPECT_EQ(toldTwo_, Told{"make 1>0 0<0"});
}

TEST_F(SideBySideTest, LaterAnswersOfEachDriverReachTheService) {
  two_->onRequest = [](device::RequestId, bool, const device::Link&) {};
  two_->whetherUsable = [](device::PortId) { return std::nullopt; };
  EXPECT_TRUE(joint_->patch(device::RequestId{7}, true, link(out(3, 0), in(2, 0)), {}));
  EXPECT_EQ(joint_->setUsed(out(0, 0), true, {}), device::Status::Ok);
  EXPECT_EQ(joint_->setUsed(out(3, 0), true, {}), std::nullopt);
  EXPECT_THAT(teller_.told, IsEmpty());
  two_->events().used(out(1, 0), device::Status::Refused, {});
  two_->events().patched(device::RequestId{7}, device::Status::Refused, {});
  EXPECT_EQ(teller_.told, (Told{"used 3>0 no", "patched 7 no"}));
}

TEST_F(SideBySideTest, GroupsThatComeLaterAreListedBehindAllOthers) {
  std::vector<device::Group> groups = evenTopology(3, 1).groups();
  groups[0].sinks->names = {"G0In1"};
  groups[0].sinks->gone = {true};
  one_->change(device::Topology(groups));
  EXPECT_EQ(teller_.told, (Told{"noted one: group \"G2\" was added: \"G2Out1\", \"G2In1\"", "changed"}));
  const device::Topology& topology = joint_->topology();
  ASSERT_EQ(topology.groups().size(), 5U);
  EXPECT_EQ(topology.groups()[4].name, "G2");
  EXPECT_EQ(topology.name(out(2, 0)), "G0Out1_2") << "as before";
  EXPECT_FALSE(topology.exists(in(0, 0)));
  EXPECT_EQ(topology.place("G0In1"), in(0, 0));
  joint_->setUsed(out(4, 0), true, {});
  EXPECT_EQ(toldOne_, Told{"use G2Out1"});
  EXPECT_THAT(toldTwo_, IsEmpty());
}

// What a group is called here, and no other group from then on.
TEST_F(SideBySideTest, NewPortsAreLoggedUnderTheirJointNames) {
  const auto with = [](std::vector<device::Group> more) {
    std::vector<device::Group> groups = evenTopology(2, 1).groups();
    for (device::Group& group : more) groups.push_back(std::move(group));
    return device::Topology(std::move(groups));
  };
  const auto ports = [](std::vector<std::string> names, std::vector<bool> gone = {}) {
    const auto count = static_cast<std::uint16_t>(names.size());
    return device::SideOfGroup{count, "", std::move(names), {}, std::move(gone)};
  };
  two_->change(with({{7, "Late", ports({"G0Out1"}), std::nullopt}}));
  EXPECT_EQ(teller_.told, (Told{"noted two: group \"Late\" was added: \"G0Out1_3\"", "changed"}));
  teller_.told.clear();
  two_->change(with({{7, "Late", ports({"G0Out1", "x"}, {true, false}), ports({"y"})}}));
  EXPECT_EQ(teller_.told, (Told{"noted two: group \"Late\" has new ports: \"x\", \"y\"", "changed"}));
  teller_.told.clear();
  two_->change(with({{7, "Late", ports({"G0Out1", "x"}, {true, true}), ports({"y"}, {true})}}));
  EXPECT_EQ(teller_.told, Told{"changed"}) << "that it has gone is the driver's to say";
  teller_.told.clear();
  const std::vector<std::string> many{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"};
  two_->change(with({{7, "Late", ports({"G0Out1", "x"}), ports({"y"}, {true})}, {8, "Late", ports(many), {}}}));
  EXPECT_EQ(
      teller_.told,
      (Told{"noted two: group \"Late\" was added: \"G0Out1_3\", \"x\"",
            "noted two: group \"Late_2\" was added: \"1\", \"2\", \"3\", \"4\", \"5\", \"6\", \"7\", \"8\" and 2 more",
            "changed"}));
}

TEST_F(SideBySideTest, GroupsThatADriverForgetsAreForgottenWithTheirNames) {
  for (std::uint64_t handle = 100; handle < 2'100; ++handle) {
    std::vector<device::Group> groups = evenTopology(2, 1).groups();
    groups.push_back({handle, "Late", device::SideOfGroup{1, "", {"late:out"}}, std::nullopt});
    one_->change(device::Topology(std::move(groups)));
    ASSERT_EQ(joint_->topology().groups().size(), 5U);
    const auto port = joint_->topology().port("late:out");
    ASSERT_TRUE(port);
    EXPECT_EQ(port->group, handle - 100 + 4) << "no handle is given twice";
    EXPECT_EQ(joint_->topology().find(port->group)->name, "Late");
  }
}

// A driver keeps a source until it hears that nobody uses it, and the service says so only when the source has gone.
TEST_F(SideBySideTest, NoDriverKeepsAUsedSourceThatItHasForgotten) {
  std::set<device::PortId> kept;
  one_->onUsed = [&](device::DriverEvents&, device::PortId source, bool used, device::Time) {
    if (used) {
      kept.insert(source);
    } else {
      EXPECT_EQ(kept.erase(source), 1U);
    }
  };
  for (std::uint64_t handle = 100; handle < 1'100; ++handle) {
    std::vector<device::Group> groups = evenTopology(2, 1).groups();
    groups.push_back({handle, "Late", device::SideOfGroup{1, "", {"late:out"}}, std::nullopt});
    one_->change(device::Topology(std::move(groups)));
    const device::PortId source = joint_->topology().port("late:out").value();
    joint_->setUsed(source, true, {});
    ASSERT_EQ(kept, std::set{out(handle, 0)});
    one_->change(evenTopology(2, 1));
    ASSERT_FALSE(joint_->topology().knows(source));
    joint_->setUsed(source, false, {});
    ASSERT_THAT(kept, IsEmpty());
  }
}

TEST_F(SideBySideTest, GroupsKeepTheIdsThatTheyAskForAndNameTheirSystem) {
  EXPECT_EQ(joint_->topology().groups()[3].wantedId, 1U);
  EXPECT_EQ(joint_->topology().groups()[3].system, 1U);
}

TEST_F(SideBySideTest, IsReadableAndBehindWhenAnyDriverIs) {
  EXPECT_FALSE(isReadable());
  eventfd_write(two_->descriptor, 1);
  EXPECT_TRUE(isReadable());
  EXPECT_FALSE(joint_->behind());
  two_->isBehind = true;
  EXPECT_TRUE(joint_->behind());
}

TEST_F(SideBySideTest, AdvancesAllDriversAndReturnsTheEarliestTime) {
  one_->onAdvance = [](device::DriverEvents&, device::Time) { return device::Time(30); };
  EXPECT_EQ(joint_->advance({}), device::Time(30));
  two_->onAdvance = [](device::DriverEvents&, device::Time) { return device::Time(20); };
  EXPECT_EQ(joint_->advance({}), device::Time(20));
}

TEST(SideBySide, HasNoDescriptorWhenNoDriverHasOne) {
  Told told;
  std::vector<NamedDriver> drivers;
  drivers.push_back({"one", std::make_unique<TestDevice>(evenTopology(1, 1), std::vector<device::Link>{}, told)});
  Teller teller;
  EXPECT_EQ(makeSideBySide(std::move(drivers))->start(teller, {}).descriptor, -1);
}

}  // namespace
}  // namespace drivers
