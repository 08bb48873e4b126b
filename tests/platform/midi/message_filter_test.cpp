#include "platform/midi/message_filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace midi {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(MessageType, OfEveryStatusByte) {
  const struct {
    Bytes message;
    MessageType type;
  } table[] = {{{0x80, 60, 64}, MessageType::Note},
               {{0x90, 60, 0}, MessageType::Note},
               {{0xA0, 60, 1}, MessageType::Pressure},
               {{0xD0, 127}, MessageType::Pressure},
               {{0xB0, 7, 100}, MessageType::Controller},
               {{0xC0, 5}, MessageType::Program},
               {{0xE0, 0, 64}, MessageType::Bend},
               {{0xF0, 0x7E, 0xF7}, MessageType::Exclusive},
               {{0xF0}, MessageType::Exclusive},
               {{0xF7, 1}, MessageType::Exclusive},
               {{0xF1, 0x7F}, MessageType::TimeCode},
               {{0xF2, 0, 0}, MessageType::Position},
               {{0xF3, 0}, MessageType::Song},
               {{0xF6}, MessageType::Tune},
               {{0xF8}, MessageType::Clock},
               {{0xFA}, MessageType::Transport},
               {{0xFB}, MessageType::Transport},
               {{0xFC}, MessageType::Transport},
               {{0xFE}, MessageType::Sense},
               {{0xFF}, MessageType::Reset}};
  for (const auto& row : table) EXPECT_EQ(typeOf(row.message), row.type) << testing::PrintToString(row.message);
}

TEST(MessageType, WhatIsNoMessageIsOther) {
  const std::vector<Bytes> rows{{},
                                {0x00},
                                {0x7F, 1, 2},
                                {0x91, 60, 64},
                                {0xEF, 0, 0},
                                {0x90},
                                {0x90, 60},
                                {0x90, 60, 64, 1},
                                {0x90, 60, 0x80},
                                {0x90, 0xF8, 1},
                                {0xF4},
                                {0xF5, 1},
                                {0xF9},
                                {0xFD},
                                {0xFF, 0x51},
                                {0xF8, 0xF8},
                                {0xC0, 1, 0xC0},
                                {0xF1},
                                {0xF2, 0},
                                {0xF3, 0x80}};
  for (const auto& row : rows) EXPECT_EQ(typeOf(row), MessageType::Other) << testing::PrintToString(row);
}

TEST(MessageType, OnlyChannelMessagesHaveAChannel) {
  for (const std::uint8_t status : Bytes{0x80, 0x90, 0xA0, 0xB0, 0xE0})
    EXPECT_TRUE(hasChannel(typeOf(Bytes{status, 0, 0})));
  for (const std::uint8_t status : Bytes{0xC0, 0xD0}) EXPECT_TRUE(hasChannel(typeOf(Bytes{status, 0})));
  for (const std::uint8_t status : Bytes{0xF0, 0xF6, 0xF8, 0xFA, 0xFE, 0xFF, 0x00}) {
    EXPECT_FALSE(hasChannel(typeOf(Bytes{status}))) << int{status};
  }
  EXPECT_FALSE(hasChannel(typeOf(Bytes{0xF2, 0, 0})));
}

std::vector<std::string> typeWords(std::string_view text) {
  const auto parsed = parseTypes(text);
  std::vector<std::string> words;
  if (const auto* problem = std::get_if<std::string>(&parsed)) return {*problem};
  for (std::size_t i = 0; i < MessageTypeWords.size(); ++i) {
    if (std::get<TypeSet>(parsed).test(i)) words.emplace_back(wordOf(static_cast<MessageType>(i)));
  }
  return words;
}

TEST(MessageFilter, TypesAreWordsWithCommas) {
  using testing::ElementsAre;
  EXPECT_THAT(typeWords("note"), ElementsAre("note"));
  EXPECT_THAT(typeWords("sense,note,note,clock"), ElementsAre("note", "clock", "sense"));
  for (const std::string_view word : MessageTypeWords) EXPECT_THAT(typeWords(word), ElementsAre(std::string(word)));
}

