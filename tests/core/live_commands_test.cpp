// Commands typed while messages arrive: one thread runs them, another receives and prints, a third sends.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include "core/flowscope_shell.h"
#include "core/line_executor.h"
#include "strmsrv.h"
#include "tests/core/shell_fixture.h"
#include "traffic/traffic_output.h"

namespace flowscope {
namespace {

constexpr const char* RawLine = "0x90 0x3C 0x40 0x01\n";
constexpr const char* LabelledLine = "KeyboardOut1) note on  :note= 0x3C :velocity= 0x40 :grpId= 0x01\n";

// Sends 10,000 messages a second, ten at a time, until it goes.
class Sender {
 public:
  Sender() {
    port_.connect("KeyboardOut1", EvtSrv::DebugPortName, nullptr, nullptr, EvtSrv::ConBehave_Void);
    // Events for this client wait in the service: nobody receives them.
    thread_ = std::thread([this] {
      auto next = std::chrono::steady_clock::now();
      while (running_) {
        for (int i = 0; i < 10; ++i) port_.sendNoteOn(0x3C, 0x40, 1);
        next += std::chrono::milliseconds(1);
        std::this_thread::sleep_until(next);
      }
    });
  }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;
  ~Sender() {
    running_ = false;
    thread_.join();
  }

 private:
  EvtSrv::EventPortManager manager_{EvtSrv::ConBehave_Void, true};
  StrmSrv::StreamPortMIDI port_{manager_};
  std::atomic<bool> running_ = true;
  std::thread thread_;
};

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Takes whole lines of either form away, and answers how many; what is left is no line.
std::size_t takeLines(std::string& text, const std::string& raw, const std::string& labelled) {
  std::size_t count = 0;
  std::string_view rest = text;
  for (;;) {
    if (rest.starts_with(raw)) {
      rest.remove_prefix(raw.size());
    } else if (rest.starts_with(labelled)) {
      rest.remove_prefix(labelled.size());
    } else {
      break;
    }
    ++count;
  }
  text = rest;
  return count;
}

class LiveCommands : public testing::Test {
 protected:
  LiveCommands() {
    trafficOutput().trafficMode = TrafficOff;
    trafficOutput().monitorTarget = EvtSrv::DebugPortName;
    manager = std::make_unique<EvtSrv::EventPortManager>(EvtSrv::ConBehave_Void, true);
    shell = std::make_unique<FlowScope>(*manager, true, around.io);
    shell->init(*manager);
    std::filesystem::create_directory(folder);
  }
  ~LiveCommands() override { std::filesystem::remove_all(folder); }

  // Runs the line, then waits until more has been printed.
  void runAndSeeMessages(const std::string& line) {
    EXPECT_EQ(runCommands(*shell, line), ResultOk) << line;
    const std::size_t before = turnsWithMessages;
    while (turnsWithMessages < before + 2) std::this_thread::yield();
  }

  std::filesystem::path folder = std::filesystem::temp_directory_path() / ("live-" + std::to_string(::getpid()));
  test::Surroundings around;
  std::unique_ptr<EvtSrv::EventPortManager> manager;
  std::unique_ptr<FlowScope> shell;
  std::atomic<std::size_t> turnsWithMessages = 0;
};

TEST_F(LiveCommands, ToCatAndEndWorkWhileMessagesArrive) {
  constexpr int Rounds = 20;
  const std::string port = " /Midi/Source/Keyboard/KeyboardOut1";
  const auto log = [this](const char* name, int round) { return (folder / (name + std::to_string(round))).string(); };
  const Sender sender;
  std::atomic<bool> done = false;
  std::thread typist([&] {
    for (int round = 0; round < Rounds; ++round) {
      runAndSeeMessages("to " + log("twice", round) + port);
      // The first stream is abandoned in the middle of the traffic.
      runAndSeeMessages("to " + log("twice", round) + port);
      runAndSeeMessages("cat -l");
      runAndSeeMessages("to " + log("once", round));
      EXPECT_EQ(runCommands(*shell, "end"), ResultOk);
      runAndSeeMessages("cat" + port);
      EXPECT_EQ(runCommands(*shell, "end"), ResultOk);
    }
    done = true;
  });
  while (!done) {
    if (manager->receiveEvent(10) == EvtSrv::EvtRes_Success) ++turnsWithMessages;
  }
  typist.join();

  std::size_t logged = 0;
  for (int round = 0; round < Rounds; ++round) {
    for (const char* name : {"twice", "once"}) {
      std::string text = contentOf(log(name, round));
      const std::size_t lines = takeLines(text, RawLine, LabelledLine);
      EXPECT_GT(lines, 0U);
      EXPECT_EQ(text, "") << log(name, round);
      logged += lines;
    }
  }
  // A quiet output ends each piece with a line end of its own.
  std::string printed = around.out.take();
  const std::size_t shown = takeLines(printed, std::string(RawLine) + "\n", std::string(LabelledLine) + "\n");
  EXPECT_EQ(printed, "");
  EXPECT_GE(shown, logged);
}

}  // namespace
}  // namespace flowscope
