// play, as a process, seen by watch as others.
#include <set>

#include "platform/midi/smf_file.h"
#include "tests/platform/streamctl/service_fixture.h"
#include "tests/support/pseudo_terminal.h"

namespace streamctl {
namespace {

std::vector<std::string> linesOfSong(const std::string& port) {
  const auto loaded = midi::loadSmf(Song);
  std::vector<std::string> lines;
  for (const midi::ScoreEvent& event : std::get<midi::Score>(loaded).events) {
    std::string line = port + ' ' + std::to_string(event.group);
    for (const unsigned byte : event.bytes) {
      std::array<char, 8> text{};
      std::snprintf(text.data(), text.size(), " 0x%02X", byte);
      line += text.data();
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

// A line like "DeckOut1 3 0x80 0x3C 0x40".
MATCHER(EndsSomething, "is a note-off or lifts the hold pedal") {
  return arg.find(" 0x80 ") != std::string::npos || arg.ends_with(" 0xB0 0x40 0x00");
}

// The notes that sound after these lines, by port, group id and number.
std::set<std::string> soundingAfter(const std::vector<std::string>& lines) {
  std::set<std::string> notes;
  for (const std::string& line : lines) {
    const auto on = line.find(" 0x90 ");
    const auto off = line.find(" 0x80 ");
    if (on == std::string::npos && off == std::string::npos) continue;
    const auto status = std::min(on, off);
    const std::string note = line.substr(0, status) + line.substr(status + 5, 5);
    if (on == std::string::npos || line.ends_with(" 0x00")) {
      notes.erase(note);
    } else {
      notes.insert(note);
    }
  }
  return notes;
}

class PlayCommandLine : public WithService {
 protected:
  testsupport::PseudoTerminal onTerminal(std::vector<std::string> words) const {
    return testsupport::PseudoTerminal(command(std::move(words)), {24, 60});
  }
};

class PlayAtSpeed : public PlayCommandLine, public testing::WithParamInterface<const char*> {};

TEST_P(PlayAtSpeed, IsSeenCompleteAndInOrderByTwoWatchers) {
  const auto source = start("source", {"watch", "DeckOut1"});
  const auto sink = start("sink", {"watch", "RackIn1"});
  ASSERT_TRUE(hasTaps(2));
  EXPECT_THAT(control({"play", Song, "DeckOut1", "--speed", GetParam()}), Succeeds());
  const auto atSource = linesOfSong("DeckOut1");
  const auto atSink = linesOfSong("RackIn1");
  ASSERT_GT(atSource.size(), 1000U);
  EXPECT_EQ(stats()["in"], atSource.size());
  ASSERT_TRUE(source->hasLines(atSource.size()));
  ASSERT_TRUE(sink->hasLines(atSink.size()));
  for (const auto& watch : {&source, &sink}) {
    (*watch)->signal(SIGTERM);
    EXPECT_EQ((*watch)->end(), ExitStatus::exited(0));
    EXPECT_EQ((*watch)->errors(), "");
  }
  EXPECT_TRUE(withoutTimes(source->output()) == atSource);
  EXPECT_TRUE(withoutTimes(sink->output()) == atSink);
}

INSTANTIATE_TEST_SUITE_P(Speeds, PlayAtSpeed, testing::Values("0", "40"),
                         [](const auto& row) { return std::string("Times") + row.param; });

// A track of one note-on after so many ticks, 96 to the quarter note; a tick is 5 milliseconds and a bit.
std::string oneMessageAfter(const std::string& ticks) {
  const std::string track = ticks + "\x90\x01\x02" + std::string("\0\xFF\x2F\0", 4);
  return std::string("MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0", 21) + static_cast<char>(track.size()) + track;
}

TEST_F(PlayCommandLine, WaitsUntilAMessageIsDue) {
  scratch_.write("now.mid", oneMessageAfter(std::string(1, '\0')));
  scratch_.write("later.mid", oneMessageAfter("\x81\x80\x80" + std::string(1, '\0')));  // three hours
  EXPECT_THAT(control({"play", path("now.mid"), "DeckOut1"}), Succeeds());
  EXPECT_EQ(stats()["in"], 1);
  const auto play = start("play", {"play", path("later.mid"), "DeckOut1"});
  ASSERT_TRUE(comesTrue([&] { return stats()["clients"].size() == 2; }));
  play->signal(SIGTERM);
  EXPECT_EQ(play->end(), ExitStatus::signalled(SIGTERM));
  EXPECT_EQ(stats()["in"], 1);
  EXPECT_THAT(control({"play", path("later.mid"), "DeckOut1", "--speed", "0"}), Succeeds());
  EXPECT_EQ(stats()["in"], 2);
}

TEST_F(PlayCommandLine, FileWithoutMessagesEndsAtOnce) {
  scratch_.write("silent.mid", std::string("MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0\4\x7F\xFF\x2F\0", 26));
  EXPECT_THAT(control({"play", path("silent.mid"), "DeckOut1", "--loop"}), Succeeds());
}

TEST_F(PlayCommandLine, LoopEndsWithASignalOnly) {
  const auto song = linesOfSong("DeckOut1");
  std::size_t before = 0;
  for (const int signal : {SIGINT, SIGTERM}) {
    const auto watch = start("watch", {"watch", "DeckOut1"});
    ASSERT_TRUE(hasTaps(1));
    const auto play = start("play", {"play", Song, "DeckOut1", "--loop", "--speed", "200"});
    ASSERT_TRUE(watch->hasLines(song.size() * 5 / 2));
    play->signal(signal);
    EXPECT_EQ(play->end(), ExitStatus::signalled(signal));
    EXPECT_EQ(play->output() + play->errors(), "");
    const auto in = stats()["in"].get<std::size_t>() - before;
    before += in;
    ASSERT_TRUE(watch->hasLines(in));
    const auto seen = withoutTimes(watch->output());
    std::size_t same = 0;
    while (same < seen.size() && seen[same] == song[same % song.size()]) ++same;
    EXPECT_GE(same, song.size() * 5 / 2);
    // What sounded in the middle of the song has been ended.
    for (std::size_t i = same; i < seen.size(); ++i) ASSERT_THAT(seen[i], EndsSomething()) << i;
    EXPECT_EQ(soundingAfter(seen), std::set<std::string>());
    watch->signal(SIGTERM);
    ASSERT_EQ(watch->end(), ExitStatus::exited(0));
  }
}

TEST_F(PlayCommandLine, LoopWithoutPausesEndsWithASignalToo) {
  const auto play = start("play", {"play", Song, "DeckOut1", "--loop", "--speed", "0"});
  ASSERT_TRUE(hasIn(10'000));
  play->signal(SIGINT);
  EXPECT_EQ(play->end(), ExitStatus::signalled(SIGINT));
  EXPECT_EQ(play->output() + play->errors(), "");
}

TEST_F(PlayCommandLine, BarIsDrawnOnATerminalAndGoneAtTheEnd) {
  auto terminal = onTerminal({"play", Song, "DeckOut1", "--speed", "200"});
  EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), ExitStatus::exited(0)) << terminal.output();
  EXPECT_THAT(terminal.output(), testing::HasSubstr("\r[====="));
  EXPECT_THAT(terminal.output(), testing::HasSubstr("% "));
  EXPECT_THAT(terminal.output(), testing::EndsWith("\r\x1b[K"));
}

TEST_F(PlayCommandLine, BarIsGoneAfterASignalAndBeforeAComplaint) {
  auto interrupted = onTerminal({"play", Song, "DeckOut1"});
  while (interrupted.output().find('%') == std::string::npos) ASSERT_TRUE(interrupted.read(Deadline(Patience)));
  interrupted.signal(SIGINT);
  EXPECT_EQ(interrupted.waitForExit(Deadline(Patience)), ExitStatus::signalled(SIGINT));
  EXPECT_THAT(interrupted.output(), testing::EndsWith("\r\x1b[K"));

  auto orphaned = onTerminal({"play", Song, "DeckOut1"});
  while (orphaned.output().find('%') == std::string::npos) ASSERT_TRUE(orphaned.read(Deadline(Patience)));
  killService();
  EXPECT_EQ(orphaned.waitForExit(Deadline(Patience)), ExitStatus::exited(1));
  EXPECT_THAT(orphaned.output(),
              testing::EndsWith("\r\x1b[Kstreamctl: " + endpoint() + ": connection to the service lost\r\n"));
}

TEST_F(PlayCommandLine, NoBarOnATerminalThatCannotMoveItsCursor) {
  auto words = command({"play", Song, "DeckOut1", "--speed", "1000"});
  words.environment["TERM"] = "dumb";
  testsupport::PseudoTerminal terminal(words, {24, 60});
  EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), ExitStatus::exited(0));
  EXPECT_EQ(terminal.output(), "");
}

TEST_F(PlayCommandLine, FilesAndPortsThatCannotBePlayedAreReported) {
  scratch_.write("text.mid", "no music");
  scratch_.write("empty.mid", "");
  EXPECT_THAT(control({"play", path("none.mid"), "DeckOut1"}),
              FailsSaying("streamctl: " + path("none.mid") + ": No such file or directory"));
  EXPECT_THAT(control({"play", path("."), "DeckOut1"}),
              FailsSaying("streamctl: " + path(".") + ": not a regular file"));
  for (const char* name : {"text.mid", "empty.mid"}) {
    EXPECT_THAT(control({"play", path(name), "DeckOut1"}),
                FailsSaying("streamctl: " + path(name) + ": not a Standard MIDI File (at byte 0)"));
  }
  EXPECT_THAT(control({"play", Song, "DeckOut9"}), FailsSaying("streamctl: no such port: DeckOut9"));
  EXPECT_EQ(stats()["in"], 0);
}

TEST_F(PlayCommandLine, ReportsThatTheConnectionIsLost) {
  const std::vector<std::vector<std::string>> rows{{"--loop", "--speed", "0"}, {"--speed", "0.01"}};
  for (const auto& options : rows) {
    std::vector<std::string> words{"play", Song, "DeckOut1"};
    words.insert(words.end(), options.begin(), options.end());
    const auto play = start("play", words);
    ASSERT_TRUE(hasIn(1));
    killService();
    EXPECT_EQ(play->end(), ExitStatus::exited(1));
    EXPECT_EQ(play->errors(), "streamctl: " + endpoint() + ": connection to the service lost\n");
    startServiceAgain();
  }
}

}  // namespace
}  // namespace streamctl
