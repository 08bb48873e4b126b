#include "platform/midi/message_filter.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "platform/system/printable.h"

namespace midi {
namespace {

// Calls take with each part of a text with commas until it returns false. A text has one part more than commas.
template <class Take>
void eachPart(std::string_view text, Take take) {
  while (true) {
    const std::size_t comma = text.find(',');
    if (!take(text.substr(0, comma)) || comma == std::string_view::npos) return;
    text.remove_prefix(comma + 1);
  }
}

std::string quoted(std::string_view word) { return "'" + sys::printable(word, sys::TextEncoding::Ascii) + "'"; }

std::string allTypeWords() {
  std::string words;
  for (const std::string_view word : MessageTypeWords) {
    if (!words.empty()) words += ", ";
    words += word;
  }
  return words;
}

// A channel from 1 to 16, without a sign or blanks; 0 for anything else.
std::size_t channelNumber(std::string_view word) {
  unsigned number = 0;
  const char* const end = word.data() + word.size();
  const auto result = std::from_chars(word.data(), end, number);
  const bool whole = result.ec == std::errc{} && result.ptr == end;
  return whole && number <= MidiChannels ? number : 0;
}

}  // namespace

std::variant<TypeSet, std::string> parseTypes(std::string_view text) {
  TypeSet types;
  std::string problem;
  eachPart(text, [&](std::string_view word) {
    const auto* const found = std::ranges::find(MessageTypeWords, word);
    if (found == MessageTypeWords.end()) {
      problem = quoted(word) + " is not a type of messages; the types are " + allTypeWords();
      return false;
    }
    types.set(static_cast<std::size_t>(found - MessageTypeWords.begin()));
    return true;
  });
  if (!problem.empty()) return problem;
  return types;
}

std::variant<ChannelSet, std::string> parseChannels(std::string_view text) {
  ChannelSet channels;
  std::string problem;
  eachPart(text, [&](std::string_view part) {
    const std::size_t dash = part.find('-');
    const std::size_t first = channelNumber(part.substr(0, dash));
    const std::size_t last = dash == std::string_view::npos ? first : channelNumber(part.substr(dash + 1));
    if (first == 0 || last == 0) {
      problem = quoted(part) + " is not a channel (1 to 16) or a range of channels (1-4)";
    } else if (first > last) {
      problem = quoted(part) + " begins above its end";
    }
    if (!problem.empty()) return false;
    for (std::size_t channel = first; channel <= last; ++channel) channels.set(channel - 1);
    return true;
  });
  if (!problem.empty()) return problem;
  return channels;
}

bool MessageFilter::passes(MessageType type, std::uint16_t group) const {
  if (!types.test(static_cast<std::size_t>(type))) return false;
  if (!channels) return true;
  return hasChannel(type) && group < MidiChannels && channels->test(group);
}

}  // namespace midi
