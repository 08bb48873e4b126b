#include "platform/drivers/jack/link_reading.h"

#include <algorithm>
#include <iterator>

#include "platform/drivers/jack/graph.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// After this time a piece ends: others wait for the thread.
constexpr auto PieceTime = 5ms;

}  // namespace

struct LinkReading::Piece {
  std::vector<std::string> sources;  // the next one last
  std::vector<NamedLink> links;
};

void LinkReading::begin(const Client& client, std::vector<std::string> sources) {
  clientGone();
  client_ = &client;
  sources_ = std::move(sources);
  std::ranges::reverse(sources_);
  ask();
}

void LinkReading::changed(const std::string& source, const std::string& sink) {
  if (piece_) changed_.emplace(source, sink);
}

std::vector<NamedLink> LinkReading::take() {
  return piece_ && server_.result(request_) ? takePiece() : std::vector<NamedLink>();
}

std::vector<NamedLink> LinkReading::take(std::chrono::milliseconds patience) {
  std::vector<NamedLink> links;
  const auto end = Clock::now() + patience;
  while (piece_) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (!server_.result(request_, std::max(left, 0ms))) break;
    std::ranges::move(takePiece(), std::back_inserter(links));
  }
  return links;
}

void LinkReading::clientGone() {
  if (piece_) server_.withdraw(request_);
  piece_.reset();
  request_.reset();
  sources_.clear();
  changed_.clear();
}

void LinkReading::ask() {
  if (sources_.empty()) return clientGone();
  piece_ = std::make_shared<Piece>(Piece{.sources = std::move(sources_), .links = {}});
  request_ = server_.ask([piece = piece_, client = client_] {
    for (const auto end = Clock::now() + PieceTime; !piece->sources.empty() && Clock::now() < end;) {
      const std::string source = std::move(piece->sources.back());
      piece->sources.pop_back();
      for (std::string& sink : connectionsOf(client->handle(), source)) {
        piece->links.emplace_back(source, std::move(sink));
      }
    }
    return 0;
  });
}

std::vector<NamedLink> LinkReading::takePiece() {
  const auto piece = std::exchange(piece_, nullptr);
  std::vector<NamedLink> links = std::move(piece->links);
  std::erase_if(links, [this](const NamedLink& link) { return changed_.contains(link); });
  sources_ = std::move(piece->sources);
  ask();
  return links;
}

}  // namespace drivers::jack
