// Events as lines of text.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace streamctl {

enum class LineForm : std::uint8_t { Text, Json };

// Writes a line for each message:
//
//   Text  1234.000000567 SequencerOut1 0 0x90 0x3C 0x64
//   Json  {"time_ns":1234000000567,"port":"SequencerOut1","group":0,"bytes":[144,60,100]}
//
// The time is that of the event, which is the time of its first message; messages that come within some milliseconds
// may share an event. Text has seconds with nine decimals, JSON nanoseconds.
class EventLines {
 public:
  explicit EventLines(LineForm form) : form_(form) {}

  // Appends the lines of an event of the port to out. event: header and records. Returns false if the event is
  // malformed; the messages before the error have their lines then.
  bool append(std::string_view port, std::span<const std::uint8_t> event, std::string& out);

 private:
  const std::string& shown(std::string_view port);

  LineForm form_;
  std::map<std::string, std::string, std::less<>> shown_;  // port names as printed
  std::string front_;                                      // the front of each line of the current event
};

}  // namespace streamctl
