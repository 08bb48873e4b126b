// The list of connections in pieces.
#include <utility>

#include "platform/host/handle_offset.h"
#include "platform/host/long_answer.h"
#include "platform/host/piece_room.h"

namespace host {
namespace {

class LinkPieces : public LongAnswer {
 public:
  LinkPieces(const service::Service& service, std::uint64_t firstHandle)
      : service_(service),
        firstHandle_(firstHandle),
        version_(service.graphVersion()),
        position_(service.firstConnection()) {}

  Piece next() override {
    wire::Links links{version_, {}, {.first = std::exchange(isFirst_, false)}};
    const auto piece = service_.connectionsAfter(position_, PieceRoom::Entries);
    links.links.reserve(piece.size());
    for (const auto& [link, carried] : piece) links.links.push_back({onWire(link, firstHandle_), carried});
    const bool more = links.part.more = piece.size() == PieceRoom::Entries;
    return {std::move(links), more};
  }

 private:
  const service::Service& service_;
  std::uint64_t firstHandle_;
  std::uint64_t version_;
  service::LinkPosition position_;
  bool isFirst_ = true;
};

}  // namespace

std::unique_ptr<LongAnswer> linksAnswer(const service::Service& service, std::uint64_t firstHandle) {
  return std::make_unique<LinkPieces>(service, firstHandle);
}

}  // namespace host
