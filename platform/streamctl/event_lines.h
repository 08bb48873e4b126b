// Events as lines of text.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "platform/midi/message_decoder.h"
#include "platform/midi/message_filter.h"
#include "platform/streamctl/event_times.h"

namespace streamctl {

enum class LineForm : std::uint8_t { Text, Json };

// What the lines contain, and which messages have one.
struct LineStyle {
  bool decode = false;
  TimeForm time = TimeForm::Service;
  midi::MessageFilter filter;
};

// Writes a line for each message that passes the filter:
//
//   Text           1234.000000567 SequencerOut1 0 0x90 0x3C 0x64
//   Text, decoded  1234.000000567 SequencerOut1 ch1 note on C4 velocity 100
//   Json           {"time_ns":1234000000567,"port":"SequencerOut1","group":0,"bytes":[144,60,100]}
//   Json, decoded  the same, with "type", "channel", "text" and the midi::DecodedFields of the message behind it
//
// The time is that of the event, which is the time of its first message; messages that come within some milliseconds
// may share an event. Text has seconds with nine decimals, JSON nanoseconds. See TimeForm for other times.
//
// In decoded text the channel stands before the words: "ch1" to "ch16", "group16" for a group id that is no channel,
// and "-" for a message without a channel.
class EventLines {
 public:
  explicit EventLines(LineForm form, const LineStyle& style = LineStyle())
      : form_(form), style_(style), times_(style.time) {}

  // What to add to the service's clock for nanoseconds since 1970, from now on. Needed for TimeForm::Wall.
  void setWallOffset(std::chrono::nanoseconds offset) { times_.setWallOffset(offset); }

  // Appends the lines of an event of the port to out. event: header and records. Returns false if the event is
  // malformed; the messages before the error have their lines then.
  bool append(std::string_view port, std::span<const std::uint8_t> event, std::string& out);

 private:
  struct Port {
    std::string shown;  // its name as printed
    midi::MessageDecoder decoder;
  };

  Port& known(std::string_view port);
  void appendFront(const Port& port, std::string& out) const;
  void appendMessage(const device::Message& message, const midi::Decoded* decoded, std::string& out) const;

  LineForm form_;
  LineStyle style_;
  EventTimes times_;
  std::map<std::string, Port, std::less<>> ports_;
};

}  // namespace streamctl
