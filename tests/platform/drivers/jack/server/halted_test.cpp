// A JACK server that is halted: it lives, and answers nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/platform/drivers/jack/server/driven.h"
#include "tests/platform/drivers/jack/server/jack_server.h"
#include "tests/platform/drivers/jack/server/peer_process.h"
#include "tests/support/process.h"
#include "tests/support/stream_daemon.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;
using device::Status;
using testing::AnyOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Matches;
using testing::Not;
using testing::Optional;
using testsupport::Deadline;

// Ten times what is promised for a request, and for whoever asks for something else meanwhile.
constexpr auto RequestTime = 20s;
constexpr auto OtherTime = 500ms;

constexpr const char* Silent = "the JACK server does not answer";
constexpr const char* Answers = "the JACK server answers again";

class JackHalted : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = JackServer::whyNot(); !why.empty()) GTEST_SKIP() << why;
    server.emplace();
    peer.emplace("peer", "out", "in");
    driven.emplace();
  }

  // No call may wait for the server.
  void TearDown() override {
    if (!driven) return;
    EXPECT_LT(driven->longestAdvance, OtherTime);
  }

  std::string connections() const { return server->tool("jack_lsp", {"-c", "peer:out"}); }

  bool runUntilLogged(const std::string& line) {
    return driven->runUntil([&] { return Matches(Contains(line))(driven->lines); });
  }

  // Waits until the server has done all that was asked of it.
  void runUntilItAnswers() {
    EXPECT_TRUE(runUntilLogged(Answers));
    EXPECT_EQ(driven->patch(false, "peer:out", "peer:in"), Status::NotFound);
  }

  // The peer emits until something arrives: JACK loses what falls into a period for which somebody was late.
  bool arrives() {
    driven->forget();
    for (int turn = 0; turn < 50 && driven->emittedCount == 0; ++turn) {
      peer->emit("90 01 02");
      driven->runUntil([&] { return driven->emittedCount > 0; }, 100ms);
    }
    return driven->emittedCount > 0;
  }

  std::optional<JackServer> server;
  std::optional<PeerProcess> peer;
  std::optional<Driven> driven;
};

TEST_F(JackHalted, PatchesAreRefusedInTimeAndDoNotHappenLater) {
  server->halt();
  const auto begin = Driven::now();
  const auto first = driven->startPatch(true, "peer:out", "peer:in");
  driven->runFor(100ms);
  // This one waits behind the first.
  const auto second = driven->startPatch(true, "peer:out", "peer:in");
  EXPECT_LT(Driven::now() - begin, OtherTime + 100ms);
  EXPECT_EQ(driven->answer(first), Status::Refused);
  EXPECT_EQ(driven->answer(second), Status::Refused);
  EXPECT_LT(Driven::now() - begin, RequestTime);
  EXPECT_THAT(driven->lines, ElementsAre(Silent)) << "once";
  server->resume();
  runUntilItAnswers();
  EXPECT_THAT(driven->links, IsEmpty());
  EXPECT_THAT(connections(), Not(HasSubstr("peer:in")));
  EXPECT_THAT(driven->lines, ElementsAre(Silent, Answers));
  EXPECT_EQ(driven->patch(true, "peer:out", "peer:in"), Status::Ok);
  EXPECT_THAT(driven->links, ElementsAre("peer:out peer:in"));
  EXPECT_THAT(connections(), HasSubstr("peer:in"));
}

TEST_F(JackHalted, ConnectionThatWasToEndStandsWhenThatWasRefused) {
  ASSERT_EQ(driven->patch(true, "peer:out", "peer:in"), Status::Ok);
  server->halt();
  EXPECT_EQ(driven->patch(false, "peer:out", "peer:in"), Status::Refused);
  EXPECT_THAT(driven->links, ElementsAre("peer:out peer:in"));
  server->resume();
  ASSERT_TRUE(runUntilLogged(Answers));
  driven->runFor(100ms);
  EXPECT_THAT(driven->links, ElementsAre("peer:out peer:in"));
  EXPECT_THAT(connections(), HasSubstr("peer:in"));
}

TEST_F(JackHalted, RequestThatIsMadeAgainIsCarriedOut) {
  server->halt();
  const auto first = driven->startPatch(true, "peer:out", "peer:in");
  driven->runFor(1s);
  // Somebody else wants the connection, too. It is made for them, though the first request is undone.
  const auto again = driven->startPatch(true, "peer:out", "peer:in");
  EXPECT_EQ(driven->answer(first), Status::Refused);
  server->resume();
  EXPECT_EQ(driven->answer(again), Status::Ok);
  EXPECT_THAT(driven->links, ElementsAre("peer:out peer:in")) << "the change precedes the answer";
  driven->runFor(100ms);
  EXPECT_THAT(driven->links, ElementsAre("peer:out peer:in"));
  EXPECT_THAT(connections(), HasSubstr("peer:in"));
}

