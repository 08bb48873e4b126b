#include "platform/wire/pieces.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>
#include <vector>

namespace wire {
namespace {

template <class T>
void moveToEnd(std::vector<T>& whole, std::vector<T>& rest) {
  whole.insert(whole.end(), std::make_move_iterator(rest.begin()), std::make_move_iterator(rest.end()));
}

template <class Group>
void moveGroups(std::vector<Group>& whole, std::vector<Group>& rest, bool withoutFirst) {
  const auto begin = rest.begin() + (withoutFirst ? 1 : 0);
  whole.insert(whole.end(), std::make_move_iterator(begin), std::make_move_iterator(rest.end()));
}

template <class Group>
bool continues(const std::vector<Group>& whole, const std::vector<Group>& rest) {
  return !whole.empty() && !rest.empty() && whole.back().handle == rest.front().handle;
}

bool hasAllNames(const std::optional<device::SideOfGroup>& side) {
  return !side || side->names.empty() || side->names.size() == side->count;
}

bool extend(std::optional<device::SideOfGroup>& whole, std::optional<device::SideOfGroup>& rest) {
  if (whole.has_value() != rest.has_value()) return false;
  if (!whole) return true;
  if (whole->count != rest->count || whole->names.size() + rest->names.size() > whole->count) return false;
  moveToEnd(whole->names, rest->names);
  if (hasAllNames(whole)) whole->removeUnnamed();
  return true;
}

// These append a piece to those before it. They return false if it does not continue them.

bool append(Topology& whole, Topology& piece) {
  const bool isSplit = continues(whole.groups, piece.groups);
  if (isSplit) {
    device::Group& group = whole.groups.back();
    device::Group& rest = piece.groups.front();
    if (!extend(group.sources, rest.sources) || !extend(group.sinks, rest.sinks)) return false;
  }
  moveGroups(whole.groups, piece.groups, isSplit);
  return true;
}

bool append(Originals& whole, Originals& piece) {
  const bool isSplit = continues(whole.groups, piece.groups);
  if (isSplit) {
    moveToEnd(whole.groups.back().sources, piece.groups.front().sources);
    moveToEnd(whole.groups.back().sinks, piece.groups.front().sinks);
  }
  moveGroups(whole.groups, piece.groups, isSplit);
  return true;
}

bool append(Links& whole, Links& piece) {
  if (whole.version != piece.version) return false;
  moveToEnd(whole.links, piece.links);
  return true;
}

// The later totals: none of the clients has more than they say.
bool append(Stats& whole, Stats& piece) {
  std::swap(whole.clients, piece.clients);
  std::swap(whole, piece);
  moveToEnd(whole.clients, piece.clients);
  return true;
}

bool isComplete(const Topology& whole) {
  return std::ranges::all_of(
      whole.groups, [](const device::Group& group) { return hasAllNames(group.sources) && hasAllNames(group.sinks); });
}

template <class Answer>
bool isComplete(const Answer& /*whole*/) {
  return true;
}

std::size_t groupsIn(const Topology& piece) { return piece.groups.size(); }
std::size_t groupsIn(const Originals& piece) { return piece.groups.size(); }

template <class Answer>
std::size_t groupsIn(const Answer& /*piece*/) {
  return 0;
}

// How many groups of a piece continue one of the pieces before it.
template <class Answer>
std::size_t splitGroups(const Answer& whole, const Answer& piece) {
  if constexpr (requires { whole.groups; }) {
    return continues(whole.groups, piece.groups) ? 1 : 0;
  } else {
    return 0;
  }
}

std::size_t namesIn(const std::optional<device::SideOfGroup>& side) { return side ? side->names.size() : 0; }

std::size_t entriesIn(const Topology& piece) {
  std::size_t entries = piece.groups.size();
  for (const device::Group& group : piece.groups) entries += namesIn(group.sources) + namesIn(group.sinks);
  return entries;
}

std::size_t entriesIn(const Originals& piece) {
  std::size_t entries = piece.groups.size();
  for (const OriginalGroup& group : piece.groups) entries += group.sources.size() + group.sinks.size();
  return entries;
}

std::size_t entriesIn(const Links& piece) { return piece.links.size(); }
std::size_t entriesIn(const Stats& piece) { return piece.clients.size(); }

}  // namespace

bool isLast(const Body& message) {
  return std::visit(
      [](const auto& answer) {
        if constexpr (requires { answer.part; }) return !answer.part.more;
        return true;
      },
      message);
}

std::optional<Body> PieceJoiner::add(Body message, std::size_t bytes) {
  if (auto* topology = std::get_if<Topology>(&message)) return addPiece(*topology, bytes);
  if (auto* originals = std::get_if<Originals>(&message)) return addPiece(*originals, bytes);
  if (auto* links = std::get_if<Links>(&message)) return addPiece(*links, bytes);
  if (auto* stats = std::get_if<Stats>(&message)) return addPiece(*stats, bytes);
  return message;
}

template <class Answer>
std::optional<Body> PieceJoiner::addPiece(Answer& piece, std::size_t bytes) {
  const Part part = std::exchange(piece.part, {});
  if (part.first) clear();
  auto* whole = whole_ ? std::get_if<Answer>(&*whole_) : nullptr;
  const std::size_t again = whole != nullptr ? splitGroups(*whole, piece) : 0;
  bytes_ += bytes;
  entries_ += entriesIn(piece) - again;
  groups_ += groupsIn(piece) - again;
  if (bytes_ > MaxAnswerBytes || entries_ > MaxAnswerEntries || groups_ > MaxAnswerGroups) return fail(Fault::TooLong);
  if (part.first) {
    whole = &whole_.emplace().template emplace<Answer>(std::move(piece));
  } else if (whole == nullptr || !append(*whole, piece)) {
    return fail(Fault::Unfitting);
  }
  if (part.more) return std::nullopt;
  if (!isComplete(*whole)) return fail(Fault::Unfitting);
  return std::exchange(whole_, std::nullopt);
}

std::nullopt_t PieceJoiner::fail(Fault fault) {
  clear();
  fault_ = fault;
  return std::nullopt;
}

}  // namespace wire
