// Long answers as a client gets them.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "platform/channel/frames.h"
#include "platform/host/long_answer.h"
#include "platform/wire/pieces.h"
#include "tests/platform/service/device.h"
#include "tests/platform/service/longest.h"

namespace host {

// A service on a device with this topology.
struct ServiceWithPorts {
  explicit ServiceWithPorts(device::Topology topology, std::vector<device::Link> links = {}) {
    auto owned = std::make_unique<service::TestDevice>(std::move(topology), std::move(links), told);
    device = owned.get();
    service = std::make_unique<service::Service>(std::move(owned), service::QueueLimits{}, device::Time{});
  }

  service::Told told;
  service::TestDevice* device = nullptr;
  std::unique_ptr<service::Service> service;
};

// Takes an answer piece by piece.
template <class Answer>
struct WholeAnswer {
  // afterPiece: is called with the number of pieces so far, but not after the last.
  explicit WholeAnswer(LongAnswer& pieces, const std::function<void(std::size_t)>& afterPiece = nullptr) {
    wire::PieceJoiner joiner;
    for (bool more = true; more;) {
      std::vector<std::uint8_t> bytes;
      longest([&] {
        const LongAnswer::Piece piece = pieces.next();
        more = piece.more;
        bytes = wire::encode(1, piece.body);
      });
      EXPECT_LE(bytes.size(), channel::MaxFrameBytes);
      auto envelope = wire::decode(bytes);
      if (!envelope) {
        ADD_FAILURE() << "malformed piece " << count;
        return;
      }
      EXPECT_EQ(std::get<Answer>(envelope->body).part.more, more);
      if (auto whole = joiner.add(std::move(envelope->body), bytes.size()))
        answer = std::get<Answer>(std::move(*whole));
      EXPECT_EQ(joiner.fault(), wire::PieceJoiner::Fault::None);
      EXPECT_EQ(answer.has_value(), !more);
      ++count;
      if (more && afterPiece) afterPiece(count);
    }
  }

  std::optional<Answer> answer;
  std::size_t count = 0;     // of pieces
  service::Longest longest;  // to make and encode a piece
};

}  // namespace host
