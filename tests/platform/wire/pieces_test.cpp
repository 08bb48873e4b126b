#include "platform/wire/pieces.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace wire {
namespace {

using device::Group;
using device::SideOfGroup;
using Fault = PieceJoiner::Fault;

constexpr Part First{.first = true, .more = true};
constexpr Part Middle{.first = false, .more = true};
constexpr Part Last{.first = false, .more = false};
constexpr std::size_t Bytes = 100;

Group sources(std::uint64_t handle, std::uint16_t count, std::vector<std::string> names) {
  return {handle, "G", SideOfGroup{count, "", std::move(names)}, std::nullopt};
}

Group sinks(std::uint64_t handle, std::uint16_t count, std::vector<std::string> names) {
  return {handle, "G", std::nullopt, SideOfGroup{count, "", std::move(names)}};
}

class Pieces : public testing::Test {
 protected:
  // The whole answer, if this is its end.
  template <class Answer>
  std::optional<Answer> add(Answer piece) {
    auto whole = pieces_.add(std::move(piece), Bytes);
    return whole ? std::optional(std::get<Answer>(std::move(*whole))) : std::nullopt;
  }

  PieceJoiner pieces_;
};

TEST_F(Pieces, OnePieceIsAnAnswer) {
  const auto answer = add(Links{3, {{{1, 2, 3, 4}}}});
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->links.size(), 1U);
}

TEST_F(Pieces, OtherMessagesAreAnswersAtOnce) {
  EXPECT_FALSE(add(Links{3, {}, First}));
  const auto answer = add(Result{device::Status::NoSession, 4});
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, device::Status::NoSession);
}

TEST_F(Pieces, LinksFollowOneAnother) {
  EXPECT_FALSE(add(Links{3, {{{1, 1, 1, 1}}, {{2, 2, 2, 2}}}, First}));
  EXPECT_FALSE(add(Links{3, {}, Middle}));
  const auto answer = add(Links{3, {{{3, 3, 3, 3}, true}}, Last});
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->links, (std::vector<LinkRecord>{{{1, 1, 1, 1}}, {{2, 2, 2, 2}}, {{3, 3, 3, 3}, true}}));
  EXPECT_EQ(answer->version, 3U);
  EXPECT_EQ(answer->part, Part{});
}

TEST_F(Pieces, LinksOfAnotherVersionDoNotFit) {
  add(Links{3, {}, First});
  EXPECT_FALSE(add(Links{4, {}, Last}));
  EXPECT_EQ(pieces_.fault(), Fault::Unfitting);
}

TEST_F(Pieces, ClientsFollowOneAnotherAndTheLastTotalsCount) {
  EXPECT_FALSE(add(Stats{1, 2, 3, 4, {{"a"}, {"b"}}, 5, 0, First}));
  const auto answer = add(Stats{6, 7, 8, 9, {{"c"}}, 10, 0, Last});
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->in, 6U);
  EXPECT_EQ(answer->uncountedLosses, 10U);
  ASSERT_EQ(answer->clients.size(), 3U);
  EXPECT_EQ(answer->clients[0].program + answer->clients[1].program + answer->clients[2].program, "abc");
}

TEST_F(Pieces, GroupContinuesInTheNextPiece) {
  EXPECT_FALSE(add(Topology{{sources(1, 1, {"x"}), sources(2, 5, {"a", ""})}, First}));
  EXPECT_FALSE(add(Topology{{sources(2, 5, {"c"})}, Middle}));
  const auto answer = add(Topology{{sources(2, 5, {"d", "e"}), sources(3, 2, {})}, Last});
  ASSERT_TRUE(answer);
  Group whole = sources(2, 5, {"a", "", "c", "d", "e"});
  whole.sources->gone = {false, true, false, false, false};
  EXPECT_EQ(*answer, (Topology{{sources(1, 1, {"x"}), whole, sources(3, 2, {})}}));
}

TEST_F(Pieces, SidesOfAGroupContinueOneAfterTheOther) {
  const auto group = [](std::vector<std::string> sourceNames, std::vector<std::string> sinkNames) {
    return Group{2, "G", SideOfGroup{2, "", std::move(sourceNames)}, SideOfGroup{2, "", std::move(sinkNames)}};
  };
  EXPECT_FALSE(add(Topology{{group({"a"}, {})}, First}));
  EXPECT_FALSE(add(Topology{{group({"b"}, {"c"})}, Middle}));
  const auto answer = add(Topology{{group({}, {"d"})}, Last});
  ASSERT_TRUE(answer);
  EXPECT_EQ(*answer, (Topology{{group({"a", "b"}, {"c", "d"})}}));
}

TEST_F(Pieces, NamesThatNeverComeAreMissed) {
  add(Topology{{sources(2, 3, {"a"})}, First});
  EXPECT_FALSE(add(Topology{{sources(3, 2, {})}, Last}));
  EXPECT_EQ(pieces_.fault(), Fault::Unfitting);
}

TEST_F(Pieces, GroupThatContinuesDifferentlyDoesNotFit) {
  for (const Group& rest : {sources(2, 4, {"b", "c"}), sources(2, 3, {"b", "c", "d"}), sinks(2, 3, {"b", "c"})}) {
    pieces_.clear();
    add(Topology{{sources(2, 3, {"a"})}, First});
    EXPECT_FALSE(add(Topology{{rest}, Last}));
    EXPECT_EQ(pieces_.fault(), Fault::Unfitting);
  }
}

