// Many clients that die at once.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
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

constexpr std::size_t Wanted = 8000;

// As many at a time, so that none waits long.
constexpr std::size_t AtOnce = 100;

constexpr std::size_t SpareDescriptors = 64;

struct Member {
  RawStream control;
  RawStream events;
};

// Adds some members. Each request is written before the answer to any is read.
void grow(std::vector<Member>& crowd, std::size_t count, const Target& target, const std::string& port,
          const Deadline& end) {
  const std::size_t before = crowd.size();
  const Buffer hello = frameOf(1, wire::Hello{});
  for (std::size_t i = 0; i < count; ++i) {
    Member& member = crowd.emplace_back(Member{RawStream(target.socket), RawStream(target.socket)});
    member.control.writeAll(hello, end);
  }
  for (std::size_t i = before; i < crowd.size(); ++i) {
    const auto envelope = crowd[i].control.answer(1, end);
    const auto* welcome = envelope ? std::get_if<wire::Welcome>(&envelope->body) : nullptr;
    if (welcome == nullptr) continue;
    crowd[i].control.writeAll(frameOf(2, wire::Tap{welcome->session, 1, 512, port}), end);
    crowd[i].events.writeAll(frameOf(3, wire::OpenEvents{welcome->session, welcome->token}), end);
  }
  const auto isOk = [&](RawStream& stream, std::uint32_t tag) {
    const auto envelope = stream.answer(tag, end);
    const auto* result = envelope ? std::get_if<wire::Result>(&envelope->body) : nullptr;
    return result != nullptr && result->status == device::Status::Ok;
  };
  const auto isDone = [&](Member& member) { return isOk(member.control, 2) && isOk(member.events, 3); };
  const auto failed = std::remove_if(crowd.begin() + static_cast<std::ptrdiff_t>(before), crowd.end(),
                                     [&](Member& member) { return !isDone(member); });
  crowd.erase(failed, crowd.end());
}

}  // namespace

std::string crowd(const Target& target) {
  const std::size_t room = mostDescriptors() - SpareDescriptors;
  const std::size_t most = std::min(Wanted, room / 2);
  const Deadline end(target.duration);
  RawStream first(target.socket);
  const auto welcome = first.greet(end);
  const std::string port = welcome ? firstSource(first, welcome->session, end) : std::string();
  std::vector<Member> members;
  while (members.size() < most && !end.passed()) {
    grow(members, std::min(AtOnce, most - members.size()), target, port, end);
  }
  std::printf("crowd: %zu clients with taps\n", members.size());
  std::fflush(stdout);
  std::raise(SIGKILL);
  return {};
}

}  // namespace attacker
