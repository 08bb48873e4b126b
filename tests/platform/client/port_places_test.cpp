#include "platform/client/port_places.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace client {
namespace {

using device::PortId;
using device::Side;

using StrmSrv::PortRecord;
using Groups = std::vector<device::Group>;

// A group whose handle is its id; a side without names is not there, an empty name stands for a port that has gone.
device::Group group(std::uint16_t id, const std::string& name, const std::vector<std::string>& sources,
                    const std::vector<std::string>& sinks = {}) {
  const auto side = [](const std::vector<std::string>& names) -> std::optional<device::SideOfGroup> {
    if (names.empty()) return std::nullopt;
    device::SideOfGroup made{static_cast<std::uint16_t>(names.size()), "", names};
    made.removeUnnamed();
    return made;
  };
  return {id, name, side(sources), side(sinks), {}, id};
}

constexpr PortId nowhere(Side side) { return {0xFFFFFFFFFFFFFFFF, 65535, side}; }

// Gives new groups ids from 10 on, and remembers their names.
struct NewGroups {
  PortPlaces::NewGroup give = [this](const device::Group& group) -> std::optional<std::uint16_t> {
    names.push_back(group.name);
    return static_cast<std::uint16_t>(9 + names.size());
  };
  std::vector<std::string> names;
};

std::optional<std::uint16_t> nobody(const device::Group& /*group*/) { return std::nullopt; }

TEST(PortPlaces, EqualTheIndicesOfTheService) {
  const PortPlaces places(
      {{900, "A", device::SideOfGroup{2, "", {"a", "b"}}, device::SideOfGroup{1, "", {"x"}}, {}, 3}});
  EXPECT_EQ(places.toService({3, 1}, Side::Source), (PortId{900, 1, Side::Source}));
  EXPECT_EQ(places.fromService({900, 1, Side::Source}), (PortRecord{3, 1}));
  EXPECT_EQ(places.fromService({900, 1, Side::Sink}), std::nullopt);
  EXPECT_EQ(places.fromService({3, 1, Side::Source}), std::nullopt);
  EXPECT_EQ(places.name({3, 0}, Side::Sink), "x");
  EXPECT_EQ(places.name({3, 1}, Side::Sink), "AIn2") << "none such";
}

TEST(PortPlaces, PortsOfUnknownGroupsAreNamedByTheirIds) {
  const PortPlaces places(
      {{3, "A", device::SideOfGroup{2, "", {"Group900Out1", "Group3Out5"}}, std::nullopt, {}, 900}});
  EXPECT_EQ(places.name({3, 4}, Side::Source), "Group3Out5_2") << "3 is a handle of the service";
  EXPECT_EQ(places.name({65'535, 65'535}, Side::Sink), "Group65535In65536");
}

TEST(PortPlaces, PortsThatComeLaterAreKnownFromThenOn) {
  PortPlaces places({group(3, "A", {"a"})});
  NewGroups given;
  places.follow(Groups{group(3, "A", {"a", "b"}), group(5, "C", {}, {"", "d"})}, false, given.give);
  EXPECT_EQ(places.fromService({3, 1, Side::Source}), (PortRecord{3, 1}));
  EXPECT_EQ(places.fromService({5, 1, Side::Sink}), (PortRecord{10, 1}));
  EXPECT_EQ(places.name({10, 1}, Side::Sink), "d");
  EXPECT_EQ(places.fromService({5, 0, Side::Sink}), std::nullopt) << "it has gone";
  EXPECT_EQ(given.names, std::vector<std::string>{"C"});
  places.follow(Groups{group(3, "A", {"a"})}, false, given.give);
  EXPECT_EQ(places.name({10, 1}, Side::Sink), "d") << "also when it has gone again";
}

TEST(PortPlaces, GroupsThatNobodyWantsStayUnknown) {
  PortPlaces places({group(3, "A", {"a"})});
  places.follow(Groups{group(5, "C", {"c"})}, false, nobody);
  EXPECT_EQ(places.fromService({5, 0, Side::Source}), std::nullopt);
  NewGroups given;
  places.follow(Groups{group(5, "C", {"c"})}, false, given.give);
  EXPECT_EQ(places.fromService({5, 0, Side::Source}), (PortRecord{10, 0}));
}

TEST(PortPlaces, AnotherServiceWithTheSamePortsChangesNothing) {
  const auto numbered = [](std::uint64_t handle) {
    return device::Group{handle, "N", device::SideOfGroup{65535, "NOut", {}}, std::nullopt, {}, 4};
  };
  PortPlaces places({group(3, "A", {"a"}), numbered(4)});
  places.follow(Groups{group(3, "A", {"a"}), numbered(1234)}, true, nobody);
  EXPECT_EQ(places.toService({4, 65000}, Side::Source), (PortId{1234, 65000, Side::Source}));
  EXPECT_EQ(places.fromService({1234, 65000, Side::Source}), (PortRecord{4, 65000}));
  EXPECT_EQ(places.fromService({4, 65000, Side::Source}), std::nullopt);
  EXPECT_EQ(places.toService({9, 9}, Side::Source), nowhere(Side::Source));
}

TEST(PortPlaces, PortsAreFoundAgainByTheirNames) {
  PortPlaces places({group(0, "A", {"a", "b"}), group(1, "B", {"c"}, {"x", "y"})});
  NewGroups given;
  places.follow(Groups{group(0, "B", {"c"}, {"y"}), group(1, "A", {"b"})}, true, given.give);
  EXPECT_EQ(places.toService({0, 1}, Side::Source), (PortId{1, 0, Side::Source}));
  EXPECT_EQ(places.toService({1, 0}, Side::Source), (PortId{0, 0, Side::Source}));
  EXPECT_EQ(places.toService({1, 1}, Side::Sink), (PortId{0, 0, Side::Sink}));
  EXPECT_EQ(places.toService({0, 0}, Side::Source), nowhere(Side::Source)) << "a has gone";
  EXPECT_EQ(places.toService({1, 0}, Side::Sink), nowhere(Side::Sink)) << "x has gone";
  EXPECT_EQ(places.fromService({0, 0, Side::Sink}), (PortRecord{1, 1}));
  EXPECT_EQ(places.fromService({0, 1, Side::Sink}), std::nullopt);
  EXPECT_EQ(places.name({0, 0}, Side::Source), "a");
  EXPECT_TRUE(given.names.empty());
}

TEST(PortPlaces, NewPortsOfAnotherServiceTakeNewPlaces) {
  PortPlaces places({group(0, "A", {"a", "b"}), group(1, "B", {"c"})});
  NewGroups given;
  places.follow(Groups{group(0, "New", {"n"}), group(1, "A", {"e", "b"})}, true, given.give);
  EXPECT_EQ(places.fromService({0, 0, Side::Source}), (PortRecord{10, 0}));
  EXPECT_EQ(places.name({10, 0}, Side::Source), "n");
  EXPECT_EQ(places.toService({10, 0}, Side::Source), (PortId{0, 0, Side::Source}));
  EXPECT_EQ(given.names, std::vector<std::string>{"New"});
  EXPECT_EQ(places.fromService({1, 0, Side::Source}), (PortRecord{0, 2}))
      << "of a group that is known, behind the others";
  EXPECT_EQ(places.name({0, 2}, Side::Source), "e");
}

// A port that came later, and then a service that has it elsewhere, and one that has the first's numbers again.
TEST(PortPlaces, PlacesOutliveSeveralServices) {
  const Groups first{group(0, "A", {"a"})};
  PortPlaces places(first);
  NewGroups given;
  places.follow(Groups{group(0, "A", {"a"}), group(1, "B", {"b"})}, false, given.give);
  places.follow(Groups{group(0, "B", {"b"}), group(1, "A", {"a"})}, true, given.give);
  EXPECT_EQ(places.toService({10, 0}, Side::Source), (PortId{0, 0, Side::Source}));
  places.follow(Groups{group(0, "B", {"b", "later"}), group(1, "A", {"a"})}, false, given.give);
  EXPECT_EQ(places.toService({10, 1}, Side::Source), (PortId{0, 1, Side::Source}));
  places.follow(first, true, given.give);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (PortId{0, 0, Side::Source}));
  EXPECT_EQ(places.name({10, 1}, Side::Source), "later");
  EXPECT_EQ(given.names, std::vector<std::string>{"B"});
}

