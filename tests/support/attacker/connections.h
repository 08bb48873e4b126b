// What the attacks have in common.
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/wire/messages.h"
#include "tests/support/attacker/attacks.h"
#include "tests/support/attacker/raw_stream.h"
#include "tests/support/deadline.h"

namespace attacker {

using Buffer = std::vector<std::uint8_t>;
using Session = decltype(wire::Welcome::session);

// A service that does not take or answer something for so long is left alone for now.
inline constexpr std::chrono::milliseconds Patience{200};

inline std::string text(const auto&... parts) {
  std::ostringstream out;
  (out << ... << parts);
  return out.str();
}

// Random, the same at each start.
class Random {
 public:
  std::uint64_t number() { return engine_(); }
  std::size_t below(std::size_t bound) { return number() % bound; }

  Buffer bytes(std::size_t count) {
    Buffer made(count);
    for (auto& byte : made) byte = static_cast<std::uint8_t>(number());
    return made;
  }

 private:
  std::mt19937_64 engine_{7};
};

// Raises the limit of descriptors as far as possible, and returns it.
inline std::size_t mostDescriptors() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  return static_cast<std::size_t>(limit.rlim_cur);
}

// Opens connections and counts what becomes of them.
class Connections {
 public:
  explicit Connections(const Target& target) : target_(target), end_(target.duration) {}

  const testsupport::Deadline& end() const { return end_; }

  // A connection; it is not open if the service has no room, or this process. Then waits before it returns.
  RawStream make(std::chrono::milliseconds pause = std::chrono::milliseconds(1)) {
    RawStream stream(target_.socket);
    ++(stream.open() ? made : refused);
    if (!stream.open()) std::this_thread::sleep_for(pause);
    return stream;
  }

  // Fills the connections up to a count, with one more at each call, and forgets those that the service has closed.
  // Returns the new one; nullptr if there is none.
  RawStream* oneMore(std::deque<RawStream>& kept, std::size_t count) {
    closed += std::erase_if(kept, [](RawStream& stream) {
      stream.read();
      return !stream.open();
    });
    if (kept.size() >= count) return nullptr;
    auto stream = make();
    return stream.open() ? &kept.emplace_back(std::move(stream)) : nullptr;
  }

  std::string described() const {
    return text(made, " connections, ", refused, " refused, ", closed, " closed by the service");
  }

  std::uint64_t made = 0;
  std::uint64_t refused = 0;
  std::uint64_t closed = 0;

 private:
  const Target& target_;
  testsupport::Deadline end_;
};

}  // namespace attacker
