// Attacks with messages.
#include <poll.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tests/support/attacker/attacks.h"
#include "tests/support/attacker/connections.h"
#include "tests/support/attacker/first_source.h"

namespace attacker {
namespace {

using testsupport::Deadline;
using namespace std::chrono_literals;

// Requests of a session, one after the other.
Buffer requestsOf(const Session& session) {
  Buffer requests;
  const auto append = [&](const wire::Body& body) {
    const Buffer frame = frameOf(2, body);
    requests.insert(requests.end(), frame.begin(), frame.end());
  };
  for (int i = 0; i < 100; ++i) {
    append(wire::AskLinks{session});
    append(wire::AskStats{session});
    append(wire::UntapAll{session, 1});
    append(wire::AskTopology{session});
  }
  return requests;
}

// Random, or close to what a session is opened with: one byte is wrong, of its number or of its token.
wire::OpenEvents guess(const wire::OpenEvents& known, Random& random) {
  std::array<std::uint64_t, 3> words{known.session, known.token.high, known.token.low};
  if (random.below(2) == 0) {
    for (auto& word : words) word = random.number();
  } else {
    words[random.below(words.size())] ^= (1 + random.below(255)) << (8 * random.below(8));
  }
  return {words[0], {words[1], words[2]}};
}

}  // namespace

std::string deaf(const Target& target) {
  struct Asker {
    RawStream stream;
    Buffer requests;
    std::size_t written = 0;
  };
  constexpr std::size_t Count = 8;
  Connections connections(target);
  std::vector<Asker> askers;
  std::uint64_t bytes = 0;
  while (!connections.end().passed()) {
    connections.closed += std::erase_if(askers, [](const Asker& asker) { return !asker.stream.open(); });
    if (askers.size() < Count) {
      auto stream = connections.make();
      if (const auto welcome = stream.greet(connections.end().atMost(Patience))) {
        askers.push_back({std::move(stream), requestsOf(welcome->session)});
      }
    }
    std::vector<pollfd> room;
    for (Asker& asker : askers) {
      const std::size_t size = asker.stream.write(Bytes(asker.requests).subspan(asker.written));
      bytes += size;
      asker.written = (asker.written + size) % asker.requests.size();
      room.push_back({asker.stream.descriptor(), POLLOUT, 0});
    }
    poll(room.data(), room.size(), connections.end().atMost(10ms).pollTimeout());
  }
  return text(bytes, " bytes of requests on ", connections.described());
}

std::string forged(const Target& target) {
  Connections connections(target);
  Random random;
  auto own = connections.make();
  const auto welcome = own.greet(connections.end());
  const wire::OpenEvents known = welcome ? wire::OpenEvents{welcome->session, welcome->token} : wire::OpenEvents{};
  std::uint64_t guesses = 0;
  std::uint64_t accepted = 0;
  while (!connections.end().passed()) {
    auto stream = connections.make();
    for (int left = 100; left > 0 && stream.open() && !connections.end().passed(); --left) {
      const wire::OpenEvents guessed = guess(known, random);
      const wire::Body body =
          left % 2 == 0 ? wire::Body(guessed) : wire::Body(wire::OpenGraph{guessed.session, guessed.token});
      if (!stream.writeAll(frameOf(3, body), connections.end())) break;
      ++guesses;
      const auto envelope = stream.answer(3, connections.end().atMost(Patience));
      const auto* result = envelope ? std::get_if<wire::Result>(&envelope->body) : nullptr;
      if (result != nullptr && result->status == device::Status::Ok) ++accepted;
    }
    if (!stream.open()) ++connections.closed;
  }
  return text(accepted, " accepted of ", guesses, " guesses on ", connections.described());
}

std::string flood(const Target& target) {
  constexpr std::size_t AtOnce = 512;
  Connections connections(target);
  std::uint64_t frames = 0;
  std::uint64_t taken = 0;
  while (!connections.end().passed()) {
    auto stream = connections.make();
    const auto welcome = stream.greet(connections.end().atMost(Patience));
    if (!welcome) continue;
    const std::string port = firstSource(stream, welcome->session, connections.end().atMost(Patience));
    if (port.empty()) continue;
    stream.writeAll(frameOf(2, wire::Tap{welcome->session, 1, 512, port}), connections.end());
    const std::vector<wire::InjectItem> notes(AtOnce, {0, {0x90, 0x3C, 0x40}});
    const Buffer injected = frameOf(0, wire::Inject{welcome->session, port, notes});
    const Buffer sent = frameOf(0, wire::Send{welcome->session, 1, 0, {0x80, 0x3C, 0x40}});
    std::uint64_t takenHere = 0;
    while (stream.open() && !connections.end().passed()) {
      const Buffer& frame = frames % 2 == 0 ? injected : sent;
      // A frame that was begun is finished.
      if (!stream.writeAll(frame, connections.end())) break;
      ++frames;
      stream.read();
      while (const auto envelope = stream.next()) {
        if (const auto* count = std::get_if<wire::Taken>(&envelope->body)) takenHere = count->count;
      }
    }
    taken += takenHere;
    if (!stream.open()) ++connections.closed;
  }
  return text(frames, " frames, ", taken, " taken, on ", connections.described());
}

}  // namespace attacker
