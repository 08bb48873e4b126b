// Each attack on a small service that counts what it gets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <set>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "platform/channel/frames.h"
#include "platform/wire/messages.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/unique_fd.h"

namespace attacker {
namespace {

using testing::ContainsRegex;
using testing::StartsWith;
using testsupport::UniqueFd;

// What has arrived.
struct Counts {
  int connections = 0;
  int mostAtOnce = 0;
  int tooLong = 0;                 // frames
  int malformed = 0;               // whole frames that hold no message
  int unfinished = 0;              // connections with a frame that was begun
  std::size_t mostUnfinished = 0;  // bytes of such a frame
  int hellos = 0;
  int requests = 0;
  int unread = 0;  // answers for which the client left no room
  int opened = 0;
  int injected = 0;  // into its source
  int sent = 0;
  int known = 0;        // guessed sessions that there are, with their token
  int wrongTokens = 0;  // of such sessions
};

constexpr std::uint32_t Window = 4;

constexpr wire::Token Token{0x1122334455667788, 0x99AABBCCDDEEFF00};

// Answers like a service, on a thread of its own.
class SmallService {
 public:
  SmallService() : listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path().copy(std::begin(address.sun_path), sizeof address.sun_path - 1);
    EXPECT_EQ(bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listener_.get(), 128), 0);
    thread_ = std::thread([this] { serve(); });
  }
  SmallService(const SmallService&) = delete;
  SmallService& operator=(const SmallService&) = delete;
  ~SmallService() { stop(); }

  std::string path() const { return folder_.path() / "socket"; }

  // Ends it when nothing more arrives, and tells what has.
  const Counts& stop() {
    stopped_ = true;
    if (thread_.joinable()) thread_.join();
    return counts_;
  }

 private:
  struct Connection {
    UniqueFd socket;
    channel::FrameReader reader;
    std::size_t begun = 0;  // bytes that have arrived since the last whole frame
  };

  void serve() {
    int ready = 0;
    // On a busy machine much may still wait.
    while (!stopped_ || ready > 0) {
      std::vector<pollfd> items{{listener_.get(), POLLIN, 0}};
      for (const Connection& connection : connections_) items.push_back({connection.socket.get(), POLLIN, 0});
      ready = poll(items.data(), items.size(), 10);
      for (std::size_t i = 1; i < items.size(); ++i) {
        if (items[i].revents != 0) read(connections_[i - 1]);
      }
      std::erase_if(connections_, [this](const Connection& connection) {
        if (!connection.socket) note(connection);
        return !connection.socket;
      });
      for (int fd = 0; (fd = accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)) >= 0;) {
        connections_.push_back({UniqueFd(fd), {}, 0});
        ++counts_.connections;
      }
      counts_.mostAtOnce = std::max(counts_.mostAtOnce, static_cast<int>(connections_.size()));
    }
    for (const Connection& connection : connections_) note(connection);
  }

  void note(const Connection& connection) {
    if (connection.begun > 0) ++counts_.unfinished;
    counts_.mostUnfinished = std::max(counts_.mostUnfinished, connection.begun);
  }

  void read(Connection& connection) {
    std::array<std::uint8_t, 65536> buffer;
    const ssize_t size = recv(connection.socket.get(), buffer.data(), buffer.size(), 0);
    if (size < 0 && errno == EAGAIN) return;
    if (size <= 0) return connection.socket.reset();
    connection.reader.feed({buffer.data(), static_cast<std::size_t>(size)});
    connection.begun += static_cast<std::size_t>(size);
    while (const auto message = connection.reader.next()) {
      connection.begun -= channel::FrameFrontBytes + message->size();
      if (const auto envelope = wire::decode(*message)) {
        answer(connection, *envelope);
      } else {
        ++counts_.malformed;
      }
    }
    if (!connection.reader.broken()) return;
    ++counts_.tooLong;
    connection.begun = 0;
    connection.socket.reset();
  }

  void answer(Connection& connection, const wire::Envelope& envelope) {
    const auto guessed = [&](const auto& session, const wire::Token& token) {
      ++counts_.opened;
      if (sessions_.contains(session)) ++(token == Token ? counts_.known : counts_.wrongTokens);
      reply(connection, envelope.tag, wire::Result{device::Status::NoSession, 0});
    };
    if (std::holds_alternative<wire::Hello>(envelope.body)) {
      ++counts_.hellos;
      wire::Welcome welcome;
      welcome.session = {nextSession_++};
      welcome.token = Token;
      welcome.sendWindow = Window;
      sessions_.insert(welcome.session);
      reply(connection, envelope.tag, welcome);
    } else if (std::holds_alternative<wire::AskTopology>(envelope.body)) {
      ++counts_.requests;
      reply(connection, envelope.tag, wire::Topology{{{9, "Keys", device::SideOfGroup{1, "KeysOut", {}}, {}}}});
    } else if (const auto* events = std::get_if<wire::OpenEvents>(&envelope.body)) {
      guessed(events->session, events->token);
    } else if (const auto* graph = std::get_if<wire::OpenGraph>(&envelope.body)) {
      guessed(graph->session, graph->token);
    } else if (const auto* inject = std::get_if<wire::Inject>(&envelope.body)) {
      if (inject->name == "KeysOut1") ++counts_.injected;
      reply(connection, 0, wire::Taken{static_cast<std::uint64_t>(counts_.injected)});
    } else if (std::holds_alternative<wire::Send>(envelope.body)) {
      ++counts_.sent;
    } else {
      ++counts_.requests;
      reply(connection, envelope.tag, wire::Stats{});
    }
  }

  void reply(Connection& connection, std::uint32_t tag, const wire::Body& body) {
    std::vector<std::uint8_t> frame;
    channel::appendFrame(wire::encode(tag, body), frame);
    if (send(connection.socket.get(), frame.data(), frame.size(), MSG_NOSIGNAL) < 0 && errno == EAGAIN) {
      ++counts_.unread;
    }
  }

  testsupport::ScratchFolder folder_;
  UniqueFd listener_;
  std::deque<Connection> connections_;
  std::set<decltype(wire::Welcome::session)> sessions_;
  std::uint64_t nextSession_ = 1000;
  Counts counts_;
  std::atomic<bool> stopped_ = false;
  std::thread thread_;
};

