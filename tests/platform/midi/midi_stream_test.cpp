#include "platform/midi/midi_stream.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/wire/messages.h"
#include "tests/platform/midi/smf_maker.h"

namespace midi {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Texts = std::vector<std::string>;

// Each message as "GROUP: BYTES".
Texts readIn(MidiReader& reader, const Bytes& bytes) {
  Texts texts;
  reader.read(bytes, [&](const device::Message& message) {
    texts.push_back(std::to_string(message.group) + ": " + toHex({message.bytes.begin(), message.bytes.end()}));
  });
  return texts;
}

struct Row {
  const char* what;
  Bytes bytes;
  Texts messages;
  std::uint64_t broken = 0;
};

std::vector<Row> rows() {
  return {
      {"channel becomes group id",
       {0x93, 0x3C, 0x40, 0xC0, 5, 0xEF, 1, 2},
       {"3: 90 3C 40", "0: C0 05", "15: E0 01 02"}},
      {"running status", {0x81, 1, 2, 3, 4, 0xD2, 9, 8}, {"1: 80 01 02", "1: 80 03 04", "2: D0 09", "2: D0 08"}},
      {"system messages", {0xF1, 7, 0xF2, 1, 2, 0xF3, 3, 0xF6}, {"0: F1 07", "0: F2 01 02", "0: F3 03", "0: F6"}},
      {"real-time comes at once", {0x90, 0xF8, 1, 0xFE, 2}, {"0: F8", "0: FE", "0: 90 01 02"}},
      {"system exclusive", {0xF0, 1, 2, 0xF7}, {"0: F0 01 02 F7"}},
      {"empty system exclusive", {0xF0, 0xF7}, {"0: F0 F7"}},
      {"real-time in system exclusive", {0xF0, 1, 0xF8, 2, 0xF7}, {"0: F8", "0: F0 01 02 F7"}},
      {"system exclusive cut by a status", {0xF0, 1, 0x90, 1, 2}, {"0: 90 01 02"}, 1},
      {"message cut by a status", {0x90, 1, 0x80, 1, 2}, {"0: 80 01 02"}, 1},
      {"data without status counts once", {1, 2, 3, 0x90, 1, 2}, {"0: 90 01 02"}, 1},
      {"no running status after system common", {0x90, 1, 2, 0xF6, 3, 4}, {"0: 90 01 02", "0: F6"}, 1},
      {"no running status after system exclusive", {0x90, 1, 2, 0xF0, 0xF7, 3, 4}, {"0: 90 01 02", "0: F0 F7"}, 1},
      {"end without a beginning", {0xF7}, {}, 1},
      {"undefined status with data", {0xF4, 1, 2, 0xF6}, {"0: F6"}, 1},
      {"undefined real-time leaves the rest alone", {0x90, 0xF9, 1, 0xFD, 2}, {"0: 90 01 02"}, 2},
  };
}

TEST(MidiReader, CutsBytesIntoMessages) {
  for (const Row& row : rows()) {
    MidiReader reader;
    EXPECT_EQ(readIn(reader, row.bytes), row.messages) << row.what;
    EXPECT_EQ(reader.takeBroken(), row.broken) << row.what;
    EXPECT_EQ(reader.takeBroken(), 0U) << row.what;
  }
}

TEST(MidiReader, ReadsTheSameHoweverTheBytesAreCut) {
  for (const Row& row : rows()) {
    MidiReader reader;
    Texts texts;
    for (const std::uint8_t byte : row.bytes) {
      for (const std::string& text : readIn(reader, {byte})) texts.push_back(text);
    }
    EXPECT_EQ(texts, row.messages) << row.what;
    EXPECT_EQ(reader.takeBroken(), row.broken) << row.what;
  }
}

TEST(MidiReader, RestartForgetsAnUnfinishedMessage) {
  MidiReader reader;
  readIn(reader, {0xF0, 1, 2});
  reader.restart();
  EXPECT_EQ(reader.takeBroken(), 1U);
  EXPECT_EQ(readIn(reader, {0x90, 1, 2}), Texts{"0: 90 01 02"});
  reader.restart();
  EXPECT_EQ(reader.takeBroken(), 0U);
  EXPECT_EQ(readIn(reader, {3, 4}), Texts{}) << "no running status";
}

TEST(MidiReader, CountsTheRestOfACutSystemExclusiveAsOneLoss) {
  MidiReader reader;
  reader.restart();
  EXPECT_EQ(readIn(reader, {5, 6, 7, 0xF7, 0x90, 1, 2}), Texts{"0: 90 01 02"});
  EXPECT_EQ(reader.takeBroken(), 1U);
}

TEST(MidiReader, ReadsTheLongestSystemExclusiveAndNoLongerOne) {
  for (const std::size_t size : {device::MaxMessageBytes, device::MaxMessageBytes + 1}) {
    MidiReader reader;
    Bytes bytes(size, 1);
    bytes.front() = 0xF0;
    bytes.back() = 0xF7;
    bytes.push_back(0xF6);
    const Texts texts = readIn(reader, bytes);
    const bool fits = size == device::MaxMessageBytes;
    EXPECT_EQ(texts.size(), fits ? 2U : 1U);
    EXPECT_EQ(texts.back(), "0: F6");
    EXPECT_EQ(reader.takeBroken(), fits ? 0U : 1U);
  }
}

TEST(AppendMidi, JoinsTheChannelOrRefuses) {
  struct Case {
    Bytes bytes;
    std::uint16_t group;
    Sendable sendable;
    Bytes sent;
  };
  using enum Sendable;
  const std::vector<Case> cases{
      {{0x90, 1, 2}, 0, Yes, {0x90, 1, 2}},
      {{0x90, 1, 2}, 15, Yes, {0x9F, 1, 2}},
      {{0x90, 1, 2}, 16, NoSuchChannel, {}},
      {{0xC0, 1}, 65535, NoSuchChannel, {}},
      {{0x95, 1, 2}, 0, Yes, {0x95, 1, 2}},
      {{0x95, 1, 2}, 3, NoSuchChannel, {}},
      {{0xF8}, 0, Yes, {0xF8}},
      {{0xF8}, 99, Yes, {0xF8}},
      {{0xF0, 1, 2, 0xF7}, 7, Yes, {0xF0, 1, 2, 0xF7}},
      {{0xF0, 0xF7}, 0, Yes, {0xF0, 0xF7}},
      {{}, 0, NotOneMessage, {}},
      {{0x90, 1}, 0, NotOneMessage, {}},
      {{0x90, 1, 2, 3}, 0, NotOneMessage, {}},
      {{0x90, 1, 0x80}, 0, NotOneMessage, {}},
      {{1, 2, 3}, 0, NotOneMessage, {}},
      {{0xF0}, 0, NotOneMessage, {}},
      {{0xF0, 1}, 0, NotOneMessage, {}},
      {{0xF0, 0xF8, 0xF7}, 0, NotOneMessage, {}},
      {{0xF4}, 0, NotOneMessage, {}},
      {{0xF7}, 0, NotOneMessage, {}},
  };
  for (const Case& one : cases) {
    Bytes out{0xAA};
    EXPECT_EQ(appendMidi({one.group, one.bytes}, out), one.sendable) << toHex({one.bytes.begin(), one.bytes.end()});
    Bytes expected{0xAA};
    expected.insert(expected.end(), one.sent.begin(), one.sent.end());
    EXPECT_EQ(out, expected);
  }
}

TEST(AppendMidi, MessagesAreReadBackAsTheyWereSent) {
  for (std::uint16_t group = 0; group < 16; ++group) {
    Bytes out;
    const Bytes note{0x90, 0x3C, 0x40};
    appendMidi({group, note}, out);
    MidiReader reader;
    EXPECT_EQ(readIn(reader, out), Texts{std::to_string(group) + ": 90 3C 40"});
  }
}

}  // namespace
}  // namespace midi
