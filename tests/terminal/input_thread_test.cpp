#include "terminal/input_thread.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include "terminal/key_codes.h"
#include "terminal/line_editor.h"
#include "terminal/stdin_key_source.h"
#include "tests/support/memory_stream.h"
#include "tests/support/unique_fd.h"
#include "tests/terminal/fakes.h"

namespace flowscope {
namespace {

using test::MemoryStream;
using test::RecordingHost;
using test::ScriptedKeys;

constexpr std::chrono::seconds Patience{30};

// Writes down what it is told; says when it is told a given code or the end.
class RecordingSink : public KeySink {
 public:
  void handleKey(int code) override {
    codes.push_back(code);
    threads.push_back(std::this_thread::get_id());
    if (code == stopAt) inputRunning = false;
    if (code == waitFor) reached.set_value();
  }
  void inputResumed() override { codes.push_back(InputResumed); }
  void inputEnded() override {
    ++ends;
    reached.set_value();
  }

  bool waitUntilReached() { return reached.get_future().wait_for(Patience) == std::future_status::ready; }

  int stopAt = EndOfInput;
  int waitFor = EndOfInput;
  std::promise<void> reached;
  std::vector<int> codes;  // read when the thread is joined
  std::vector<std::thread::id> threads;
  int ends = 0;
};

// A keyboard that nobody types on, at the end of a pipe.
class Keyboard {
 public:
  Keyboard() {
    EXPECT_EQ(pipe(ends_.data()), 0);
    in_ = fdopen(ends_[0], "r");
    writeEnd_ = testsupport::UniqueFd(ends_[1]);
    source = std::make_unique<StdinKeySource>(in_);
  }
  Keyboard(const Keyboard&) = delete;
  Keyboard& operator=(const Keyboard&) = delete;
  ~Keyboard() {
    source.reset();
    std::fclose(in_);
  }