TEST_F(JackHalted, WhoAsksASilentServerIsRefusedAtOnce) {
  server->halt();
  EXPECT_EQ(driven->patch(true, "peer:out", "peer:in"), Status::Refused);
  EXPECT_THAT(driven->lines, ElementsAre(Silent));
  for (int turn = 0; turn < 100; ++turn) {
    const auto patch = driven->startPatch(true, "peer:out", "peer:in");
    EXPECT_EQ(driven->answers.at(patch), Status::Refused);
    EXPECT_EQ(driven->startUse("peer:out"), Status::Refused);
    driven->unuse("peer:out");
  }
  // Who stays is served later.
  EXPECT_EQ(driven->startUse("peer:out"), Status::Refused);
  server->resume();
  EXPECT_EQ(driven->useAnswer("peer:out"), Status::Ok);
  EXPECT_TRUE(arrives());
  EXPECT_THAT(driven->lines, ElementsAre(Silent, Answers));
  EXPECT_THAT(connections(), Not(HasSubstr("peer:in")));
  EXPECT_EQ(driven->patch(true, "peer:out", "peer:in"), Status::Ok);
}

TEST_F(JackHalted, ShortHaltIsNoFault) {
  server->halt();
  const auto patch = driven->startPatch(true, "peer:out", "peer:in");
  driven->runFor(100ms);
  server->resume();
  EXPECT_EQ(driven->answer(patch), Status::Ok);
  EXPECT_THAT(driven->lines, IsEmpty());
}

TEST_F(JackHalted, UseOfASourceIsRefusedInTimeAndPossibleAgainLater) {
  server->halt();
  const auto begin = Driven::now();
  EXPECT_EQ(driven->startUse("peer:out"), std::nullopt);
  EXPECT_EQ(driven->useAnswer("peer:out"), Status::Refused);
  EXPECT_LT(Driven::now() - begin, RequestTime);
  // As the service does then. The request is already under way.
  driven->unuse("peer:out");
  // These have not begun, and are given up.
  for (int turn = 0; turn < 3; ++turn) {
    driven->startUse("peer:out");
    driven->unuse("peer:out");
  }
  EXPECT_THAT(driven->lines, ElementsAre(Silent));
  server->resume();
  runUntilItAnswers();
  EXPECT_THAT(server->tool("jack_lsp"), Not(ContainsRegex("flowscope-[0-9-]+:capture_")));
  EXPECT_TRUE(driven->use("peer:out"));
  EXPECT_TRUE(arrives());
  EXPECT_THAT(server->tool("jack_lsp"), Not(ContainsRegex("flowscope-[0-9-]+:capture_2")));
}

TEST_F(JackHalted, SourceThatStaysUsedIsUsedWhenTheServerAnswers) {
  server->halt();
  driven->startUse("peer:out");
  EXPECT_EQ(driven->useAnswer("peer:out"), Status::Refused);
  server->resume();
  EXPECT_TRUE(driven->runUntil([&] { return driven->uses.at("peer:out") == Status::Ok; }));
  EXPECT_TRUE(arrives());
}

TEST_F(JackHalted, MessagesWaitForTheServer) {
  server->halt();
  const auto begin = Driven::now();
  driven->deliver("peer:in", {0x90, 1, 1});
  driven->deliver("peer:in", {0x80, 1, 1});
  EXPECT_LT(Driven::now() - begin, OtherTime);
  driven->runFor(3s);
  EXPECT_THAT(driven->lines, IsEmpty());
  server->resume();
  driven->runFor(200ms);
  EXPECT_EQ(peer->arrived(), "90 01 01");
  EXPECT_EQ(peer->arrived(), "80 01 01");
}

