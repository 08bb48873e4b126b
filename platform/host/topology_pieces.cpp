// The groups of a device, and their names in other systems, in pieces.
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/long_answer.h"
#include "platform/host/piece_room.h"

namespace host {
namespace {

using Side = std::optional<device::SideOfGroup>;

// Bytes of the fields of a group and its sides on the wire, without names, or a little more.
constexpr std::size_t GroupBytes = 64;

constexpr std::size_t MaxOriginalBytes = 1024;

// After so many new beginnings the answer is made at once, if it has no more names: others wait for as long.
constexpr int MostBeginnings = 3;
constexpr std::size_t MostNamesAtOnce = 100'000;

// What looking through the flags of removed ports costs, in entries.
std::size_t costOfLooking(const Side& side) { return side ? side->gone.size() / 64 : 0; }

bool isGone(const Side& side) { return side && side->allGone(); }

// Whether the names of the side's ports are listed, and not counted.
bool isListed(const device::SideOfGroup& side) {
  return !side.names.empty() || std::ranges::find(side.gone, true) != side.gone.end();
}

wire::Original originalOf(const std::string& text) {
  return {text.begin(), text.begin() + static_cast<std::ptrdiff_t>(std::min(text.size(), MaxOriginalBytes))};
}

// The place in a topology up to which an answer has come. It moves only while the topology stays the same.
class Place {
 public:
  explicit Place(const service::Service& service) : service_(service), version_(service.topologyVersion()) {}

  // Begins anew if the topology has changed. Returns whether the answer is at its beginning.
  bool begin() {
    if (std::exchange(version_, service_.topologyVersion()) != version_ && !isFirst_) {
      group_ = port_ = 0;
      isFirst_ = true;
      ++beginnings_;
    }
    return std::exchange(isFirst_, false);
  }

  // True if it has begun anew so often that it may never come to the end, and what is left is little.
  bool isRestless() const { return beginnings_ >= MostBeginnings && isSmall(); }

  // Null at the end.
  const device::Group* group() const {
    const auto& groups = service_.topology().groups();
    return group_ < groups.size() ? &groups[group_] : nullptr;
  }

  bool isInside() const { return port_ > 0; }

  void nextGroup() {
    ++group_;
    port_ = 0;
  }

  // Calls list(index) for the ports of the group that are listed, sources before sinks, from where it stopped the last
  // time on, until the piece is full. Returns whether it has reached the group's end.
  template <class List>
  bool listPorts(std::size_t sources, std::size_t sinks, const PieceRoom& room, const List& list) {
    for (; port_ < sources + sinks; ++port_) {
      if (room.isFull()) return false;
      if (port_ < sources) {
        list(device::Side::Source, port_);
      } else {
        list(device::Side::Sink, port_ - sources);
      }
    }
    return true;
  }

 private:
  bool isSmall() const {
    std::size_t names = 0;
    for (const device::Group& group : service_.topology().groups()) {
      for (const device::Side side : {device::Side::Source, device::Side::Sink}) {
        if (const auto& ports = group.side(side); ports && isListed(*ports)) names += ports->count;
      }
      if (names > MostNamesAtOnce) return false;
    }
    return true;
  }

  const service::Service& service_;
  std::uint64_t version_;
  std::size_t group_ = 0;
  std::size_t port_ = 0;  // among those that are listed, sources before sinks
  bool isFirst_ = true;
  int beginnings_ = 0;  // besides the first
};

// An answer that goes through the groups.
template <class Message>
class GroupPieces : public LongAnswer {
 public:
  GroupPieces(const service::Service& service, std::uint64_t firstHandle)
      : place_(service), firstHandle_(firstHandle) {}

  Piece next() override {
    Message piece;
    piece.part.first = place_.begin();
    PieceRoom room;
    for (; const device::Group* group = place_.group(); place_.nextGroup()) {
      if (room.isFull() || !add(*group, room, piece)) {
        piece.part.more = true;
        break;
      }
    }
    const bool more = piece.part.more;
    return {std::move(piece), more, place_.isRestless()};
  }

 protected:
  Place& place() { return place_; }
  std::uint64_t handleOf(const device::Group& group) const { return group.handle + firstHandle_; }

 private:
  // Returns false if the piece is full before the group's end.
  virtual bool add(const device::Group& group, PieceRoom& room, Message& piece) = 0;

  Place place_;
  std::uint64_t firstHandle_;
};

class TopologyPieces : public GroupPieces<wire::Topology> {
 public:
  using GroupPieces::GroupPieces;

 private:
  bool add(const device::Group& group, PieceRoom& room, wire::Topology& piece) override {
    room.take(0, 1 + costOfLooking(group.sources) + costOfLooking(group.sinks));
    device::Group sent{handleOf(group), group.name, front(group.sources), front(group.sinks), {}, group.wantedId};
    // New clients must not see what has gone.
    if (!sent.sources && !sent.sinks && (group.sources || group.sinks)) return true;
    room.take(GroupBytes + group.name.size() + prefixBytes(sent.sources) + prefixBytes(sent.sinks), 0);
    const bool isWhole =
        place().listPorts(listed(group.sources), listed(group.sinks), room, [&](device::Side which, std::size_t index) {
          const auto port = static_cast<std::uint16_t>(index);
          const device::SideOfGroup& side = *group.side(which);
          auto& names = which == device::Side::Source ? sent.sources : sent.sinks;
          names->names.push_back(side.hasGone(port) ? "" : side.nameOf(port));
          room.take(2 + names->names.back().size());
        });
    piece.groups.push_back(std::move(sent));
    return isWhole;
  }

  static Side front(const Side& side) {
    if (!side || side->allGone()) return std::nullopt;
    return device::SideOfGroup{side->count, side->prefix, {}};
  }

  static std::size_t prefixBytes(const Side& side) { return side ? side->prefix.size() : 0; }

  static std::size_t listed(const Side& side) { return side && !isGone(side) && isListed(*side) ? side->count : 0; }
};

class OriginalPieces : public GroupPieces<wire::Originals> {
 public:
  using GroupPieces::GroupPieces;

 private:
  bool add(const device::Group& group, PieceRoom& room, wire::Originals& piece) override {
    room.take(GroupBytes + std::min(group.original.size(), MaxOriginalBytes));
    if (group.original.empty()) return true;
    wire::OriginalGroup sent{handleOf(group), {}, {}, {}};
    if (!place().isInside()) sent.name = originalOf(group.original);
    const bool isWhole =
        place().listPorts(named(group.sources), named(group.sinks), room, [&](device::Side which, std::size_t index) {
          auto& names = which == device::Side::Source ? sent.sources : sent.sinks;
          names.push_back(originalOf(group.side(which)->originals[index]));
          room.take(4 + names.back().size());
        });
    piece.groups.push_back(std::move(sent));
    return isWhole;
  }

  static std::size_t named(const Side& side) { return side ? side->originals.size() : 0; }
};

}  // namespace

std::unique_ptr<LongAnswer> topologyAnswer(const service::Service& service, std::uint64_t firstHandle) {
  return std::make_unique<TopologyPieces>(service, firstHandle);
}

std::unique_ptr<LongAnswer> originalsAnswer(const service::Service& service, std::uint64_t firstHandle) {
  return std::make_unique<OriginalPieces>(service, firstHandle);
}

}  // namespace host