  void type(std::string_view bytes) {
    EXPECT_EQ(write(writeEnd_.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  std::unique_ptr<StdinKeySource> source;

 private:
  std::array<int, 2> ends_{};
  std::FILE* in_ = nullptr;
  testsupport::UniqueFd writeEnd_;
};

TEST(InputThread, DeliversKeysAndThenTheEndOnItsOwnThread) {
  ScriptedKeys keys({'a', 0x1b, '[', 'A', InputResumed, 'b'});
  RecordingSink sink;
  {
    InputThread thread(keys, sink);
    thread.openGate();
    ASSERT_TRUE(sink.waitUntilReached());
  }
  EXPECT_EQ(sink.codes, (std::vector<int>{'a', KeyUp, InputResumed, 'b'}));
  EXPECT_EQ(sink.ends, 1);
  ASSERT_EQ(sink.threads.size(), 3U);
  EXPECT_NE(sink.threads.front(), std::this_thread::get_id());
  EXPECT_EQ(sink.threads.front(), sink.threads.back());
}

TEST(InputThread, KeepsAKeySequenceThatAResumptionInterrupts) {
  ScriptedKeys keys({0x1b, '[', InputResumed, '5', InputResumed, '~'});
  RecordingSink sink;
  {
    InputThread thread(keys, sink);
    thread.openGate();
    ASSERT_TRUE(sink.waitUntilReached());
  }
  EXPECT_EQ(sink.codes, (std::vector<int>{InputResumed, InputResumed, KeyPageUp}));
}

// Nobody types; says when somebody waits for a key.
class SilentKeys : public KeySource {
 public:
  int readByte() override {
    waitedFor_ = true;
    waitedFor_.notify_all();
    stopped_.wait(false);
    return EndOfInput;
  }
  void stop() override {
    stopped_ = true;
    stopped_.notify_all();
  }

  bool isWaitedFor() const { return waitedFor_; }
  void awaitReader() const { waitedFor_.wait(false); }

 private:
  std::atomic<bool> waitedFor_{false};
  std::atomic<bool> stopped_{false};
};

TEST(InputThread, ReadsNothingBeforeTheGateOpens) {
  SilentKeys keys;
  RecordingSink sink;
  {
    const InputThread thread(keys, sink);
    // Room for a thread that does not wait to show itself.
    for (int i = 0; i < 10000 && !keys.isWaitedFor(); ++i) std::this_thread::yield();
  }
  EXPECT_FALSE(keys.isWaitedFor());
  EXPECT_EQ(sink.ends, 0);
}

TEST(InputThread, DoesNotReportTheEndOfInputWhenItIsStopped) {
  SilentKeys keys;
  RecordingSink sink;
  {
    InputThread thread(keys, sink);
    thread.openGate();
    keys.awaitReader();
  }
  EXPECT_TRUE(sink.codes.empty());
  EXPECT_EQ(sink.ends, 0);
}

TEST(InputThread, StopsAfterTheKeyThatClearsTheFlag) {
  ScriptedKeys keys({'a', 'q', 'b'});
  RecordingSink sink;
  sink.stopAt = 'q';
  sink.waitFor = 'q';
  {
    InputThread thread(keys, sink);
    thread.openGate();
    ASSERT_TRUE(sink.waitUntilReached());
  }
  EXPECT_EQ(sink.codes, (std::vector<int>{'a', 'q'}));
  EXPECT_EQ(keys.reads, 2);
  EXPECT_EQ(sink.ends, 0);
}

TEST(InputThread, ChecksTheFlagBeforeEachByte) {
  // Cleared by somebody else while a sequence is open.
  class ClearingKeys : public KeySource {
   public:
    int readByte() override {
      ++reads;
      inputRunning = false;
      return 0x1b;
    }
    int reads = 0;
  };
  ClearingKeys keys;
  RecordingSink sink;
  {
    InputThread thread(keys, sink);
    thread.openGate();
    const auto deadline = std::chrono::steady_clock::now() + Patience;
    while (inputRunning && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  }
  EXPECT_EQ(keys.reads, 1);
  EXPECT_TRUE(sink.codes.empty());
}

TEST(InputThread, EndsWhileItWaitsForAKey) {
  Keyboard keyboard;
  RecordingSink sink;
  sink.waitFor = 'a';
  {
    InputThread thread(*keyboard.source, sink);
    thread.openGate();
    keyboard.type("a");
    ASSERT_TRUE(sink.waitUntilReached());
  }
  EXPECT_EQ(sink.codes, (std::vector<int>{'a'}));
  EXPECT_EQ(sink.ends, 0) << "being told to stop is not the end of the input";
}

TEST(InputThread, WaitsForTheRunningCommandBeforeItEnds) {
  // A command that goes on for as long as the flag is set, and then a little longer.
  class SlowSink : public KeySink {
   public:
    void handleKey(int) override {
      started.set_value();
      while (inputRunning) std::this_thread::yield();
      for (int i = 0; i < 1000; ++i) std::this_thread::yield();
      left = true;
    }
    void inputResumed() override {}
    void inputEnded() override {}
    std::promise<void> started;
    bool left = false;  // no atomic: joining makes it visible
  };
  Keyboard keyboard;
  SlowSink sink;
  InputThread thread(*keyboard.source, sink);
  thread.openGate();
  keyboard.type("abc");
  ASSERT_EQ(sink.started.get_future().wait_for(Patience), std::future_status::ready);
  thread.finish();
  EXPECT_TRUE(sink.left);
  thread.finish();
}

TEST(InputThread, RunsTheEditorsLinesAndReportsTheEndOfInput) {
  class Host : public RecordingHost {
   public:
    void inputEnded() override {
      RecordingHost::inputEnded();
      ended.set_value();
    }
    std::promise<void> ended;
  };
  Host host;
  MemoryStream stream;
  ScriptedKeys keys({'l', 's', '\n', 'x'});
  std::thread::id runner;
  host.during = [&] { runner = std::this_thread::get_id(); };
  LineEditor editor(host, keys, stream.stream(), false);
  editor.drawPrompt(host.promptText());
  editor.openGate();
  ASSERT_EQ(host.ended.get_future().wait_for(Patience), std::future_status::ready);
  editor.waitForInput();
  EXPECT_EQ(host.lines, (std::vector<std::string>{"ls"}));
  EXPECT_EQ(host.ends, 1);
  EXPECT_EQ(editor.buffer(), "x");
  EXPECT_NE(runner, std::this_thread::get_id());
}

TEST(InputThread, EndsAtOnceIfItsGateWasNeverOpened) {
  RecordingHost host;
  MemoryStream stream;
  Keyboard keyboard;
  { const LineEditor editor(host, *keyboard.source, stream.stream(), false); }
  EXPECT_EQ(host.ends, 0);
}

}  // namespace
}  // namespace flowscope
