#include "platform/drivers/alsa/source_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/platform/midi/smf_maker.h"

namespace drivers::alsa {
namespace {

class AlsaSourceReader : public ::testing::Test {
 protected:
  void exclusive(const char* bytes) {
    QueuedEvent event;
    event.event.type = SND_SEQ_EVENT_SYSEX;
    event.data = midi::fromHex(bytes);
    read(event);
  }
  void note(std::uint8_t channel) {
    QueuedEvent event;
    event.event.type = SND_SEQ_EVENT_NOTEON;
    event.event.data.note = {channel, 60, 1, 0, 0};
    read(event);
  }
  void read(const QueuedEvent& event) {
    source_.read(event, decoder_, [&](const device::Message& message) {
      told_ += std::to_string(message.group) + ":" + midi::toHex({message.bytes.begin(), message.bytes.end()}) + "; ";
    });
  }

  EventDecoder decoder_;
  SourceReader source_;
  std::string told_;
};

TEST_F(AlsaSourceReader, OtherMessagesStandBetweenThePiecesOfSystemExclusive) {
  exclusive("F0 01");
  note(3);
  exclusive("02");
  note(3);
  exclusive("F7");
  EXPECT_EQ(told_, "3:90 3C 01; 3:90 3C 01; 0:F0 01 02 F7; ");
  EXPECT_EQ(source_.takeBroken(), 0U);
}

TEST_F(AlsaSourceReader, RestOfAMessageThatBeganBeforeTheTapIsNoLoss) {
  exclusive("01 02");
  exclusive("F7");
  exclusive("F0 03 F7");
  EXPECT_EQ(told_, "0:F0 03 F7; ");
  EXPECT_EQ(source_.takeBroken(), 0U);
}

TEST_F(AlsaSourceReader, MessageCutByALossIsNotCountedAgain) {
  exclusive("F0 01");
  source_.cut();
  exclusive("02 F7");
  exclusive("F0 03 F7");
  EXPECT_EQ(told_, "0:F0 03 F7; ");
  EXPECT_EQ(source_.takeBroken(), 0U);
}

TEST_F(AlsaSourceReader, MessageThatItsSenderCutsIsCountedAsBroken) {
  exclusive("F0 01");
  exclusive("F0 02");
  source_.cut();
  EXPECT_EQ(told_, "");
  EXPECT_EQ(source_.takeBroken(), 1U);
}

TEST_F(AlsaSourceReader, EventsWithoutMidiAreIgnored) {
  QueuedEvent event;
  for (const auto type : {SND_SEQ_EVENT_PORT_SUBSCRIBED, SND_SEQ_EVENT_USR0, SND_SEQ_EVENT_ECHO, SND_SEQ_EVENT_TEMPO,
                          SND_SEQ_EVENT_SYSEX, SND_SEQ_EVENT_NONE}) {
    event.event.type = static_cast<snd_seq_event_type_t>(type);
    read(event);
  }
  EXPECT_EQ(told_, "");
  EXPECT_EQ(source_.takeBroken(), 0U);
}

}  // namespace
}  // namespace drivers::alsa