TEST(MessageFilter, WrongTypesAreNamed) {
  const std::string end =
      " is not a type of messages; the types are note, pressure, cc, pc, bend, sysex, mtc, position, song, tune, "
      "clock, "
      "transport, sense, reset, other";
  const struct {
    std::string_view text;
    std::string word;
  } table[] = {{"", "''"},
               {"notes", "'notes'"},
               {"note,", "''"},
               {",note", "''"},
               {"note,,cc", "''"},
               {"Note", "'Note'"},
               {"note, cc", "' cc'"},
               {"cc,x\x1b\n,pc", "'x\\x1B\\x0A'"},
               {"note\xFF", "'note\\xFF'"}};
  for (const auto& row : table) EXPECT_EQ(std::get<std::string>(parseTypes(row.text)), row.word + end);
}

ChannelSet channels(std::string_view text) {
  const auto parsed = parseChannels(text);
  const auto* problem = std::get_if<std::string>(&parsed);
  EXPECT_EQ(problem, nullptr) << *problem;
  return problem == nullptr ? std::get<ChannelSet>(parsed) : ChannelSet();
}

TEST(MessageFilter, ChannelsAreNumbersAndRanges) {
  EXPECT_EQ(channels("1"), ChannelSet(0x0001));
  EXPECT_EQ(channels("16"), ChannelSet(0x8000));
  EXPECT_EQ(channels("1-4,10"), ChannelSet(0x020F));
  EXPECT_EQ(channels("10,1-4,3-3"), ChannelSet(0x020F));
  EXPECT_EQ(channels("1-16"), ChannelSet(0xFFFF));
}

TEST(MessageFilter, WrongChannelsAreNamed) {
  for (const std::string text :
       {"", "0", "17", "-1", "+1", "1-", "-", "1-17", "0-3", "1-2-3", "one", "1 ", "0x1", "99999999999999999999"}) {
    EXPECT_EQ(std::get<std::string>(parseChannels(text)),
              "'" + text + "' is not a channel (1 to 16) or a range of channels (1-4)");
  }
  EXPECT_EQ(std::get<std::string>(parseChannels("2,4-3,9")), "'4-3' begins above its end");
  EXPECT_EQ(std::get<std::string>(parseChannels("1,,2")), "'' is not a channel (1 to 16) or a range of channels (1-4)");
  EXPECT_EQ(std::get<std::string>(parseChannels("1\x1b")),
            "'1\\x1B' is not a channel (1 to 16) or a range of channels (1-4)");
}

bool passes(const MessageFilter& filter, std::uint16_t group, const Bytes& bytes) {
  return filter.passes(device::Message{group, bytes});
}

TEST(MessageFilter, PassesEverythingUnlessToldOtherwise) {
  const MessageFilter filter;
  EXPECT_TRUE(passes(filter, 0, {0x90, 1, 2}));
  EXPECT_TRUE(passes(filter, 65535, {0xF8}));
  EXPECT_TRUE(passes(filter, 3, {}));
}

TEST(MessageFilter, SelectsTypes) {
  MessageFilter filter;
  filter.types = std::get<TypeSet>(parseTypes("note,clock"));
  EXPECT_TRUE(passes(filter, 0, {0x80, 1, 2}));
  EXPECT_TRUE(passes(filter, 300, {0xF8}));
  EXPECT_FALSE(passes(filter, 0, {0xB0, 1, 2}));
  EXPECT_FALSE(passes(filter, 0, {0x90, 1}));
}

TEST(MessageFilter, SelectsChannels) {
  MessageFilter filter;
  filter.channels = channels("1,16");
  EXPECT_TRUE(passes(filter, 0, {0xB0, 1, 2}));
  EXPECT_TRUE(passes(filter, 15, {0xC0, 1}));
  EXPECT_FALSE(passes(filter, 1, {0xC0, 1}));
  EXPECT_FALSE(passes(filter, 16, {0xC0, 1})) << "no channel, nor channel 1 of another sixteen";
  EXPECT_FALSE(passes(filter, 65535, {0xC0, 1}));
  EXPECT_FALSE(passes(filter, 0, {0xF8})) << "a message without a channel";
  EXPECT_FALSE(passes(filter, 0, {0xF0, 0xF7}));
  EXPECT_FALSE(passes(filter, 0, {0x01})) << "no message";
}

}  // namespace
}  // namespace midi
