#include "platform/client/port_places.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace client {
namespace {

using channel::ServicePort;
using device::Side;

using StrmSrv::PortRecord;

// A group whose handle is its id; a side without names is not there, an empty name stands for a port that has gone.
wire::TopologyGroup group(std::uint16_t id, const std::string& name, const std::vector<std::string>& sources,
                          const std::vector<std::string>& sinks = {}) {
  const auto side = [](const std::vector<std::string>& names) -> std::optional<wire::TopologySide> {
    if (names.empty()) return std::nullopt;
    return wire::TopologySide{static_cast<std::uint16_t>(names.size()), "", names};
  };
  return {id, id, name, side(sources), side(sinks)};
}

constexpr ServicePort Nowhere{0xFFFFFFFFFFFFFFFF, 65535};

// Gives new groups ids from 10 on, and remembers their names.
struct NewGroups {
  PortPlaces::NewGroup give = [this](const wire::TopologyGroup& group) -> std::optional<std::uint16_t> {
    names.push_back(group.name);
    return static_cast<std::uint16_t>(9 + names.size());
  };
  std::vector<std::string> names;
};

std::optional<std::uint16_t> nobody(const wire::TopologyGroup& /*group*/) { return std::nullopt; }

TEST(PortPlaces, EqualTheIndicesOfTheService) {
  const PortPlaces places({{{900, 3, "A", wire::TopologySide{2, "", {"a", "b"}}, wire::TopologySide{1, "", {"x"}}}}});
  EXPECT_EQ(places.toService({3, 1}, Side::Source), (ServicePort{900, 1}));
  EXPECT_EQ(places.fromService({900, 1}, Side::Source), (PortRecord{3, 1}));
  EXPECT_EQ(places.fromService({900, 1}, Side::Sink), std::nullopt);
  EXPECT_EQ(places.fromService({3, 1}, Side::Source), std::nullopt);
  EXPECT_EQ(places.name({3, 0}, Side::Sink), "x");
  EXPECT_EQ(places.name({3, 1}, Side::Sink), "AIn2") << "none such";
}

TEST(PortPlaces, PortsThatComeLaterAreKnownFromThenOn) {
  PortPlaces places({{group(3, "A", {"a"})}});
  NewGroups given;
  places.follow({{group(3, "A", {"a", "b"}), group(5, "C", {}, {"", "d"})}}, false, given.give);
  EXPECT_EQ(places.fromService({3, 1}, Side::Source), (PortRecord{3, 1}));
  EXPECT_EQ(places.fromService({5, 1}, Side::Sink), (PortRecord{10, 1}));
  EXPECT_EQ(places.name({10, 1}, Side::Sink), "d");
  EXPECT_EQ(places.fromService({5, 0}, Side::Sink), std::nullopt) << "it has gone";
  EXPECT_EQ(given.names, std::vector<std::string>{"C"});
  places.follow({{group(3, "A", {"a"})}}, false, given.give);
  EXPECT_EQ(places.name({10, 1}, Side::Sink), "d") << "also when it has gone again";
}

TEST(PortPlaces, GroupsThatNobodyWantsStayUnknown) {
  PortPlaces places({{group(3, "A", {"a"})}});
  places.follow({{group(5, "C", {"c"})}}, false, nobody);
  EXPECT_EQ(places.fromService({5, 0}, Side::Source), std::nullopt);
  NewGroups given;
  places.follow({{group(5, "C", {"c"})}}, false, given.give);
  EXPECT_EQ(places.fromService({5, 0}, Side::Source), (PortRecord{10, 0}));
}

TEST(PortPlaces, AnotherServiceWithTheSamePortsChangesNothing) {
  const auto numbered = [](std::uint64_t handle) {
    return wire::TopologyGroup{handle, 4, "N", wire::TopologySide{65535, "NOut", {}}, std::nullopt};
  };
  PortPlaces places({{group(3, "A", {"a"}), numbered(4)}});
  places.follow({{group(3, "A", {"a"}), numbered(1234)}}, true, nobody);
  EXPECT_EQ(places.toService({4, 65000}, Side::Source), (ServicePort{1234, 65000}));
  EXPECT_EQ(places.fromService({1234, 65000}, Side::Source), (PortRecord{4, 65000}));
  EXPECT_EQ(places.fromService({4, 65000}, Side::Source), std::nullopt);
  EXPECT_EQ(places.toService({9, 9}, Side::Source), Nowhere);
}

TEST(PortPlaces, PortsAreFoundAgainByTheirNames) {
  PortPlaces places({{group(0, "A", {"a", "b"}), group(1, "B", {"c"}, {"x", "y"})}});
  NewGroups given;
  places.follow({{group(0, "B", {"c"}, {"y"}), group(1, "A", {"b"})}}, true, given.give);
  EXPECT_EQ(places.toService({0, 1}, Side::Source), (ServicePort{1, 0}));
  EXPECT_EQ(places.toService({1, 0}, Side::Source), (ServicePort{0, 0}));
  EXPECT_EQ(places.toService({1, 1}, Side::Sink), (ServicePort{0, 0}));
  EXPECT_EQ(places.toService({0, 0}, Side::Source), Nowhere) << "a has gone";
  EXPECT_EQ(places.toService({1, 0}, Side::Sink), Nowhere) << "x has gone";
  EXPECT_EQ(places.fromService({0, 0}, Side::Sink), (PortRecord{1, 1}));
  EXPECT_EQ(places.fromService({0, 1}, Side::Sink), std::nullopt);
  EXPECT_EQ(places.name({0, 0}, Side::Source), "a");
  EXPECT_TRUE(given.names.empty());
}

TEST(PortPlaces, NewPortsOfAnotherServiceTakeNewPlaces) {
  PortPlaces places({{group(0, "A", {"a", "b"}), group(1, "B", {"c"})}});
  NewGroups given;
  places.follow({{group(0, "New", {"n"}), group(1, "A", {"e", "b"})}}, true, given.give);
  EXPECT_EQ(places.fromService({0, 0}, Side::Source), (PortRecord{10, 0}));
  EXPECT_EQ(places.name({10, 0}, Side::Source), "n");
  EXPECT_EQ(places.toService({10, 0}, Side::Source), (ServicePort{0, 0}));
  EXPECT_EQ(given.names, std::vector<std::string>{"New"});
  EXPECT_EQ(places.fromService({1, 0}, Side::Source), (PortRecord{0, 2}))
      << "of a group that is known, behind the others";
  EXPECT_EQ(places.name({0, 2}, Side::Source), "e");
}

// A port that came later, and then a service that has it elsewhere, and one that has the first's numbers again.
TEST(PortPlaces, PlacesOutliveSeveralServices) {
  const wire::Topology first{{group(0, "A", {"a"})}};
  PortPlaces places(first);
  NewGroups given;
  places.follow({{group(0, "A", {"a"}), group(1, "B", {"b"})}}, false, given.give);
  places.follow({{group(0, "B", {"b"}), group(1, "A", {"a"})}}, true, given.give);
  EXPECT_EQ(places.toService({10, 0}, Side::Source), (ServicePort{0, 0}));
  places.follow({{group(0, "B", {"b", "later"}), group(1, "A", {"a"})}}, false, given.give);
  EXPECT_EQ(places.toService({10, 1}, Side::Source), (ServicePort{0, 1}));
  places.follow(first, true, given.give);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (ServicePort{0, 0}));
  EXPECT_EQ(places.name({10, 1}, Side::Source), "later");
  EXPECT_EQ(given.names, std::vector<std::string>{"B"});
}

