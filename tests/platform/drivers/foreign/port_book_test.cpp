#include "platform/drivers/foreign/port_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace drivers {
namespace {

using testing::ElementsAre;
using Clients = std::vector<ForeignClient>;

ForeignPort source(std::uint64_t key, const std::string& name) { return {key, name, name, true, false}; }
ForeignPort sink(std::uint64_t key, const std::string& name) { return {key, name, name, false, true}; }
ForeignPort both(std::uint64_t key, const std::string& name) { return {key, name, name, true, true}; }

device::PortId out(std::uint64_t group, std::uint16_t index) { return {group, index, device::Side::Source}; }
device::PortId in(std::uint64_t group, std::uint16_t index) { return {group, index, device::Side::Sink}; }

TEST(PortBook, ClientsAreGroupsInTheOrderOfAppearance) {
  PortBook book;
  EXPECT_TRUE(book.update(
      Clients{{20, "Synth", {source(1, "Synth:out"), sink(2, "Synth:in")}}, {10, "Keys", {source(3, "Keys:out")}}}));
  EXPECT_TRUE(book.update(Clients{{5, "First", {sink(4, "First:in")}},
                                  {10, "Keys", {source(3, "Keys:out")}},
                                  {20, "Synth", {source(1, "Synth:out"), sink(2, "Synth:in")}}}));
  const auto& groups = book.topology().groups();
  ASSERT_EQ(groups.size(), 3U);
  EXPECT_EQ(groups[0].name, "Synth");
  EXPECT_EQ(groups[1].name, "Keys");
  EXPECT_EQ(groups[2].name, "First");
  EXPECT_EQ(groups[2].handle, 2U);
  EXPECT_FALSE(groups[1].sinks) << "a side without ports is not there";
  EXPECT_EQ(book.place(2, device::Side::Sink), in(0, 0));
  EXPECT_EQ(book.place(2, device::Side::Source), std::nullopt);
  EXPECT_EQ(book.key(out(1, 0)), 3U);
  EXPECT_EQ(book.key(out(9, 0)), std::nullopt);
  EXPECT_EQ(book.key(out(1, 9)), std::nullopt);
}

TEST(PortBook, SamePortsAgainAreNoChange) {
  PortBook book;
  const Clients clients{{1, "a", {both(7, "p")}}};
  EXPECT_TRUE(book.update(clients));
  EXPECT_FALSE(book.update(clients));
  EXPECT_FALSE(PortBook().update({}));
}

TEST(PortBook, PortThatDoesBothHasTwoNames) {
  PortBook book;
  book.update(Clients{{14, "Midi Through", {both(1, "Midi Through Port-0")}}});
  EXPECT_EQ(book.topology().name(out(0, 0)), "Midi_Through_Port-0_out");
  EXPECT_EQ(book.topology().name(in(0, 0)), "Midi_Through_Port-0_in");
  EXPECT_EQ(book.topology().groups()[0].name, "Midi_Through");
  EXPECT_EQ(book.topology().groups()[0].original, "Midi Through");
  EXPECT_THAT(book.topology().groups()[0].sources->originals, ElementsAre("Midi Through Port-0"));
}

TEST(PortBook, EqualNamesAreMadeToDiffer) {
  PortBook book;
  book.update(Clients{{1, "dump", {sink(1, "in")}}, {2, "dump", {sink(2, "in"), sink(3, "in")}}});
  EXPECT_EQ(book.topology().groups()[1].name, "dump_2");
  EXPECT_EQ(book.topology().name(in(0, 0)), "in");
  EXPECT_EQ(book.topology().name(in(1, 0)), "in_2");
  EXPECT_EQ(book.topology().name(in(1, 1)), "in_3");
}

TEST(PortBook, LongNamesThatDifferOnlyBehindTheCutDiffer) {
  PortBook book;
  const std::string front(device::MaxNameBytes, 'x');
  book.update(
      Clients{{1, front + "1", {both(1, front + "a"), both(2, front + "b")}}, {2, front + "2", {sink(3, front)}}});
  std::vector<std::string> names;
  for (const device::Group& group : book.topology().groups()) {
    EXPECT_LE(group.name.size(), device::MaxGroupNameBytes);
    names.push_back(group.name);
    for (const auto* side : {&group.sources, &group.sinks}) {
      if (*side) names.insert(names.end(), (*side)->names.begin(), (*side)->names.end());
    }
  }
  EXPECT_EQ(names.size(), 7U);
  for (std::size_t one = 0; one < names.size(); ++one) {
    EXPECT_LE(names[one].size(), device::MaxNameBytes);
    for (std::size_t other = 0; other < one; ++other) EXPECT_NE(names[one], names[other]);
  }
}

TEST(PortBook, ClientThatGoesKeepsItsPlaceAndReturnsToIt) {
  PortBook book;
  book.update(Clients{{1, "a", {source(1, "a:x"), source(2, "a:y")}}, {2, "b", {sink(3, "b:in")}}});
  EXPECT_TRUE(book.update(Clients{{2, "b", {sink(3, "b:in")}}}));
  EXPECT_FALSE(book.topology().exists(out(0, 1)));
  EXPECT_EQ(book.topology().name(out(0, 1)), "a:y") << "events of it may still wait";
  EXPECT_EQ(book.topology().port("a:y"), std::nullopt);
  EXPECT_EQ(book.topology().place("a:y"), out(0, 1));
  EXPECT_EQ(book.key(out(0, 1)), std::nullopt);
  EXPECT_EQ(book.place(2, device::Side::Source), std::nullopt);
  // Under other keys, its ports in another order, and one more.
  EXPECT_TRUE(book.update(Clients{{9, "a", {source(8, "a:y"), source(7, "a:z")}}, {2, "b", {sink(3, "b:in")}}}));
  EXPECT_EQ(book.place(8, device::Side::Source), out(0, 1));
  EXPECT_EQ(book.place(7, device::Side::Source), out(0, 2));
  EXPECT_FALSE(book.topology().exists(out(0, 0)));
  EXPECT_EQ(book.topology().groups().size(), 2U);
}

TEST(PortBook, NumberTakenByAnotherClientIsAnotherGroup) {
  PortBook book;
  book.update(Clients{{1, "a", {source(1, "a:x")}}});
  book.update(Clients{{1, "b", {source(1, "b:x")}}});
  EXPECT_FALSE(book.topology().exists(out(0, 0)));
  EXPECT_EQ(book.place(1, device::Side::Source), out(1, 0));
}

TEST(PortBook, RenamedPortIsAnotherPort) {
  PortBook book;
  book.update(Clients{{1, "a", {source(1, "a:x")}}});
  EXPECT_TRUE(book.update(Clients{{1, "a", {source(1, "a:new")}}}));
  EXPECT_EQ(book.place(1, device::Side::Source), out(0, 1));
  EXPECT_FALSE(book.topology().exists(out(0, 0)));
}

TEST(PortBook, PortThatBeginsToDoBothKeepsItsName) {
  PortBook book;
  book.update(Clients{{1, "a", {source(1, "a:x")}}});
  book.update(Clients{{1, "a", {both(1, "a:x")}}});
  EXPECT_EQ(book.topology().name(out(0, 0)), "a:x");
  EXPECT_EQ(book.topology().name(in(0, 0)), "a:x_in");
  book.update(Clients{{1, "a", {sink(1, "a:x")}}});
  EXPECT_FALSE(book.topology().exists(out(0, 0)));
  EXPECT_TRUE(book.topology().exists(in(0, 0)));
}

TEST(PortBook, ClientWithoutPortsIsNoGroupYet) {
  PortBook book;
  EXPECT_FALSE(book.update(Clients{{1, "a", {}}}));
  EXPECT_TRUE(book.topology().groups().empty());
}

TEST(PortBook, OriginalNamesFollowTheNumberOfTheirClient) {
  PortBook book;
  book.update(Clients{{128, "a", {{1, "x", "128:0 x", true, false}}}});
  EXPECT_TRUE(book.update(Clients{{129, "a", {{1, "x", "129:0 x", true, false}}}}));
  EXPECT_THAT(book.topology().groups()[0].sources->originals, ElementsAre("129:0 x"));
  EXPECT_EQ(book.place(1, device::Side::Source), out(0, 0));
}

// What a thousand programs leave behind is no more than what a few hundred do.
TEST(PortBook, TheLongestGoneAreForgotten) {
  PortBook book;
  const ForeignClient stays{1, "stays", {source(1, "stays:out")}};
  const auto client = [](std::uint64_t number) {
    const std::string name = "c" + std::to_string(number);
    return ForeignClient{100 + number, name, {source(5'000 + number, name + ":out"), sink(9'000 + number, "in")}};
  };
  constexpr std::uint64_t Many = 2'000;
  for (std::uint64_t number = 0; number < Many; ++number) {
    book.update(Clients{stays, client(number)});
    EXPECT_EQ(book.place(5'000 + number, device::Side::Source), out(number + 1, 0)) << "no handle is given twice";
    book.update(Clients{stays});
    EXPECT_LE(book.topology().groups().size(), PortBook::RememberedClients + 1);
  }
  EXPECT_EQ(book.topology().groups().size(), PortBook::RememberedClients + 1);
  EXPECT_EQ(book.place(1, device::Side::Source), out(0, 0)) << "who stays is never forgotten";
  EXPECT_FALSE(book.topology().knows(out(1, 0)));
  EXPECT_EQ(book.key(out(1, 0)), std::nullopt);
  EXPECT_EQ(book.topology().place("c0:out"), std::nullopt);
  // The last that went is remembered, and has its place again; the first is another group under its name.
  book.update(Clients{stays, client(Many - 1), client(0)});
  EXPECT_EQ(book.place(5'000 + Many - 1, device::Side::Source), out(Many, 0));
  EXPECT_EQ(book.place(5'000, device::Side::Source), out(Many + 1, 0));
  EXPECT_EQ(book.topology().name(out(Many + 1, 0)), "c0:out");
  EXPECT_EQ(book.topology().find(Many + 1)->name, "c0");
}

}  // namespace
}  // namespace drivers