class Attacks : public testing::Test {
 protected:
  // Returns the line that the attacker wrote.
  std::string attack(const std::string& name, const std::string& seconds) {
    const testsupport::Command command{FLOWSCOPE_BINARY_DIR "/attacker", {name, service_.path(), seconds}, {}, {}};
    const auto result = testsupport::runProcess(command, "", testsupport::Deadline(std::chrono::seconds(30)));
    EXPECT_EQ(result.status, testsupport::ExitStatus::exited(0));
    EXPECT_EQ(result.standardError, "");
    EXPECT_THAT(result.standardOutput, StartsWith(name + ": "));
    return result.standardOutput;
  }

  SmallService service_;
};

TEST_F(Attacks, Garbage) {
  EXPECT_THAT(attack("garbage", "0.5"), ContainsRegex("[1-9][0-9]* pieces on [1-9][0-9]* connections"));
  const Counts& counts = service_.stop();
  EXPECT_GT(counts.tooLong, 0);
  EXPECT_GT(counts.malformed, 0);
  EXPECT_GT(counts.hellos, 0);
  EXPECT_GT(counts.connections, counts.hellos / 2);
}

TEST_F(Attacks, HalfFrames) {
  attack("half", "0.5");
  const Counts& counts = service_.stop();
  EXPECT_GT(counts.unfinished, 20);
  EXPECT_GT(counts.hellos, 5);
  EXPECT_EQ(counts.requests, 0) << "none is finished";
  EXPECT_EQ(counts.tooLong + counts.malformed, 0);
}

TEST_F(Attacks, EndlessFrames) {
  attack("endless", "0.5");
  const Counts& counts = service_.stop();
  EXPECT_EQ(counts.tooLong, 3);
  EXPECT_GT(counts.unfinished, 1);
  EXPECT_EQ(counts.mostUnfinished, channel::FrameFrontBytes + channel::MaxFrameBytes - 1);
  EXPECT_EQ(counts.requests + counts.malformed, 0);
}

TEST_F(Attacks, DrippingBytes) {
  EXPECT_THAT(attack("drip", "2.5"), StartsWith("drip: 60 bytes on 20 connections"));
  const Counts& counts = service_.stop();
  EXPECT_EQ(counts.unfinished, 20);
  EXPECT_EQ(counts.mostUnfinished, 3U);
  EXPECT_EQ(counts.hellos, 10);
}

TEST_F(Attacks, StormOfConnections) {
  EXPECT_THAT(attack("storm", "0.5"), ContainsRegex("[1-9][0-9]* a second"));
  const Counts& counts = service_.stop();
  EXPECT_GT(counts.connections, 100);
  EXPECT_EQ(counts.hellos + counts.requests + counts.unfinished, 0);
}