// As one does that has been away for long: the old handle is that of nobody.
TEST(PortPlaces, GroupThatComesBackUnderAnotherHandleIsFoundAgain) {
  PortPlaces places({{group(0, "A", {"a", "b"}), group(1, "B", {"c"})}});
  places.follow({{group(1, "B", {"c"}), group(7, "A", {"a", "b"})}}, false, nobody);
  EXPECT_EQ(places.toService({0, 1}, Side::Source), (ServicePort{7, 1}));
  EXPECT_EQ(places.fromService({7, 1}, Side::Source), (PortRecord{0, 1}));
  EXPECT_EQ(places.fromService({0, 1}, Side::Source), std::nullopt);
  places.follow({{group(1, "B", {"c"}), group(8, "A", {"new", "a"})}}, false, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (ServicePort{8, 1}));
  EXPECT_EQ(places.toService({0, 1}, Side::Source), Nowhere);
  EXPECT_EQ(places.fromService({8, 0}, Side::Source), (PortRecord{0, 2}));
  EXPECT_EQ(places.name({0, 2}, Side::Source), "new");
  EXPECT_EQ(places.fromService({7, 1}, Side::Source), std::nullopt);
  EXPECT_EQ(places.toService({1, 0}, Side::Source), (ServicePort{1, 0}));
}

