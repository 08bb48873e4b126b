// play that does not come to the end, seen by watch: what sounds is ended.
#include <poll.h>

#include <optional>
#include <set>

#include "platform/streamctl/stop_signals.h"
#include "platform/wire/messages.h"
#include "tests/platform/channel/fake_service.h"
#include "tests/platform/midi/smf_maker.h"
#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

using Lines = std::vector<std::string>;

// In ticks, of which one is five milliseconds and a bit.
constexpr const char* ThreeHours = "81 80 80 00";
constexpr const char* TrackEnd = "00 FF 2F 00";

class PlayEarlyEnd : public WithService {
 protected:
  // Format 0, 96 ticks to the quarter note.
  void writeSong(const std::string& track) {
    midi::writeFile(path("song.mid"), midi::smf("00 00 00 01 00 60", {track}));
  }

  // In a folder that takes what a signal may leave there.
  std::unique_ptr<Background> startPlay(Lines options = {}) const {
    Lines words{"play", path("song.mid"), "DeckOut1"};
    words.insert(words.end(), options.begin(), options.end());
    auto play = command(words);
    play.folder = scratch_.path().string();
    return std::make_unique<Background>(play, path("play"));
  }

  // What watch shows when everything that the service has taken has come.
  Lines shown(const Background& watch) const {
    EXPECT_TRUE(watch.hasLines(stats()["in"].get<std::size_t>()));
    return withoutTimes(watch.output());
  }
};

// Of what sounds here, some is over: note 0x40 by a velocity of 0, note 0x3E by a note-off.
const char* const HalfSounds = "00 93 3C 40 00 99 24 7F 00 90 40 40 00 90 40 00 00 93 3E 40 00 83 3E 40 00 B5 40 7F ";

const Lines HalfSoundsShown{"DeckOut1 3 0x90 0x3C 0x40", "DeckOut1 9 0x90 0x24 0x7F", "DeckOut1 0 0x90 0x40 0x40",
                            "DeckOut1 0 0x90 0x40 0x00", "DeckOut1 3 0x90 0x3E 0x40", "DeckOut1 3 0x80 0x3E 0x40",
                            "DeckOut1 5 0xB0 0x40 0x7F"};

const Lines EndsShown{"DeckOut1 3 0x80 0x3C 0x40", "DeckOut1 9 0x80 0x24 0x40", "DeckOut1 5 0xB0 0x40 0x00"};

TEST_F(PlayEarlyEnd, BySignalEndsTheSoundingNotesOfItsChannels) {
  writeSong(std::string(HalfSounds) + ThreeHours + "83 3C 40 " + TrackEnd);
  Lines expected = HalfSoundsShown;
  expected.insert(expected.end(), EndsShown.begin(), EndsShown.end());
  for (const int signal : StopSignals::Ending) {
    SCOPED_TRACE(signal);
    const auto watch = start("watch", {"watch", "DeckOut1"});
    ASSERT_TRUE(hasTaps(1));
    const auto play = startPlay();
    ASSERT_TRUE(watch->hasLines(HalfSoundsShown.size()));
    play->signal(signal);
    EXPECT_EQ(play->end(), ExitStatus::signalled(signal));
    EXPECT_EQ(play->output() + play->errors(), "");
    ASSERT_TRUE(watch->hasLines(expected.size()));
    EXPECT_THAT(withoutTimes(watch->output()), ElementsAreArray(expected));
    // It has taken leave, so it is not among the clients.
    EXPECT_EQ(stats()["clients"].size(), 2U);
    watch->signal(SIGTERM);
    ASSERT_EQ(watch->end(), ExitStatus::exited(0));
    ASSERT_TRUE(hasTaps(0));
  }
}

TEST_F(PlayEarlyEnd, SongThatIsOverGetsNoFurtherMessages) {
  writeSong(std::string(HalfSounds) + TrackEnd);
  const auto watch = start("watch", {"watch", "DeckOut1"});
  ASSERT_TRUE(hasTaps(1));
  EXPECT_THAT(control({"play", path("song.mid"), "DeckOut1"}), Succeeds());
  EXPECT_THAT(shown(*watch), ElementsAreArray(HalfSoundsShown));
}

