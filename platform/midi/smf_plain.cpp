#include "platform/midi/smf_plain.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "platform/midi/smf_bytes.h"
#include "platform/midi/smf_track.h"

namespace service {
namespace {

using Bytes = std::span<const std::uint8_t>;

struct Chunk {
  Bytes kind;
  SmfReader content;
};

// The next chunk, which must be whole.
std::optional<Chunk> nextChunk(SmfReader& in) {
  const auto kind = in.take(4);
  const auto size = in.number(4);
  if (!kind || !size) return std::nullopt;
  const std::size_t start = in.offset();
  const auto content = in.take(*size);
  if (!content) return std::nullopt;
  return Chunk{*kind, SmfReader(*content, start)};
}

bool isKind(const Chunk& chunk, std::string_view kind) {
  return std::equal(chunk.kind.begin(), chunk.kind.end(), kind.begin(), kind.end());
}

struct Header {
  std::uint32_t tracks = 0;
  TimeBase base;
};

std::variant<Header, SmfProblem> readHeader(SmfReader& in) {
  const auto chunk = nextChunk(in);
  if (!chunk || !isKind(*chunk, "MThd")) return SmfProblem{0, "not a Standard MIDI File"};
  SmfReader content = chunk->content;
  const auto format = content.number(2);
  const auto tracks = content.number(2);
  const auto rate = content.number(1);
  const auto ticks = content.number(1);
  if (!format || !tracks || !rate || !ticks) return SmfProblem{content.offset(), "the header is too short"};
  if (*format > 1) return SmfProblem{8, "format " + std::to_string(*format) + " (0 and 1 can be played)"};
  if (*tracks == 0) return SmfProblem{10, "no tracks"};
  constexpr std::uint32_t FrameRateFlag = 0x80;
  if (*rate < FrameRateFlag) {
    const std::uint32_t perQuarter = *rate << 8U | *ticks;
    if (perQuarter == 0) return SmfProblem{12, "0 ticks per quarter note"};
    return Header{*tracks, TimeBase::perQuarter(static_cast<std::uint16_t>(perQuarter))};
  }
  const std::uint32_t frames = 0x100 - *rate;
  const bool known = frames == 24 || frames == 25 || frames == 29 || frames == 30;
  if (!known || *ticks == 0) return SmfProblem{12, "a time division that does not exist"};
  return Header{*tracks, TimeBase::perFrame(static_cast<std::uint8_t>(frames), static_cast<std::uint8_t>(*ticks))};
}

void appendKind(std::vector<std::uint8_t>& out, std::string_view kind) {
  out.insert(out.end(), kind.begin(), kind.end());
}

}  // namespace

std::variant<PlainSmf, SmfProblem> makePlainSmf(std::span<const std::uint8_t> file) {
  SmfReader in(file);
  const auto read = readHeader(in);
  if (const auto* problem = std::get_if<SmfProblem>(&read)) return *problem;
  const auto& header = std::get<Header>(read);

  PlainSmf plain;
  plain.base = header.base;
  appendKind(plain.file, "MThd");
  appendNumber(plain.file, 6, 4);
  for (const std::uint32_t field : {std::uint32_t{1}, header.tracks, std::uint32_t{1}})
    appendNumber(plain.file, field, 2);
  std::vector<std::uint8_t> track;
  for (std::uint32_t done = 0; done < header.tracks;) {
    const std::size_t start = in.offset();
    const auto chunk = nextChunk(in);
    if (!chunk) {
      return SmfProblem{start, "the file ends before the end of track " + std::to_string(done + 1) + " of " +
                                   std::to_string(header.tracks)};
    }
    if (!isKind(*chunk, "MTrk")) continue;
    track.clear();
    if (auto problem = SmfTrack(chunk->content, track, plain.tempo).rewrite()) return *problem;
    appendKind(plain.file, "MTrk");
    appendNumber(plain.file, static_cast<std::uint32_t>(track.size()), 4);
    plain.file.insert(plain.file.end(), track.begin(), track.end());
    ++done;
  }
  return plain;
}

}  // namespace service
