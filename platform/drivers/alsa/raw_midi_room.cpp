#include "platform/drivers/alsa/raw_midi_room.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>

namespace drivers::alsa {
namespace {

constexpr int PortsOfDevice = 32;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  return problem == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// "  Avail        : 12" -> 12 if the line begins with name.
std::optional<std::size_t> field(std::string_view line, std::string_view name) {
  const auto begin = line.find_first_not_of(' ');
  const auto colon = line.find(": ");
  if (begin == 0 || begin == std::string_view::npos || colon == std::string_view::npos) return std::nullopt;
  if (!line.substr(begin).starts_with(name)) return std::nullopt;
  return numberIn<std::size_t>(line.substr(colon + 2));
}

}  // namespace

RawMidiPlace placeOfHardwarePort(int card, int port) { return {card, port / PortsOfDevice, port % PortsOfDevice}; }

std::optional<RawMidiPlace> placeOfVirtualPort(int card, std::string_view client) {
  const auto dash = client.rfind('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto device = numberIn<int>(client.substr(dash + 1));
  if (!device) return std::nullopt;
  return RawMidiPlace{card, *device};
}

std::optional<std::size_t> roomIn(std::string_view text, const RawMidiPlace& place) {
  const std::string_view kind = place.output ? "Output " : "Input ";
  std::optional<std::size_t> room;
  bool counts = false;
  std::size_t size = 0;  // of the current buffer; 0: not known yet
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    const auto line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with("Output ") || line.starts_with("Input ")) {
      counts = line.starts_with(kind) && (!place.output || numberIn<int>(line.substr(kind.size())) == place.output);
      size = 0;
    }
    if (!counts) continue;
    if (const auto found = field(line, "Buffer size")) size = *found;
    const auto available = field(line, "Avail");
    if (!available || size == 0) continue;
    // For an output, Avail is what may be written; for an input, what may be read.
    const std::size_t fits = place.output ? *available : size - std::min(size, *available);
    room = room ? std::min(*room, fits) : fits;
  }
  return room;
}

std::optional<std::size_t> roomAt(const RawMidiPlace& place) {
  const std::string name = "/proc/asound/card" + std::to_string(place.card) + "/midi" + std::to_string(place.device);
  // With "e", programs that another thread starts meanwhile do not inherit the file.
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(name.c_str(), "re"));
  if (!file) return std::nullopt;
  std::string text;
  for (int byte = 0; (byte = std::getc(file.get())) != EOF;) text += static_cast<char>(byte);
  return roomIn(text, place);
}

}  // namespace drivers::alsa