TEST_F(PlayEarlyEnd, InjectDoesNotEndItsNotes) {
  const auto watch = start("watch", {"watch", "DeckOut1"});
  ASSERT_TRUE(hasTaps(1));
  const auto inject = start("inject", {"inject", "DeckOut1", "0x90", "60", "64", "--count", "2", "--rate", "0.0001"});
  ASSERT_TRUE(hasIn(1));
  inject->signal(SIGINT);
  EXPECT_EQ(inject->end(), ExitStatus::signalled(SIGINT));
  EXPECT_THAT(shown(*watch), ElementsAre("DeckOut1 0 0x90 0x3C 0x40"));
}

TEST_F(PlayEarlyEnd, EachPassOfALoopBeginsInSilence) {
  // Each pass begins with a tick, so that there are not more messages than watch can read.
  writeSong("01" + std::string(HalfSounds).substr(2) + TrackEnd);
  Lines pass = HalfSoundsShown;
  pass.insert(pass.end(), EndsShown.begin(), EndsShown.end());
  for (const char* speed : {"1", "2"}) {
    const auto watch = start("watch", {"watch", "DeckOut1"});
    ASSERT_TRUE(hasTaps(1));
    const auto play = startPlay({"--loop", "--speed", speed});
    ASSERT_TRUE(watch->hasLines(5 * pass.size()));
    play->signal(SIGTERM);
    EXPECT_EQ(play->end(), ExitStatus::signalled(SIGTERM));
    const auto in = stats()["in"].get<std::size_t>();
    const Lines lines = shown(*watch);
    std::size_t same = 0;
    while (same < lines.size() && lines[same] == pass[same % pass.size()]) ++same;
    EXPECT_GE(same, 5 * pass.size()) << "of " << in;
    // The last pass may have been cut in the middle: what is left of it are ends.
    std::multiset<std::string> sounding;
    for (const std::string& line : lines) {
      if (const auto end = std::ranges::find(EndsShown, line); end != EndsShown.end()) {
        sounding.erase(*end);
      } else if (const auto begin = std::ranges::find(HalfSoundsShown, line) - HalfSoundsShown.begin(); begin <= 1) {
        sounding.insert(EndsShown[static_cast<std::size_t>(begin)]);
      } else if (begin == 6) {
        sounding.insert(EndsShown[2]);
      }
    }
    EXPECT_TRUE(sounding.empty()) << testing::PrintToString(sounding);
    EXPECT_LE(lines.size() - same, EndsShown.size() + 1);
    watch->signal(SIGTERM);
    ASSERT_EQ(watch->end(), ExitStatus::exited(0));
    killService();
    startServiceAgain();
  }
}

TEST_F(PlayEarlyEnd, AtFullSpeedEndsMoreNotesThanAFrameHolds) {
  // Every note of every channel.
  std::string track;
  for (int channel = 0; channel < 16; ++channel) {
    for (int note = 0; note < 128; ++note) {
      std::array<char, 16> event{};
      std::snprintf(event.data(), event.size(), "00 9%X %02X 40 ", channel, note);
      track += event.data();
    }
  }
  writeSong(track + ThreeHours + "80 00 40 " + TrackEnd);
  const auto watch = start("watch", {"watch", "DeckOut1"});
  ASSERT_TRUE(hasTaps(1));
  const auto play = startPlay();
  ASSERT_TRUE(watch->hasLines(2048));
  play->signal(SIGINT);
  EXPECT_EQ(play->end(), ExitStatus::signalled(SIGINT));
  const Lines lines = shown(*watch);
  ASSERT_EQ(lines.size(), 4096U);
  for (std::size_t i = 0; i < 2048; ++i) {
    std::string expected = lines[i];
    ASSERT_EQ(expected.replace(expected.find("0x90"), 4, "0x80"), lines[2048 + i]);
  }
}