TEST_F(Attacks, StormOfHellos) {
  EXPECT_THAT(attack("hellos", "0.5"), ContainsRegex("[0-9]+ welcomed on [1-9][0-9]* connections"));
  const Counts& counts = service_.stop();
  EXPECT_GT(counts.hellos, 100);
  EXPECT_GT(counts.mostAtOnce, 100) << "they stay open";
}

TEST_F(Attacks, RequestsWithoutReading) {
  attack("deaf", "0.5");
  const Counts& counts = service_.stop();
  EXPECT_GT(counts.hellos, 0);
  EXPECT_LE(counts.hellos, 8);
  EXPECT_GT(counts.requests, 100);
  EXPECT_GT(counts.unread, 100);
}

TEST_F(Attacks, ForgedSessions) {
  EXPECT_THAT(attack("forged", "0.5"), ContainsRegex("^forged: 0 accepted of [1-9][0-9]* guesses"));
  const Counts& counts = service_.stop();
  EXPECT_EQ(counts.hellos, 1);
  EXPECT_GT(counts.opened, 100);
  EXPECT_EQ(counts.known, 0);
  EXPECT_GT(counts.wrongTokens, 10);
}

TEST_F(Attacks, StolenSession) {
  const testsupport::Command command{
      FLOWSCOPE_BINARY_DIR "/attacker", {"stolen", service_.path(), "5", "1000", "1", "2"}, {}, {}};
  const auto result = testsupport::runProcess(command, "", testsupport::Deadline(std::chrono::seconds(30)));
  EXPECT_EQ(result.standardOutput,
            "stolen: events 4, graph 4, request none, on 3 connections, 0 refused, 0 closed by the service\n");
  EXPECT_EQ(service_.stop().opened, 2);
}

TEST_F(Attacks, CrowdThatDies) {
  const testsupport::Command command{FLOWSCOPE_BINARY_DIR "/attacker", {"crowd", service_.path(), "0.5"}, {}, {}};
  const auto result = testsupport::runProcess(command, "", testsupport::Deadline(std::chrono::seconds(30)));
  EXPECT_EQ(result.status, testsupport::ExitStatus::signalled(SIGKILL));
  EXPECT_THAT(result.standardOutput, StartsWith("crowd: 0 clients")) << "taps are refused here";
  const Counts& counts = service_.stop();
  EXPECT_GT(counts.hellos, 50);
  EXPECT_GT(counts.opened, 50);
  EXPECT_GT(counts.mostAtOnce, 100);
}

TEST_F(Attacks, Flood) {
  EXPECT_THAT(attack("flood", "0.5"), ContainsRegex("[1-9][0-9]* frames, [1-9][0-9]* taken, on 1 connections"));
  const Counts& counts = service_.stop();
  EXPECT_GT(counts.injected, 10 * static_cast<int>(Window));
  EXPECT_GT(counts.sent, 10);
  EXPECT_LE(std::abs(counts.injected - counts.sent), 1);
}

// A service that is not there, or goes, does not end the attack.
TEST(Attacker, GoesOnWithoutAService) {
  const testsupport::ScratchFolder folder;
  for (const std::string name : {"garbage", "half", "endless", "drip", "storm", "hellos", "deaf", "forged", "flood"}) {
    const testsupport::Command command{
        FLOWSCOPE_BINARY_DIR "/attacker", {name, folder.path() / "none", "0.05"}, {}, {}};
    const auto result = testsupport::runProcess(command, "", testsupport::Deadline(std::chrono::seconds(30)));
    EXPECT_EQ(result.status, testsupport::ExitStatus::exited(0)) << name;
    EXPECT_THAT(result.standardOutput, ContainsRegex("0 connections, [1-9][0-9]* refused")) << name;
  }
}

TEST(Attacker, KnowsItsArguments) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"storm"}, {"unknown", "/nowhere", "1"}, {"storm", "/nowhere", "1", "more"}}) {
    const testsupport::Command command{FLOWSCOPE_BINARY_DIR "/attacker", arguments, {}, {}};
    const auto result = testsupport::runProcess(command, "", testsupport::Deadline(std::chrono::seconds(30)));
    EXPECT_EQ(result.status, testsupport::ExitStatus::exited(2));
    EXPECT_EQ(result.standardError, "usage: attacker NAME SOCKET SECONDS\n");
  }
}

}  // namespace
}  // namespace attacker
