#include "traffic/message_formatter.h"

#include <algorithm>
#include <array>

#include "traffic/checked_format.h"

namespace flowscope {

namespace {

struct ChannelForm {
  std::string_view first;
  std::string_view second;  // empty: no second value
};

// In the order of ChannelKind.
constexpr std::array<ChannelForm, 7> ChannelForms{{
    {") note off :note= ", " :velocity= "},
    {") note on  :note= ", " :velocity= "},
    {") poly after :note= ", " :value= "},
    {") control change :number= ", " :value= "},
    {") program change :number= ", ""},
    {") after touch :value= ", ""},
    {") pitch bend :lsb= ", " msb= "},
}};

struct LongForm {
  std::string_view announcement;
  std::string_view behindLength;
  std::string_view group;
};

// In the order of LongKind. Programs that parse these lines rely on every letter, "coomon" included.
constexpr std::array<LongForm, 3> LongForms{{
    {") system exclusive :length= ", " :", ": groupId="},
    {") system coomon :length= ", " : ", ": grpId="},
    {") system exclusive :length= ", " : ", ": grpId="},
}};

}  // namespace

std::string_view formatChannelMessage(TextPiece& line, const ChannelMessage& message, std::string_view port,
                                      TextForm form) {
  const auto kind = static_cast<std::uint8_t>(message.kind);
  const ChannelForm& words = ChannelForms.at(kind);
  const bool hasSecond = !words.second.empty();
  line.clear();
  if (form == TextForm::Labelled) {
    line.append(port).append(words.first).appendHex(message.first);
    if (hasSecond) line.append(words.second).appendHex(message.second);
    line.append(" :grpId= ");
  } else {
    line.appendHex(static_cast<std::uint8_t>(0x80 + 0x10 * kind)).append(" ").appendHex(message.first).append(" ");
    if (hasSecond) line.appendHex(message.second).append(" ");
  }
  return line.appendHex(message.group).endLine().view();
}

std::string_view formatRealTime(TextPiece& line, std::uint8_t status, std::uint16_t group, std::string_view port,
                                TextForm form) {
  line.clear();
  if (form == TextForm::Labelled) {
    line.append(port).append(") real time message :data= ").appendHex(status).append(" :grpId= ").appendHex(group);
  } else {
    line.appendHex(status).append(" ").appendLowerHex(group);
  }
  return line.endLine().view();
}

std::string_view formatErrorData(TextPiece& line, std::span<const std::uint8_t> bytes, std::string_view port) {
  line.clear().append(port).append(") errdata = ");
  for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), TextPiece::Limit))) {
    line.append(" ").appendHex(byte);
  }
  return line.endLine().view();
}

std::string_view formatHeader(TextPiece& line, LongKind kind, std::string_view port, std::size_t length) {
  const LongForm& words = LongForms.at(static_cast<std::size_t>(kind));
  return line.clear().append(port).append(words.announcement).appendDecimal(length).append(words.behindLength).view();
}

std::string_view formatByte(TextPiece& line, std::uint8_t byte) {
  return line.clear().appendHex(byte).append(" ").view();
}

std::string_view formatTrailer(TextPiece& line, LongKind kind, std::uint16_t group) {
  return line.clear().append(LongForms.at(static_cast<std::size_t>(kind)).group).appendHex(group).endLine().view();
}

std::string formatRawLong(std::span<const std::uint8_t> bytes, std::uint16_t group) {
  std::string text;
  // The scratch buffer is one character too small for "0x00 " and its terminator, and stays so: in raw form a message
  // of this kind ends the program, and no reader takes half a message for a whole one.
  std::array<char, 5> scratch{};
  for (const std::uint8_t byte : bytes) {
    formatChecked(scratch, "0x%02X ", byte);
    text += scratch.data();
  }
  TextPiece tail;
  return text.append(tail.appendHex(group).endLine().view());
}

}  // namespace flowscope