TEST_F(PlayEarlyEnd, SignalThatIsIgnoredEndsNothing) {
  writeSong(std::string("00 93 3C 40 ") + ThreeHours + "83 3C 40 " + TrackEnd);
  auto shell = command({});
  shell.program = "sh";
  shell.arguments = {"-c", "trap '' HUP; exec streamctl play \"$0\" DeckOut1", path("song.mid")};
  Background play(shell, path("play"));
  ASSERT_TRUE(hasIn(1));
  play.signal(SIGHUP);
  std::this_thread::sleep_for(300ms);
  EXPECT_FALSE(play.hasEnded());
  EXPECT_EQ(stats()["in"], 1);
  play.signal(SIGTERM);
  EXPECT_EQ(play.end(), ExitStatus::signalled(SIGTERM));
  EXPECT_EQ(stats()["in"], 2);
}

// A service with one port that takes two frames of messages and refuses the third, and what it gets.
class RefusingService {
 public:
  explicit RefusingService(const std::string& path) : service_(path) {}

  // Serves until the program has ended.
  void serveUntilTheEndOf(Background& program) {
    const Deadline deadline(Patience);
    while (!program.hasEnded() && !deadline.passed()) {
      while (const auto envelope = service_.receive(10ms)) answer(*envelope);
    }
  }

  // Messages of all frames, those of the refused one included: "group 0x90 0x3C 0x40".
  const Lines& messages() const { return messages_; }

 private:
  void answer(const wire::Envelope& envelope) {
    if (std::holds_alternative<wire::Hello>(envelope.body)) {
      // With this window every frame waits for the answer to the one before.
      service_.send(envelope.tag, wire::Welcome{1, 1});
    } else if (std::holds_alternative<wire::AskTopology>(envelope.body)) {
      const device::Group group{0, "Deck", device::SideOfGroup{1, "DeckOut", {}}, {}};
      service_.send(envelope.tag, wire::Topology{{group}});
    } else if (const auto* inject = std::get_if<wire::Inject>(&envelope.body)) {
      for (const wire::InjectItem& item : inject->messages) {
        messages_.push_back(std::to_string(item.group) + ' ' + midi::toHex(item.bytes));
      }
      if (++frames_ == 3) service_.send(0, wire::Result{device::Status::Refused, 0});
      service_.send(0, wire::Taken{frames_});
    } else if (envelope.tag != 0) {
      service_.send(envelope.tag, wire::Result{});
    }
  }

  channel::FakeService service_;
  std::uint64_t frames_ = 0;
  Lines messages_;
};

TEST_F(PlayEarlyEnd, ByAServiceErrorEndsTheSoundingNotes) {
  // Half a second apart.
  writeSong(std::string("00 93 3C 40 60 83 3C 40 00 94 3E 40 60 95 40 40 60 94 3E 00 ") + TrackEnd);
  const std::string refusing = "ipc://" + path("refusing");
  RefusingService service(path("refusing"));
  const auto play = start("play", {"--endpoint", refusing, "play", path("song.mid"), "DeckOut1", "--speed", "4"});
  service.serveUntilTheEndOf(*play);
  EXPECT_EQ(play->end(), ExitStatus::exited(1));
  EXPECT_EQ(play->errors(), "streamctl: " + refusing + ": the service refused a message\n");
  const Lines& all = service.messages();
  ASSERT_GE(all.size(), 6U);
  EXPECT_THAT(Lines(all.begin(), all.begin() + 4), ElementsAre("3 90 3C 40", "3 80 3C 40", "4 90 3E 40", "5 90 40 40"));
  // Whether the last message has still been handed over is a matter of time.
  EXPECT_THAT(Lines(all.end() - 1, all.end()), ElementsAre("5 80 40 40"));
  EXPECT_EQ(std::ranges::count(all, "4 80 3E 40") + std::ranges::count(all, "4 90 3E 00"), 1);
}

}  // namespace
}  // namespace streamctl
