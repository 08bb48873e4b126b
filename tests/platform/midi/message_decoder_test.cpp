#include "platform/midi/message_decoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace midi {
namespace {

using Bytes = std::vector<std::uint8_t>;
using namespace std::chrono_literals;

class Decoder {
 public:
  Decoded operator()(const Bytes& bytes, std::uint16_t group = 0, device::Time time = 0s) {
    return decoder_.decode({group, bytes}, time);
  }
  std::string text(const Bytes& bytes, std::uint16_t group = 0, device::Time time = 0s) {
    return (*this)(bytes, group, time).text;
  }

 private:
  MessageDecoder decoder_;
};

std::string textOf(const Bytes& bytes) { return Decoder().text(bytes); }

// The fields as lines: "note=C4".
std::vector<std::string> fieldsOf(const Decoded& decoded) {
  std::vector<std::string> fields;
  for (const Field& field : decoded.fields) {
    std::string text = std::string(field.name) + '=';
    if (const auto* integer = std::get_if<std::int64_t>(&field.value)) text += std::to_string(*integer);
    if (const auto* number = std::get_if<double>(&field.value)) text += testing::PrintToString(*number);
    if (const auto* string = std::get_if<std::string>(&field.value)) text += '"' + *string + '"';
    fields.push_back(text);
  }
  return fields;
}

TEST(MessageDecoder, NotesHaveNames) {
  EXPECT_EQ(noteName(0), "C-1");
  EXPECT_EQ(noteName(11), "B-1");
  EXPECT_EQ(noteName(12), "C0");
  EXPECT_EQ(noteName(60), "C4");
  EXPECT_EQ(noteName(61), "C#4");
  EXPECT_EQ(noteName(69), "A4");
  EXPECT_EQ(noteName(127), "G9");
}

TEST(MessageDecoder, MessagesWithoutAState) {
  const struct {
    Bytes bytes;
    std::string text;
    std::vector<std::string> fields;
  } table[] = {
      {{0x90, 60, 100}, "note on C4 velocity 100", {R"(event="note on")", R"(note="C4")", "number=60", "velocity=100"}},
      {{0x90, 61, 0},
       "note on C#4 velocity 0 (note off)",
       {R"(event="note off")", R"(note="C#4")", "number=61", "velocity=0"}},
      {{0x80, 0, 64}, "note off C-1 velocity 64", {R"(event="note off")", R"(note="C-1")", "number=0", "velocity=64"}},
      {{0xA0, 127, 5}, "note pressure G9 = 5", {R"(event="note pressure")", R"(note="G9")", "number=127", "value=5"}},
      {{0xD0, 77}, "channel pressure = 77", {R"(event="channel pressure")", "value=77"}},
      {{0xC0, 5}, "program 5", {R"(event="program")", "number=5"}},
      {{0xB0, 7, 100},
       "controller 7 (channel volume) = 100",
       {R"(event="controller")", "number=7", R"(controller="channel volume")", "value=100"}},
      {{0xB0, 3, 1}, "controller 3 = 1", {R"(event="controller")", "number=3", "value=1"}},
      {{0xF2, 64, 0},
       "song position bar 5 beat 1 sixteenth 1 of 4/4 (64)",
       {R"(event="song position")", "sixteenths=64", "bar=5", "beat=1", "sixteenth=1"}},
      {{0xF2, 127, 127},
       "song position bar 1024 beat 4 sixteenth 4 of 4/4 (16383)",
       {R"(event="song position")", "sixteenths=16383", "bar=1024", "beat=4", "sixteenth=4"}},
      {{0xF3, 9}, "song 9", {R"(event="song")", "number=9"}},
      {{0xF6}, "tune request", {R"(event="tune request")"}},
      {{0xF8}, "clock", {R"(event="clock")"}},
      {{0xFA}, "start", {R"(event="start")"}},
      {{0xFB}, "continue", {R"(event="continue")"}},
      {{0xFC}, "stop", {R"(event="stop")"}},
      {{0xFE}, "active sensing", {R"(event="active sensing")"}},
      {{0xFF}, "system reset", {R"(event="system reset")"}},
  };
  for (const auto& row : table) {
    const Decoded decoded = Decoder()(row.bytes);
    EXPECT_EQ(decoded.text, row.text);
    EXPECT_EQ(fieldsOf(decoded), row.fields) << row.text;
    EXPECT_EQ(decoded.type, typeOf(row.bytes));
  }
}

TEST(MessageDecoder, WhatIsNoMessageIsSaidWithItsBytes) {
  EXPECT_EQ(textOf({}), "no message");
  EXPECT_EQ(textOf({1, 2}), "no message, data without a status: 0x01 0x02");
  EXPECT_EQ(textOf({0x91, 60, 64}), "no message, a status with a channel, which is the group id's: 0x91 0x3C 0x40");
  EXPECT_EQ(textOf({0xF4}), "no message, an undefined status: 0xF4");
  EXPECT_EQ(textOf({0x90, 60}), "no message, cut short: 0x90 0x3C");
  EXPECT_EQ(textOf({0x90, 60, 0x80}), "no message, more than one message, or data above 127: 0x90 0x3C 0x80");
  EXPECT_EQ(textOf({0xFF, 0x51, 3, 1, 1, 1}), "no message, a meta event: 0xFF 0x51 0x03 0x01 0x01 0x01");
  EXPECT_EQ(textOf(Bytes(8, 0)), "no message, data without a status: 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00");
  EXPECT_EQ(textOf(Bytes(9, 0)), "no message, data without a status: 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 ...");
}

TEST(MessageDecoder, BendIsInSemitonesOfItsRange) {
  Decoder decode;
  EXPECT_EQ(decode.text({0xE0, 0, 64}), "pitch bend 0.00 semitones (0)");
  EXPECT_EQ(decode.text({0xE0, 0, 96}), "pitch bend +1.00 semitones (+4096)");
  EXPECT_EQ(decode.text({0xE0, 0, 0}), "pitch bend -2.00 semitones (-8192)");
  EXPECT_THAT(fieldsOf(decode({0xE0, 1, 32})),
              testing::ElementsAre(R"(event="pitch bend")", "value=-4095", "semitones=-1"));
  for (const Bytes& bytes : {Bytes{0xB0, 101, 0}, Bytes{0xB0, 100, 0}, Bytes{0xB0, 6, 12}}) decode(bytes, 3);
  EXPECT_EQ(decode.text({0xE0, 0, 96}, 3), "pitch bend +6.00 semitones (+4096)");
  EXPECT_EQ(decode.text({0xE0, 0, 96}, 2), "pitch bend +1.00 semitones (+4096)") << "another channel";
}

TEST(MessageDecoder, ParametersArePutTogether) {
  Decoder decode;
  EXPECT_EQ(decode.text({0xB0, 6, 1}), "controller 6 (data entry) = 1: no parameter selected");
  EXPECT_EQ(decode.text({0xB0, 101, 0}), "controller 101 (RPN MSB) = 0");
  EXPECT_THAT(decode.text({0xB0, 100, 0}), "controller 100 (RPN LSB) = 0: selects RPN 0 pitch bend range");
  EXPECT_EQ(decode.text({0xB0, 6, 12}), "controller 6 (data entry) = 12: RPN 0 pitch bend range = 12.00 semitones");
  const Decoded set = decode({0xB0, 38, 50});
  EXPECT_EQ(set.text, "controller 38 (data entry LSB) = 50: RPN 0 pitch bend range = 12.50 semitones");
  EXPECT_THAT(fieldsOf(set), testing::ElementsAre(R"(event="controller")", "number=38",
                                                  R"(controller="data entry LSB")", "value=50", R"(parameter="RPN 0")",
                                                  R"(parameter_name="pitch bend range")", "parameter_value=1586"));
  EXPECT_EQ(decode.text({0xB0, 97, 0}), "controller 97 (data decrement) = 0: RPN 0 pitch bend range = 12.49 semitones");
  EXPECT_EQ(decode.text({0xB0, 101, 127}), "controller 101 (RPN MSB) = 127: selects RPN 16256");
  EXPECT_EQ(decode.text({0xB0, 100, 127}), "controller 100 (RPN LSB) = 127: selects no parameter");
  EXPECT_EQ(decode.text({0xB0, 96, 0}), "controller 96 (data increment) = 0: no parameter selected");
}

TEST(MessageDecoder, NonRegisteredParametersHaveNumbers) {
  Decoder decode;
  decode({0xB0, 99, 1});
  const Decoded selected = decode({0xB0, 98, 8});
  EXPECT_EQ(selected.text, "controller 98 (NRPN LSB) = 8: selects NRPN 136");
  EXPECT_THAT(fieldsOf(selected), testing::Contains(R"(parameter="NRPN 136")"));
  EXPECT_EQ(decode.text({0xB0, 96, 0}), "controller 96 (data increment) = 0: NRPN 136 +1");
  EXPECT_EQ(decode.text({0xB0, 97, 0}), "controller 97 (data decrement) = 0: NRPN 136 -1");
  EXPECT_EQ(decode.text({0xB0, 38, 5}), "controller 38 (data entry LSB) = 5: NRPN 136");
  EXPECT_EQ(decode.text({0xB0, 6, 7}), "controller 6 (data entry) = 7: NRPN 136 = 901");
  EXPECT_EQ(decode.text({0xB0, 96, 0}), "controller 96 (data increment) = 0: NRPN 136 = 902");
}

void setBendRange(Decoder& decode, std::uint16_t group) {
  for (const Bytes& bytes : {Bytes{0xB0, 101, 0}, Bytes{0xB0, 100, 0}, Bytes{0xB0, 6, 12}}) decode(bytes, group);
}

TEST(MessageDecoder, ResetsForgetTheChannels) {
  constexpr const char* Usual = "pitch bend -2.00 semitones (-8192)";
  for (const Bytes& reset : {Bytes{0xFF}, Bytes{0xF0, 0x7E, 0x7F, 9, 1, 0xF7}, Bytes{0xF0, 0x7E, 0, 9, 3, 0xF7}}) {
    Decoder decode;
    setBendRange(decode, 0);
    setBendRange(decode, 15);
    decode(reset);
    EXPECT_EQ(decode.text({0xE0, 0, 0}, 15), Usual);
    EXPECT_EQ(decode.text({0xE0, 0, 0}, 0), Usual);
    EXPECT_EQ(decode.text({0xB0, 6, 1}), "controller 6 (data entry) = 1: no parameter selected");
  }
  for (const Bytes& other : {Bytes{0xF0, 0x7E, 0x7F, 9, 2, 0xF7}, Bytes{0xF0, 0x7E, 0x7F, 9, 1}, Bytes{0xFC}}) {
    Decoder decode;
    setBendRange(decode, 0);
    decode(other);
    EXPECT_NE(decode.text({0xE0, 0, 0}), Usual) << testing::PrintToString(other);
  }
}

TEST(MessageDecoder, ResetOfControllersDeselectsAndKeepsTheRange) {
  Decoder decode;
  setBendRange(decode, 1);
  EXPECT_EQ(decode.text({0xB0, 121, 0}, 1), "controller 121 (reset all controllers) = 0");
  EXPECT_EQ(decode.text({0xB0, 6, 1}, 1), "controller 6 (data entry) = 1: no parameter selected");
  EXPECT_EQ(decode.text({0xE0, 0, 0}, 1), "pitch bend -12.00 semitones (-8192)");
}

TEST(MessageDecoder, KeepsTheStateOf256Channels) {
  Decoder decode;
  for (const std::uint16_t group : {std::uint16_t{255}, std::uint16_t{256}, std::uint16_t{65535}}) {
    setBendRange(decode, group);
    EXPECT_EQ(decode.text({0xE0, 0, 0}, group),
              group == 255 ? "pitch bend -12.00 semitones (-8192)" : "pitch bend -2.00 semitones (-8192)");
  }
}

TEST(MessageDecoder, QuarterFramesAreATime) {
  Decoder decode;
  // 01:02:03:04 at 25 frames a second.
  const Bytes pieces{0x04, 0x10, 0x23, 0x30, 0x42, 0x50, 0x61, 0x72};
  for (std::size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(decode.text({0xF1, pieces[i]}), "quarter frame " + std::to_string(i));
  }
  const Decoded last = decode({0xF1, pieces[7]});
  EXPECT_EQ(last.text, "quarter frame 7: time code 01:02:03:04 at 25 frames");
  EXPECT_THAT(fieldsOf(last),
              testing::ElementsAre(R"(event="quarter frame")", "number=7", R"(time_code="01:02:03:04")", "fps=25"));
}

TEST(MessageDecoder, ClocksHaveATempo) {
  Decoder decode;
  device::Time now = 3s;
  for (int i = 0; i < 24; ++i) {
    EXPECT_EQ(decode.text({0xF8}, 0, now), "clock");
    now += 20'833'333ns;
  }
  const Decoded clock = decode({0xF8}, 0, now);
  EXPECT_EQ(clock.text, "clock 120.0 bpm");
  EXPECT_THAT(fieldsOf(clock), testing::ElementsAre(R"(event="clock")", "bpm=120"));
}

TEST(MessageDecoder, ExclusiveNamesItsMaker) {
  EXPECT_EQ(textOf({0xF0, 0x41, 0x10, 0x42, 0xF7}), "system exclusive Roland, 5 bytes");
  EXPECT_THAT(fieldsOf(Decoder()({0xF0, 0x41, 0x10, 0x42, 0xF7})),
              testing::ElementsAre(R"(event="system exclusive")", "size=5", R"(maker="Roland")"));
  EXPECT_EQ(textOf({0xF0, 0x00, 0x20, 0x29, 0x01, 0xF7}), "system exclusive Focusrite/Novation, 6 bytes");
  EXPECT_EQ(textOf({0xF0, 0x5E, 0xF7}), "system exclusive maker 0x5E, 3 bytes");
  EXPECT_EQ(textOf({0xF0, 0x7D, 1, 0xF7}), "system exclusive for non-commercial use, 4 bytes");
  EXPECT_EQ(textOf({0xF0, 0xF7}), "system exclusive without a maker, 2 bytes");
  EXPECT_EQ(textOf({0xF0, 0x00, 0x20, 0xF7}), "system exclusive without a maker, 4 bytes");
  EXPECT_EQ(textOf({0xF0}), "system exclusive without a maker, 1 byte, unfinished");
  EXPECT_EQ(textOf({0xF0, 0x41, 0x10}), "system exclusive Roland, 3 bytes, unfinished");
  EXPECT_EQ(textOf({0xF7, 1, 0xF7}), "rest of system exclusive, 3 bytes");
}

TEST(MessageDecoder, UniversalMessagesAreWords) {
  const struct {
    Bytes data;  // between 0xF0 and 0xF7
    std::string text;
  } table[] = {
      {{0x7E, 0x7F, 0x06, 0x01}, "universal non real time identity request, all devices"},
      {{0x7E, 0x10, 0x06, 0x02, 0x41, 0x42, 0x01, 0x03, 0x00, 1, 2, 3, 4},
       "universal non real time identity reply Roland, family 194, member 3, version 1.2.3.4, device 16"},
      {{0x7E, 0x10, 0x06, 0x02, 0x00, 0x20, 0x29, 1, 0, 2, 0, 0, 0, 0, 1},
       "universal non real time identity reply Focusrite/Novation, family 1, member 2, version 0.0.0.1, device 16"},
      {{0x7E, 0x10, 0x06, 0x02, 0x41, 0x42}, "universal non real time identity reply Roland, device 16"},
      {{0x7E, 0x10, 0x06, 0x02}, "universal non real time identity reply, device 16"},
      {{0x7E, 0x7F, 0x09, 0x01}, "universal non real time General MIDI on, all devices"},
      {{0x7E, 0x00, 0x7F, 0x05}, "universal non real time acknowledged, device 0"},
      {{0x7E, 0x00, 0x33, 0x05}, "universal non real time message 0x33 0x05, device 0"},
      {{0x7E, 0x00, 0x33}, "universal non real time message 0x33, device 0"},
      {{0x7E, 0x00}, "universal non real time message, cut short"},
      {{0x7F}, "universal real time message, cut short"},
      {{0x7F, 0x7F, 0x04, 0x01, 0x7F, 0x7F}, "universal real time master volume 100.0%, all devices"},
      {{0x7F, 0x7F, 0x04, 0x01, 0x00, 0x40}, "universal real time master volume 50.0%, all devices"},
      {{0x7F, 0x7F, 0x04, 0x01, 0x00}, "universal real time master volume, all devices"},
      {{0x7F, 0x7F, 0x01, 0x01, 0x61, 2, 3, 4},
       "universal real time time code full frame 01:02:03:04 at 30 frames, all devices"},
      {{0x7F, 0x7F, 0x01, 0x01, 0x41, 2, 3, 4},
       "universal real time time code full frame 01:02:03;04 at 29.97 frames, all devices"},
      {{0x7F, 0x7F, 0x01, 0x01, 0x61, 2, 3}, "universal real time time code full frame, all devices"},
      {{0x7F, 0x01, 0x03, 0x01, 0x05, 0x00}, "universal real time bar number 5, device 1"},
      {{0x7F, 0x01, 0x03, 0x01, 0x7F, 0x7F}, "universal real time bar number -1, device 1"},
      {{0x7F, 0x01, 0x03, 0x01, 0x00, 0x40}, "universal real time bar number not running, device 1"},
      {{0x7F, 0x01, 0x03, 0x01, 0x7F, 0x3F}, "universal real time bar number unknown, device 1"},
      {{0x7F, 0x01, 0x03, 0x01, 0x05}, "universal real time bar number, device 1"},
      {{0x7F, 0x7F, 0x03, 0x02, 0x04, 6, 3, 24, 8}, "universal real time time signature 6/8, all devices"},
      {{0x7F, 0x7F, 0x03, 0x42, 0x04, 4, 2, 24, 8},
       "universal real time time signature of the next bar 4/4, all devices"},
      {{0x7F, 0x7F, 0x03, 0x02, 0x04, 6, 8}, "universal real time time signature, all devices"},
      {{0x7F, 0x7F, 0x03, 0x02, 0x04, 6}, "universal real time time signature, all devices"},
      {{0x7F, 0x7F, 0x06, 0x02}, "universal real time machine control play, all devices"},
      {{0x7F, 0x7F, 0x06, 0x44, 6, 1, 0x21, 2, 3, 4, 0},
       "universal real time machine control locate 01:02:03:04 at 25 frames, all devices"},
      {{0x7F, 0x7F, 0x06, 0x44, 6, 0, 0x21, 2, 3, 4, 0}, "universal real time machine control locate, all devices"},
      {{0x7F, 0x7F, 0x06, 0x44, 6, 1, 0x21, 2, 3}, "universal real time machine control locate, all devices"},
  };
  for (const auto& row : table) {
    Bytes bytes{0xF0};
    bytes.insert(bytes.end(), row.data.begin(), row.data.end());
    bytes.push_back(0xF7);
    EXPECT_EQ(textOf(bytes), row.text + ", " + std::to_string(bytes.size()) + " bytes");
    bytes.pop_back();
    const std::string unfinished = std::to_string(bytes.size()) + " bytes, unfinished";
    EXPECT_EQ(textOf(bytes), row.text + ", " + unfinished);
  }
}

TEST(MessageDecoder, UniversalMessagesHaveFields) {
  EXPECT_THAT(fieldsOf(Decoder()({0xF0, 0x7F, 0x7F, 0x01, 0x01, 0x41, 2, 3, 4, 0xF7})),
              testing::ElementsAre(R"(event="system exclusive")", "size=10", R"(message="time code full frame")",
                                   "device=127", R"(time_code="01:02:03;04")", "fps=29.97"));
  EXPECT_THAT(fieldsOf(Decoder()({0xF0, 0x7E, 0x10, 0x06, 0x02, 0x41, 0xF7})),
              testing::ElementsAre(R"(event="system exclusive")", "size=7", R"(maker="Roland")",
                                   R"(message="identity reply")", "device=16"));
}

// Of a message and everything that it may be cut to: the words are printable, and the fields are those of the table.
void expectInOrder(const Decoded& decoded) {
  for (const char c : decoded.text) ASSERT_TRUE(c >= ' ' && c <= '~') << decoded.text;
  ASSERT_FALSE(decoded.text.empty());
  auto from = DecodedFields.begin();
  for (const Field& field : decoded.fields) {
    const auto at =
        std::find_if(from, DecodedFields.end(), [&](const auto& known) { return known.name == field.name; });
    ASSERT_NE(at, DecodedFields.end()) << field.name << " of " << decoded.text;
    ASSERT_EQ(static_cast<std::size_t>(at->kind), field.value.index()) << field.name;
    from = at + 1;
  }
}

TEST(MessageDecoder, TakesAnyBytes) {
  MessageDecoder decoder;
  std::uint32_t random = 1;
  const auto next = [&] {
    random = random * 1'664'525U + 1'013'904'223U;
    return random >> 16U;
  };
  for (int round = 0; round < 20'000; ++round) {
    // Of the exact size, so that a sanitizer sees what is read behind the end.
    Bytes bytes(next() % 16);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(next() % 3 == 0 ? next() : next() % 0x80);
    constexpr Bytes::value_type Fronts[] = {0xF0, 0xB0, 0xE0, 0xF1, 0xF2, 0x90, 0xF8, 0x00};
    if (!bytes.empty()) bytes[0] = Fronts[next() % std::size(Fronts)];
    if (bytes.size() > 1 && next() % 4 == 0) bytes[1] = static_cast<std::uint8_t>(0x7E + next() % 2);
    const auto group = static_cast<std::uint16_t>(next() % 300);
    ASSERT_NO_FATAL_FAILURE(expectInOrder(decoder.decode({group, bytes}, device::Time(next()))));
  }
}

}  // namespace
}  // namespace midi
