#include "traffic/message_kind.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace flowscope {
namespace {

using Kind = MessageKind;

TEST(MessageKind, DependsOnTheWholeStatusByte) {
  const std::map<int, Kind> known = {
      {0x80, Kind::NoteOff},       {0x90, Kind::NoteOn},          {0xA0, Kind::PolyAfter},
      {0xB0, Kind::ControlChange}, {0xC0, Kind::ProgramChange},   {0xD0, Kind::AfterTouch},
      {0xE0, Kind::PitchBend},     {0xF0, Kind::SystemExclusive}, {0xF7, Kind::SystemExclusive},
      {0xF1, Kind::SystemCommon},  {0xF2, Kind::SystemCommon},    {0xF3, Kind::SystemCommon},
      {0xF6, Kind::SystemCommon},  {0xF8, Kind::RealTime},        {0xFA, Kind::RealTime},
      {0xFB, Kind::RealTime},      {0xFC, Kind::RealTime},        {0xFE, Kind::RealTime},
      {0xFF, Kind::Meta},
  };
  for (int status = 0; status < 256; ++status) {
    const std::vector<std::uint8_t> message{static_cast<std::uint8_t>(status), 0x3C, 0x40};
    const auto found = known.find(status);
    EXPECT_EQ(kindOf(message), found == known.end() ? Kind::ErrorData : found->second) << status;
  }
}

TEST(MessageKind, DependsOnTheLength) {
  const struct {
    std::vector<std::uint8_t> message;
    Kind kind;
  } cases[] = {
      {{}, Kind::ErrorData},
      {{0x80}, Kind::ErrorData},
      {{0x80, 1}, Kind::ErrorData},
      {{0x80, 1, 2}, Kind::NoteOff},
      {{0x80, 1, 2, 3}, Kind::NoteOff},
      {{0x90}, Kind::ErrorData},
      {{0x90, 1}, Kind::ErrorData},
      {{0xA0}, Kind::ErrorData},
      {{0xA0, 1}, Kind::ErrorData},
      {{0xB0}, Kind::ErrorData},
      {{0xB0, 1}, Kind::ErrorData},
      {{0xC0}, Kind::ErrorData},
      {{0xC0, 1}, Kind::ProgramChange},
      {{0xD0}, Kind::ErrorData},
      {{0xD0, 1}, Kind::AfterTouch},
      {{0xE0}, Kind::ErrorData},
      {{0xE0, 1}, Kind::ErrorData},
      {{0xF0}, Kind::SystemExclusive},
      {{0xF7}, Kind::SystemExclusive},
      {{0xF2}, Kind::SystemCommon},
      {{0xF8}, Kind::RealTime},
      {{0xFE, 1, 2}, Kind::RealTime},
      {{0xFF}, Kind::RealTime},
      {{0xFF, 0}, Kind::Meta},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(kindOf(each.message), each.kind)
        << (each.message.empty() ? -1 : int{each.message[0]}) << " of " << each.message.size();
  }
}

}  // namespace
}  // namespace flowscope