TEST_F(JackHalted, SendersDoNotWaitForTheServer) {
  std::vector<std::uint8_t> message(400'000, 1);
  message.front() = 0xF0;
  message.back() = 0xF7;
  server->halt();
  for (int turn = 0; turn < 2; ++turn) driven->deliver("peer:in", message);
  EXPECT_TRUE(driven->driver().behind());
  EXPECT_TRUE(driven->runUntil([&] { return !driven->driver().behind(); }));
  // Held back again once the server goes on, until there is room.
  server->resume();
  EXPECT_TRUE(driven->runUntil([&] { return driven->driver().behind(); }));
}

TEST_F(JackHalted, ServerThatIsKilledAnswersWhatIsOpen) {
  server->halt();
  const auto patch = driven->startPatch(true, "peer:out", "peer:in");
  driven->startUse("peer:out");
  driven->deliver("peer:in", {0x90, 1, 1});
  driven->runFor(50ms);
  server->kill();
  // Its ports have gone; or, if that is not known yet, the request has failed.
  EXPECT_THAT(driven->answer(patch), AnyOf(Optional(Status::NotFound), Optional(Status::Refused)));
  EXPECT_TRUE(driven->runUntil([&] { return !driven->isThere("peer:out"); }));
  peer.reset();
  server->startAlone();
  EXPECT_TRUE(runUntilLogged("warning: connected to the JACK server again"));
}

TEST_F(JackHalted, DriverEndsWithoutTheServer) {
  server->halt();
  driven->startPatch(true, "peer:out", "peer:in");
  driven->startUse("peer:out");
  driven->deliver("peer:in", {0x90, 1, 1});
  driven->runFor(50ms);
  const auto begin = Driven::now();
  driven.reset();
  EXPECT_LT(Driven::now() - begin, RequestTime);
  // Its thread is still there, and ends what it has begun.
  server->resume();
  std::this_thread::sleep_for(200ms);
}

// Another driver's ports and other clients, in a service with a JACK server that is halted.
TEST(JackHaltedService, OthersNoticeNothing) {
  if (const std::string why = JackServer::whyNot(); !why.empty()) GTEST_SKIP() << why;
  JackServer server;
  PeerProcess peer("peer", "out", "in");
  std::vector<std::string> arguments;
  for (const auto& [name, value] : JackServer::environment()) {
    if (name.starts_with("JACK_")) arguments.push_back(name + "=" + value);
  }
  arguments.insert(arguments.end(), {FLOWSCOPE_BINARY_DIR "/streamd", "--driver", "builtin", "--driver", "jack"});
  testsupport::StreamDaemon daemon("/usr/bin/env", arguments);
  auto environment = JackServer::environment();
  environment["EVTSRV_ENDPOINT"] = daemon.endpoint();
  const auto flowscope = [&](const std::string& line) {
    return runProcess({FLOWSCOPE_BINARY_DIR "/flowscope", {"-c", line}, environment, {}}, {}, Deadline(RequestTime));
  };
  const std::string connect = "con /Midi/Source/peer/peer:out /Midi/Sink/peer/peer:in";

  const client::EndpointVariable endpoint(daemon.endpoint());
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  client::RecordingPort port(manager);
  ASSERT_EQ(port.tap("ThruOut1"), EvtSrv::EvtRes_Success);

  server.halt();
  std::optional<testsupport::ProcessResult> connected;
  EvtSrv::EventResult tapped = EvtSrv::EvtRes_Success;
  const auto begin = Driven::now();
  std::thread asker([&] { connected = flowscope(connect); });
  std::thread tapper([&] {
    EvtSrv::EventPortManager other(EvtSrv::ConBehave_Default, true);
    client::RecordingPort refused(other);
    tapped = refused.tap("peer:out");
  });
  std::optional<testsupport::ProcessResult> watched;
  std::thread watcher([&] {
    watched = runProcess({FLOWSCOPE_BINARY_DIR "/streamctl", {"watch", "peer:out"}, environment, {}}, {},
                         Deadline(RequestTime));
  });
  device::Time longest{};
  std::size_t sent = 0;
  while (Driven::now() - begin < 3s) {
    const auto before = Driven::now();
    EXPECT_EQ(port.tap("ThruIn1"), EvtSrv::EvtRes_Success);
    EXPECT_EQ(port.sendNoteOn(1, 1, 0), StrmSrv::StrmRes_Success);
    ++sent;
    EXPECT_TRUE(client::receiveUntil(manager, [&] { return port.texts.size() >= 2 * sent; }));
    EXPECT_EQ(port.disconnect("ThruIn1", nullptr), EvtSrv::EvtRes_Success);
    longest = std::max(longest, Driven::now() - before);
  }
  asker.join();
  tapper.join();
  watcher.join();
  EXPECT_LT(longest, OtherTime);
  ASSERT_TRUE(connected);
  EXPECT_THAT(connected->standardOutput, HasSubstr("ERROR: ConnectError")) << connected->standardError;
  EXPECT_EQ(tapped, EvtSrv::EvtRes_UnknownError);
  ASSERT_TRUE(watched);
  EXPECT_EQ(watched->status, testsupport::ExitStatus::exited(1));
  EXPECT_EQ(watched->standardError, "streamctl: cannot receive from port: peer:out\n");
  EXPECT_TRUE(daemon.logged(std::string("jack: ") + Silent + "\n", Deadline(RequestTime))) << daemon.log();

  server.resume();
  EXPECT_TRUE(daemon.logged(std::string("jack: ") + Answers + "\n", Deadline(RequestTime))) << daemon.log();
  EXPECT_THAT(flowscope("ls /Midi/Source/peer/peer:out").standardOutput, Not(HasSubstr("peer:in")));
  EXPECT_EQ(flowscope(connect).standardError, "");
  EXPECT_THAT(server.tool("jack_lsp", {"-c", "peer:out"}), HasSubstr("peer:in"));
  EXPECT_EQ(port.tap("peer:out"), EvtSrv::EvtRes_Success);
}

}  // namespace
}  // namespace drivers::jack