TEST_F(Pieces, OriginalGroupContinuesInTheNextPiece) {
  EXPECT_FALSE(add(Originals{{{1, {'n'}, {{'a'}}, {}}}, First}));
  const auto answer = add(Originals{{{1, {}, {{'b'}}, {{'c'}}}, {2, {'m'}, {}, {}}}, Last});
  ASSERT_TRUE(answer);
  ASSERT_EQ(answer->groups.size(), 2U);
  EXPECT_EQ(answer->groups[0].name, Original{'n'});
  EXPECT_EQ(answer->groups[0].sources, (std::vector<Original>{{'a'}, {'b'}}));
  EXPECT_EQ(answer->groups[0].sinks, (std::vector<Original>{{'c'}}));
}

TEST_F(Pieces, AnswerMayBeginAnew) {
  EXPECT_FALSE(add(Topology{{sources(1, 3, {"a"})}, First}));
  EXPECT_FALSE(add(Topology{{sources(1, 2, {"c"})}, First}));
  const auto answer = add(Topology{{sources(1, 2, {"d"})}, Last});
  ASSERT_TRUE(answer);
  EXPECT_EQ(*answer, (Topology{{sources(1, 2, {"c", "d"})}}));
  EXPECT_TRUE(add(Links{1, {}})) << "another answer of one piece";
}

TEST_F(Pieces, PieceWithoutABeginningDoesNotFit) {
  EXPECT_FALSE(add(Links{1, {}, Last}));
  EXPECT_EQ(pieces_.fault(), Fault::Unfitting);
}

TEST_F(Pieces, PieceOfAnotherAnswerDoesNotFit) {
  add(Links{1, {}, First});
  EXPECT_FALSE(add(Stats{1, 2, 3, 4, {}, 5, 0, Last}));
  EXPECT_EQ(pieces_.fault(), Fault::Unfitting);
}

TEST_F(Pieces, ClearForgetsTheAnswerAndItsFault) {
  add(Links{1, {}, Last});
  pieces_.clear();
  EXPECT_EQ(pieces_.fault(), Fault::None);
  add(Links{1, {{{1, 1, 1, 1}}}, First});
  pieces_.clear();
  EXPECT_FALSE(add(Links{1, {}, Last}));
  EXPECT_EQ(pieces_.fault(), Fault::Unfitting);
}

// How many equal pieces are taken before the answer is too long.
template <class Answer>
std::size_t piecesBeforeTooLong(Answer piece, std::size_t bytes) {
  PieceJoiner pieces;
  piece.part = First;
  for (std::size_t taken = 0; taken < 1'000'000; ++taken) {
    EXPECT_FALSE(pieces.add(piece, bytes));
    if (pieces.fault() == Fault::TooLong) return taken;
    piece.part = Middle;
  }
  return 0;
}

TEST(PieceLimits, BoundTheWholeAnswer) {
  const std::size_t entries = MaxAnswerEntries / 1024;
  EXPECT_EQ(piecesBeforeTooLong(Links{1, std::vector<LinkRecord>(1024)}, Bytes), entries);
  EXPECT_EQ(piecesBeforeTooLong(Stats{1, 2, 3, 4, std::vector<ClientStats>(1024), 5}, Bytes), entries);
  EXPECT_EQ(piecesBeforeTooLong(Topology{std::vector<Group>(1024)}, Bytes), MaxAnswerGroups / 1024);
  EXPECT_EQ(piecesBeforeTooLong(Originals{std::vector<OriginalGroup>(1024)}, Bytes), MaxAnswerGroups / 1024);
  EXPECT_EQ(piecesBeforeTooLong(Links{1, {}}, 1U << 20U), MaxAnswerBytes >> 20U);
}

// The fault of an answer of so many groups, the second of which comes in two pieces.
template <class Answer, class Group>
Fault faultOf(std::size_t groups, const Group& group, const Group& front, const Group& rest) {
  PieceJoiner pieces;
  EXPECT_FALSE(pieces.add(Answer{{group, front}, First}, Bytes));
  Answer last{{rest}, Last};
  last.groups.resize(groups - 1, group);
  const auto whole = pieces.add(std::move(last), Bytes);
  EXPECT_EQ(whole.has_value(), pieces.fault() == Fault::None);
  return pieces.fault();
}

TEST(PieceLimits, GroupOfTwoPiecesIsOneGroup) {
  const auto topology = [](std::size_t groups) {
    return faultOf<Topology>(groups, sinks(1, 0, {}), sources(2, 2, {"a"}), sources(2, 2, {"b"}));
  };
  EXPECT_EQ(topology(MaxAnswerGroups), Fault::None);
  EXPECT_EQ(topology(MaxAnswerGroups + 1), Fault::TooLong);
  const auto originals = [](std::size_t groups) {
    const OriginalGroup split{2, {}, {{'a'}}, {}};
    return faultOf<Originals>(groups, OriginalGroup{1, {'g'}, {}, {}}, split, split);
  };
  EXPECT_EQ(originals(MaxAnswerGroups), Fault::None);
  EXPECT_EQ(originals(MaxAnswerGroups + 1), Fault::TooLong);
}

TEST(PieceLimits, NamesAreEntries) {
  Group group{1, "G", SideOfGroup{1023, "", std::vector<std::string>(1023, "n")}, std::nullopt};
  PieceJoiner pieces;
  Topology piece{{group}, First};
  std::size_t taken = 0;
  for (; taken <= MaxAnswerEntries / 1024; ++taken) {
    pieces.add(piece, Bytes);
    if (pieces.fault() != Fault::None) break;
    piece.part = Middle;
    ++piece.groups[0].handle;
  }
  EXPECT_EQ(taken, MaxAnswerEntries / 1024);
  EXPECT_EQ(pieces.fault(), Fault::TooLong);
  // One group in many pieces.
  EXPECT_EQ(piecesBeforeTooLong(Originals{{{1, {}, std::vector<Original>(512), std::vector<Original>(511)}}}, Bytes),
            (MaxAnswerEntries - 1) / 1023);
}

}  // namespace
}  // namespace wire