// As one does that has been away for long: the old handle is that of nobody.
TEST(PortPlaces, GroupThatComesBackUnderAnotherHandleIsFoundAgain) {
  PortPlaces places({group(0, "A", {"a", "b"}), group(1, "B", {"c"})});
  places.follow(Groups{group(1, "B", {"c"}), group(7, "A", {"a", "b"})}, false, nobody);
  EXPECT_EQ(places.toService({0, 1}, Side::Source), (PortId{7, 1, Side::Source}));
  EXPECT_EQ(places.fromService({7, 1, Side::Source}), (PortRecord{0, 1}));
  EXPECT_EQ(places.fromService({0, 1, Side::Source}), std::nullopt);
  places.follow(Groups{group(1, "B", {"c"}), group(8, "A", {"new", "a"})}, false, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (PortId{8, 1, Side::Source}));
  EXPECT_EQ(places.toService({0, 1}, Side::Source), nowhere(Side::Source));
  EXPECT_EQ(places.fromService({8, 0, Side::Source}), (PortRecord{0, 2}));
  EXPECT_EQ(places.name({0, 2}, Side::Source), "new");
  EXPECT_EQ(places.fromService({7, 1, Side::Source}), std::nullopt);
  EXPECT_EQ(places.toService({1, 0}, Side::Source), (PortId{1, 0, Side::Source}));
}

