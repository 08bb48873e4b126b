#include "platform/client/port_places.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace client {
namespace {

using StrmSrv::PortRecord;

// A group; a side without names is not there, an empty name stands for a port that has gone.
wire::TopologyGroup group(std::uint16_t id, const std::string& name, const std::vector<std::string>& sources,
                          const std::vector<std::string>& sinks = {}) {
  const auto side = [](const std::vector<std::string>& names) -> std::optional<wire::TopologySide> {
    if (names.empty()) return std::nullopt;
    return wire::TopologySide{static_cast<std::uint16_t>(names.size()), "", names};
  };
  return {id, name, side(sources), side(sinks)};
}

constexpr PortRecord Nowhere{65535, 65535};

TEST(PortPlaces, AreTheServicesOwn) {
  const PortPlaces places({{group(3, "A", {"a", "b"}, {"x"})}});
  EXPECT_EQ(places.toService({3, 1}, Side::Source), (PortRecord{3, 1}));
  EXPECT_EQ(places.fromService({3, 1}, Side::Source), (PortRecord{3, 1}));
  EXPECT_EQ(places.fromService({3, 1}, Side::Sink), std::nullopt);
  EXPECT_EQ(places.name({3, 0}, Side::Sink), "x");
  EXPECT_EQ(places.name({3, 1}, Side::Sink), "AIn2") << "none such";
}

TEST(PortPlaces, PortsThatComeLaterAreKnownFromThenOn) {
  PortPlaces places({{group(3, "A", {"a"})}});
  places.follow({{group(3, "A", {"a", "b"}), group(5, "C", {}, {"", "d"})}}, false);
  EXPECT_EQ(places.fromService({3, 1}, Side::Source), (PortRecord{3, 1}));
  EXPECT_EQ(places.name({5, 1}, Side::Sink), "d");
  EXPECT_EQ(places.fromService({5, 0}, Side::Sink), std::nullopt) << "it has gone";
  EXPECT_EQ(places.laterGroups(), (std::map<std::uint16_t, std::string>{{5, "C"}}));
  places.follow({{group(3, "A", {"a"})}}, false);
  EXPECT_EQ(places.name({5, 1}, Side::Sink), "d") << "also when it has gone again";
}

TEST(PortPlaces, AnotherServiceWithTheSamePortsChangesNothing) {
  const wire::Topology same{{group(3, "A", {"a"}), {4, "N", wire::TopologySide{65535, "NOut", {}}, std::nullopt}}};
  PortPlaces places(same);
  places.follow(same, true);
  EXPECT_EQ(places.toService({4, 65000}, Side::Source), (PortRecord{4, 65000}));
  EXPECT_EQ(places.toService({9, 9}, Side::Source), (PortRecord{9, 9}));
}

TEST(PortPlaces, PortsAreFoundAgainByTheirNames) {
  PortPlaces places({{group(0, "A", {"a", "b"}), group(1, "B", {"c"}, {"x", "y"})}});
  places.follow({{group(0, "B", {"c"}, {"y"}), group(1, "A", {"b"})}}, true);
  EXPECT_EQ(places.toService({0, 1}, Side::Source), (PortRecord{1, 0}));
  EXPECT_EQ(places.toService({1, 0}, Side::Source), (PortRecord{0, 0}));
  EXPECT_EQ(places.toService({1, 1}, Side::Sink), (PortRecord{0, 0}));
  EXPECT_EQ(places.toService({0, 0}, Side::Source), Nowhere) << "a has gone";
  EXPECT_EQ(places.toService({1, 0}, Side::Sink), Nowhere) << "x has gone";
  EXPECT_EQ(places.fromService({0, 0}, Side::Sink), (PortRecord{1, 1}));
  EXPECT_EQ(places.fromService({0, 1}, Side::Sink), std::nullopt);
  EXPECT_EQ(places.name({0, 0}, Side::Source), "a");
  EXPECT_EQ(places.laterGroups(), (std::map<std::uint16_t, std::string>{}));
}

TEST(PortPlaces, NewPortsOfAnotherServiceTakeNobodysPlace) {
  PortPlaces places({{group(0, "A", {"a", "b"}), group(1, "B", {"c"})}});
  places.follow({{group(0, "New", {"n"}), group(1, "A", {"e", "b"})}}, true);
  const auto ofNewGroup = places.fromService({0, 0}, Side::Source);
  EXPECT_EQ(ofNewGroup, (PortRecord{2, 0}));
  EXPECT_EQ(places.name({2, 0}, Side::Source), "n");
  EXPECT_EQ(places.toService({2, 0}, Side::Source), (PortRecord{0, 0}));
  EXPECT_EQ(places.laterGroups(), (std::map<std::uint16_t, std::string>{{2, "New"}}));
  EXPECT_EQ(places.fromService({1, 0}, Side::Source), (PortRecord{0, 2}))
      << "of a group that is known, behind the others";
  EXPECT_EQ(places.name({0, 2}, Side::Source), "e");
}

// A port that came later, and then a service that has it elsewhere, and one that has the first's numbers again.
TEST(PortPlaces, PlacesOutliveSeveralServices) {
  const wire::Topology first{{group(0, "A", {"a"})}};
  PortPlaces places(first);
  places.follow({{group(0, "A", {"a"}), group(1, "B", {"b"})}}, false);
  places.follow({{group(0, "B", {"b"}), group(1, "A", {"a"})}}, true);
  EXPECT_EQ(places.toService({1, 0}, Side::Source), (PortRecord{0, 0}));
  places.follow({{group(0, "B", {"b", "later"}), group(1, "A", {"a"})}}, false);
  EXPECT_EQ(places.toService({1, 1}, Side::Source), (PortRecord{0, 1}));
  places.follow(first, true);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), (PortRecord{0, 0}));
  EXPECT_EQ(places.name({1, 1}, Side::Source), "later");
}

TEST(PortPlaces, NameOnTheOtherSideIsAnotherPort) {
  PortPlaces places({{group(0, "A", {"a"})}});
  places.follow({{group(0, "A", {}, {"a"})}}, true);
  EXPECT_EQ(places.toService({0, 0}, Side::Source), Nowhere);
  EXPECT_EQ(places.fromService({0, 0}, Side::Sink), (PortRecord{0, 0}));
}

}  // namespace
}  // namespace client
