#include "platform/midi/smf_file.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/device/limits.h"
#include "platform/midi/midi_bytes.h"
#include "platform/midi/smf_track.h"
#include "platform/midi/tempo_map.h"
#include "platform/system/read_file.h"

namespace midi {
namespace {

constexpr std::size_t MaxFileBytes = 64U << 20U;
constexpr std::uint32_t HeaderChunk = 0x4D546864;  // "MThd"
constexpr std::uint32_t TrackChunk = 0x4D54726B;   // "MTrk"

struct Header {
  std::uint32_t tracks;
  TimeBase base;
};

TimeBase readDivision(SmfReader& in) {
  const std::size_t start = in.offset();
  const std::uint8_t first = in.byte();
  const std::uint8_t second = in.byte();
  if (!isStatusByte(first)) {
    const auto ticks = static_cast<std::uint16_t>(first << 8U | second);
    if (ticks == 0) throw SmfProblem(start, "0 ticks per quarter note");
    return TimeBase::perQuarter(ticks);
  }
  const auto frames = static_cast<std::uint8_t>(0x100 - first);
  const bool known = frames == 24 || frames == 25 || frames == 29 || frames == 30;
  if (!known || second == 0) throw SmfProblem(start, "invalid time division");
  return TimeBase::perFrame(frames, second);
}

Header readHeader(SmfReader& file) {
  if (file.rest().size() < 4 || file.number(4) != HeaderChunk) throw SmfProblem(0, "not a Standard MIDI File");
  SmfReader in = file.take(file.number(4), "the header");
  const std::size_t start = in.offset();
  const std::uint32_t format = in.number(2);
  if (format > 1) throw SmfProblem(start, "format " + std::to_string(format) + " (0 and 1 can be played)");
  const std::uint32_t tracks = in.number(2);
  if (tracks == 0) throw SmfProblem(start + 2, "no tracks");
  return {tracks, readDivision(in)};
}

// The content of the next track chunk.
SmfReader nextTrack(SmfReader& file) {
  while (true) {
    const std::uint32_t kind = file.number(4);
    const SmfReader content = file.take(file.number(4), "the track");
    if (kind == TrackChunk) return content;
  }
}

// Collects the messages of one track after the other.
class ScoreBuilder {
 public:
  // Throws SmfProblem if the track cannot be played; the builder is of no use then.
  void addTrack(SmfReader content) {
    SmfTrack track(content);
    while (const auto event = track.next()) addEvent(*event);
    if (!exclusive_.empty()) throw SmfProblem(track.offset(), "the track ends inside a system exclusive message");
    length_ = std::max(length_, track.tick());
  }

  std::variant<Score, std::string> finish(TimeBase base) {
    const TempoMap tempo(base, std::move(tempo_));
    const auto length = tempo.at(length_);
    if (!length) return "longer than a year";
    std::ranges::stable_sort(messages_, {}, &PlacedMessage::tick);
    Score score{{}, *length};
    score.events.reserve(messages_.size());
    for (PlacedMessage& message : messages_) {
      score.events.push_back({*tempo.at(message.tick), message.group, std::move(message.bytes)});
    }
    return score;
  }

 private:
  struct PlacedMessage {
    std::uint32_t tick;
    std::uint16_t group;
    std::vector<std::uint8_t> bytes;
  };

  void addEvent(const SmfEvent& event) {
    if (event.status == MetaEvent) {
      if (event.type == MetaTempo) addTempo(event.tick, event.data);
    } else if (event.status == EndOfExclusive) {
      if (exclusive_.empty()) {
        addEscaped(event.tick, event.data);
      } else {
        addExclusive(event.tick, event.data);
      }
    } else if (!exclusive_.empty()) {
      throw SmfProblem(event.data.offset(), "a message inside a system exclusive message");
    } else if (event.status == SystemExclusive) {
      exclusive_.push_back(SystemExclusive);
      addExclusive(event.tick, event.data);
    } else {
      addMessage(event.tick, event.status, event.data);
    }
  }

  void addTempo(std::uint32_t tick, SmfReader data) {
    const std::size_t start = data.offset();
    const std::uint32_t tempo = data.number(3);
    if (tempo == 0) throw SmfProblem(start, "a tempo of 0 microseconds per quarter note");
    tempo_.push_back({tick, tempo});
  }

  // An 0xF7 event outside of a system exclusive message: whole messages, or the start of a system exclusive one.
  void addEscaped(std::uint32_t tick, SmfReader data) {
    while (!data.atEnd()) {
      const std::uint8_t status = data.byte();
      if (status == SystemExclusive) {
        exclusive_.push_back(SystemExclusive);
        return addExclusive(tick, data);
      }
      addMessage(tick, status, takeMessageData(status, data));
    }
  }

  void addExclusive(std::uint32_t tick, SmfReader part) {
    const auto bytes = part.rest();
    const bool last = !bytes.empty() && bytes.back() == EndOfExclusive;
    exclusive_.insert(exclusive_.end(), bytes.begin(), bytes.end());
    if (exclusive_.size() > device::MaxMessageBytes) {
      throw SmfProblem(part.offset(),
                       "a system exclusive message of more than " + std::to_string(device::MaxMessageBytes) + " bytes");
    }
    requireDataBytes(part.take(bytes.size() - (last ? 1 : 0), "the message"));
    if (last) messages_.push_back({tick, 0, std::exchange(exclusive_, {})});
  }

  void addMessage(std::uint32_t tick, std::uint8_t status, SmfReader data) {
    const bool hasChannel = isChannelStatus(status);
    std::vector<std::uint8_t> bytes(1 + data.rest().size());
    bytes.front() = hasChannel ? status & 0xF0U : status;
    std::ranges::copy(data.rest(), bytes.begin() + 1);
    messages_.push_back({tick, static_cast<std::uint16_t>(hasChannel ? status & 0x0FU : 0), std::move(bytes)});
  }

  std::vector<PlacedMessage> messages_;  // track by track
  std::vector<TempoChange> tempo_;
  std::vector<std::uint8_t> exclusive_;  // a system exclusive message that has begun; empty when none has
  std::uint32_t length_ = 0;
};

}  // namespace

std::variant<Score, std::string> parseSmf(std::span<const std::uint8_t> bytes) {
  std::string place;  // in the file, besides the offset
  try {
    SmfReader file(bytes, "the file");
    const Header header = readHeader(file);
    ScoreBuilder score;
    for (std::uint32_t track = 1; track <= header.tracks; ++track) {
      place = ", track " + std::to_string(track) + " of " + std::to_string(header.tracks);
      score.addTrack(nextTrack(file));
    }
    return score.finish(header.base);
  } catch (const SmfProblem& problem) {
    return std::string(problem.what()) + " (at byte " + std::to_string(problem.offset) + place + ")";
  }
}

std::variant<Score, std::string> loadSmf(const std::filesystem::path& path) {
  const auto read = sys::readFile(path, MaxFileBytes);
  if (const auto* cause = std::get_if<std::string>(&read)) return *cause;
  return parseSmf(std::get<std::vector<std::uint8_t>>(read));
}

}  // namespace midi