// The place that a later port has got is not another's, although it has its index in the service.
TEST(PortPlaces, LaterPortsPlaceIsNotTakenByItsIndex) {
  PortPlaces places({group(0, "A", {"a"})});
  places.follow(Groups{group(0, "A", {"a", "b"})}, false, nobody);
  places.follow(Groups{group(0, "A", {"a"})}, true, nobody);
  places.follow(Groups{group(0, "A", {"a", "c"})}, false, nobody);
  EXPECT_EQ(places.name({0, 1}, Side::Source), "b");
  EXPECT_EQ(places.toService({0, 1}, Side::Source), nowhere(Side::Source));
  EXPECT_EQ(places.fromService({0, 1, Side::Source}), (PortRecord{0, 2}));
  EXPECT_EQ(places.name({0, 2}, Side::Source), "c");
}

// Whoever asks for it before anybody has looked at its name does not get the place of the one that was there.
TEST(PortPlaces, LaterPortsIndexIsUnknownInAnotherService) {
  const Groups first{group(0, "A", {"a"}), group(1, "B", {"x"})};
  const Groups withLater{group(0, "A", {"a", "b"}), group(1, "B", {"x"})};
  PortPlaces places(first);
  places.follow(withLater, false, nobody);
  EXPECT_EQ(places.fromService({0, 1, Side::Source}), (PortRecord{0, 1}));
  places.follow(first, true, nobody);
  EXPECT_EQ(places.fromService({0, 1, Side::Source}), std::nullopt);
  EXPECT_EQ(places.toService({0, 1}, Side::Source), nowhere(Side::Source));
  EXPECT_EQ(places.fromService({0, 0, Side::Source}), (PortRecord{0, 0}));
  EXPECT_EQ(places.fromService({1, 0, Side::Source}), (PortRecord{1, 0}));
  places.follow(withLater, false, nobody);
  EXPECT_EQ(places.fromService({0, 1, Side::Source}), (PortRecord{0, 1})) << "it is b again";
  EXPECT_EQ(places.toService({0, 1}, Side::Source), (PortId{0, 1, Side::Source}));
}

TEST(PortPlaces, PortsThatHaveMovedToAnotherGroupAreFoundWhicheverComesFirst) {
  const device::Group a = group(7, "A", {"y"});
  const device::Group b = group(8, "B", {"b", "x"});
  for (const Groups& now : {Groups{a, b}, Groups{b, a}}) {
    PortPlaces places({group(0, "A", {"x", "y"}), group(1, "B", {"b"})});
    places.follow(now, true, nobody);
    EXPECT_EQ(places.toService({0, 0}, Side::Source), (PortId{8, 1, Side::Source})) << now.front().name;
    EXPECT_EQ(places.fromService({8, 1, Side::Source}), (PortRecord{0, 0})) << now.front().name;
    EXPECT_EQ(places.toService({0, 1}, Side::Source), (PortId{7, 0, Side::Source})) << now.front().name;
    EXPECT_EQ(places.toService({1, 0}, Side::Source), (PortId{8, 0, Side::Source})) << now.front().name;
  }
}

TEST(PortPlaces, PortThatMovesBackIsFoundAgain) {
  PortPlaces places({group(0, "A", {"x", "y"}), group(1, "B", {"b"})});
  places.follow(Groups{group(7, "A", {"", "y"}), group(8, "B", {"b", "x"})}, true, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (PortId{8, 1, Side::Source}));
  places.follow(Groups{group(7, "A", {"x", "y"}), group(8, "B", {"b", ""})}, false, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (PortId{7, 0, Side::Source}));
  EXPECT_EQ(places.fromService({8, 1, Side::Source}), std::nullopt);
  places.follow(Groups{group(7, "A", {"", "y"}), group(8, "B", {"b", "x"})}, false, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (PortId{8, 1, Side::Source}));
  EXPECT_EQ(places.fromService({8, 1, Side::Source}), (PortRecord{0, 0}));
}

TEST(PortPlaces, NameOnTheOtherSideIsAnotherPort) {
  PortPlaces places({group(0, "A", {"a"})});
  places.follow(Groups{group(0, "A", {}, {"a"})}, true, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), nowhere(Side::Source));
  EXPECT_EQ(places.fromService({0, 0, Side::Sink}), (PortRecord{0, 0}));
}

}  // namespace
}  // namespace client