// The place that a later port has got is not another's, although it has its index in the service.
TEST(PortPlaces, LaterPortsPlaceIsNotTakenByItsIndex) {
  PortPlaces places({{group(0, "A", {"a"})}});
  places.follow({{group(0, "A", {"a", "b"})}}, false, nobody);
  places.follow({{group(0, "A", {"a"})}}, true, nobody);
  places.follow({{group(0, "A", {"a", "c"})}}, false, nobody);
  EXPECT_EQ(places.name({0, 1}, Side::Source), "b");
  EXPECT_EQ(places.toService({0, 1}, Side::Source), Nowhere);
  EXPECT_EQ(places.fromService({0, 1}, Side::Source), (PortRecord{0, 2}));
  EXPECT_EQ(places.name({0, 2}, Side::Source), "c");
}

// Whoever asks for it before anybody has looked at its name does not get the place of the one that was there.
TEST(PortPlaces, LaterPortsIndexIsUnknownInAnotherService) {
  const wire::Topology first{{group(0, "A", {"a"}), group(1, "B", {"x"})}};
  const wire::Topology withLater{{group(0, "A", {"a", "b"}), group(1, "B", {"x"})}};
  PortPlaces places(first);
  places.follow(withLater, false, nobody);
  EXPECT_EQ(places.fromService({0, 1}, Side::Source), (PortRecord{0, 1}));
  places.follow(first, true, nobody);
  EXPECT_EQ(places.fromService({0, 1}, Side::Source), std::nullopt);
  EXPECT_EQ(places.toService({0, 1}, Side::Source), Nowhere);
  EXPECT_EQ(places.fromService({0, 0}, Side::Source), (PortRecord{0, 0}));
  EXPECT_EQ(places.fromService({1, 0}, Side::Source), (PortRecord{1, 0}));
  places.follow(withLater, false, nobody);
  EXPECT_EQ(places.fromService({0, 1}, Side::Source), (PortRecord{0, 1})) << "it is b again";
  EXPECT_EQ(places.toService({0, 1}, Side::Source), (ServicePort{0, 1}));
}

TEST(PortPlaces, PortsThatHaveMovedToAnotherGroupAreFoundWhicheverComesFirst) {
  const wire::TopologyGroup a = group(7, "A", {"y"});
  const wire::TopologyGroup b = group(8, "B", {"b", "x"});
  for (const wire::Topology& now : {wire::Topology{{a, b}}, wire::Topology{{b, a}}}) {
    PortPlaces places({{group(0, "A", {"x", "y"}), group(1, "B", {"b"})}});
    places.follow(now, true, nobody);
    EXPECT_EQ(places.toService({0, 0}, Side::Source), (ServicePort{8, 1})) << now.groups.front().name;
    EXPECT_EQ(places.fromService({8, 1}, Side::Source), (PortRecord{0, 0})) << now.groups.front().name;
    EXPECT_EQ(places.toService({0, 1}, Side::Source), (ServicePort{7, 0})) << now.groups.front().name;
    EXPECT_EQ(places.toService({1, 0}, Side::Source), (ServicePort{8, 0})) << now.groups.front().name;
  }
}

TEST(PortPlaces, PortThatMovesBackIsFoundAgain) {
  PortPlaces places({{group(0, "A", {"x", "y"}), group(1, "B", {"b"})}});
  places.follow({{group(7, "A", {"", "y"}), group(8, "B", {"b", "x"})}}, true, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (ServicePort{8, 1}));
  places.follow({{group(7, "A", {"x", "y"}), group(8, "B", {"b", ""})}}, false, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (ServicePort{7, 0}));
  EXPECT_EQ(places.fromService({8, 1}, Side::Source), std::nullopt);
  places.follow({{group(7, "A", {"", "y"}), group(8, "B", {"b", "x"})}}, false, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (ServicePort{8, 1}));
  EXPECT_EQ(places.fromService({8, 1}, Side::Source), (PortRecord{0, 0}));
}

TEST(PortPlaces, NameOnTheOtherSideIsAnotherPort) {
  PortPlaces places({{group(0, "A", {"a"})}});
  places.follow({{group(0, "A", {}, {"a"})}}, true, nobody);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), Nowhere);
  EXPECT_EQ(places.fromService({0, 0}, Side::Sink), (PortRecord{0, 0}));
}

}  // namespace
}  // namespace client
