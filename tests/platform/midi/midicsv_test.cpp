// Music of Debian packages, read by midicsv as well.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>
#include <vector>

#include "platform/midi/midi_bytes.h"
#include "platform/midi/smf_file.h"
#include "platform/midi/smf_track.h"
#include "platform/midi/tempo_map.h"
#include "platform/system/read_file.h"
#include "tests/platform/midi/smf_maker.h"
#include "tests/support/process.h"

namespace midi {
namespace {

namespace fs = std::filesystem;

// One event as it stands in a file, its length left out.
struct Event {
  std::uint32_t track;  // from 1
  std::uint32_t tick;
  ByteVector bytes;  // of a meta event: 0xFF, its type, its data
  friend bool operator==(const Event&, const Event&) = default;
};

std::ostream& operator<<(std::ostream& out, const Event& event) {
  return out << "track " << event.track << ", tick " << event.tick << ": " << toHex(event.bytes);
}

// The fields of a line of midicsv; a text without its quotes, and its bytes as they are in the file.
std::vector<std::string> fieldsOf(std::string_view line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const char letter = line[at];
    if (letter == '"' && quoted && line.substr(at + 1, 1) == "\"") {
      fields.back() += line[++at];
    } else if (letter == '"') {
      quoted = !quoted;
    } else if (letter == '\\' && line.substr(at + 1, 1) == "\\") {
      fields.back() += line[++at];
    } else if (letter == '\\') {
      fields.back() += static_cast<char>(std::stoi(std::string(line.substr(at + 1, 3)), nullptr, 8));
      at += 3;
    } else if (letter == ',' && !quoted) {
      fields.emplace_back();
      ++at;  // the space behind it
    } else {
      fields.back() += letter;
    }
  }
  return fields;
}

// The event of a line of midicsv, given as its fields. Its bytes are empty for a kind of event that is not known here.
Event eventOf(const std::vector<std::string>& fields) {
  static const std::map<std::string, std::uint8_t> texts = {
      {"Text_t", 1},  {"Copyright_t", 2}, {"Title_t", 3},     {"Instrument_name_t", 4},
      {"Lyric_t", 5}, {"Marker_t", 6},    {"Cue_point_t", 7},
  };
  static const std::map<std::string, std::uint8_t> channels = {
      {"Note_off_c", 0x80}, {"Note_on_c", 0x90}, {"Poly_aftertouch_c", 0xA0},
      {"Control_c", 0xB0},  {"Program_c", 0xC0}, {"Channel_aftertouch_c", 0xD0}};
  static const std::map<std::string, ByteVector> others = {
      {"MIDI_port", {0xFF, 0x21}}, {"Time_signature", {0xFF, 0x58}}, {"Sequencer_specific", {0xFF, 0x7F}},
      {"End_track", {0xFF, 0x2F}}, {"System_exclusive", {0xF0}},     {"System_exclusive_packet", {0xF7}}};
  const auto number = [&](std::size_t index) { return std::stoi(fields.at(index)); };
  const auto byte = [&](std::size_t index) { return static_cast<std::uint8_t>(number(index)); };
  const std::string& kind = fields.at(2);
  Event event{static_cast<std::uint32_t>(number(0)), static_cast<std::uint32_t>(number(1)), {}};
  ByteVector& bytes = event.bytes;
  std::size_t plain = fields.size();  // from here on fields are bytes
  if (const auto text = texts.find(kind); text != texts.end()) {
    bytes = {0xFF, text->second};
    append(bytes, ByteVector(fields.at(3).begin(), fields.at(3).end()));
  } else if (const auto channel = channels.find(kind); channel != channels.end()) {
    bytes = {static_cast<std::uint8_t>(channel->second | byte(3))};
    plain = 4;
  } else if (kind == "Pitch_bend_c") {
    bytes = {static_cast<std::uint8_t>(0xE0 | byte(3)), static_cast<std::uint8_t>(number(4) & 0x7F),
             static_cast<std::uint8_t>(number(4) >> 7)};
  } else if (kind == "Tempo") {
    bytes = bigEndian(static_cast<std::size_t>(number(3)));
    bytes.insert(bytes.begin(), 0xFF);
    bytes.at(1) = MetaTempo;  // in the place of the topmost of four bytes
  } else if (kind == "Key_signature") {
    bytes = {0xFF, 0x59, byte(3), static_cast<std::uint8_t>(fields.at(4) == "minor" ? 1 : 0)};
  } else if (const auto other = others.find(kind); other != others.end()) {
    bytes = other->second;
    const bool hasLength = kind.starts_with("System") || kind.starts_with("Sequencer");
    plain = hasLength ? 4 : 3;
  }
  for (; plain < fields.size(); ++plain) bytes.push_back(byte(plain));
  return event;
}

struct Reading {
  std::uint16_t division = 0;
  std::vector<Event> events;
};

Reading readingOf(const std::string& output) {
  Reading reading;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const auto fields = fieldsOf(line);
    const std::string& kind = fields.at(2);
    if (kind == "Header") reading.division = static_cast<std::uint16_t>(std::stoi(fields.at(5)));
    if (kind == "Header" || kind == "Start_track" || kind == "End_of_file") continue;
    reading.events.push_back(eventOf(fields));
    EXPECT_FALSE(reading.events.back().bytes.empty()) << line;
  }
  return reading;
}

// What SmfTrack reads from each track.
std::vector<Event> eventsOf(const ByteVector& bytes) {
  std::vector<Event> events;
  SmfReader file(bytes, "the file");
  file.take(14, "the header");
  for (std::uint32_t number = 1; !file.atEnd(); ++number) {
    file.take(4, "MTrk");
    SmfTrack track(file.take(file.number(4), "the track"));
    while (const auto event = track.next()) {
      events.push_back({number, event->tick, {event->status}});
      if (event->status == MetaEvent) events.back().bytes.push_back(event->type);
      append(events.back().bytes, ByteVector(event->data.rest().begin(), event->data.rest().end()));
    }
  }
  return events;
}

// The messages with a channel of a file that has no others, as a score must have them.
std::vector<ScoreEvent> scoreOf(Reading reading) {
  std::vector<TempoChange> tempo;
  for (const Event& event : reading.events) {
    if (event.bytes.at(0) != MetaEvent || event.bytes.at(1) != MetaTempo) continue;
    tempo.push_back(
        {event.tick, static_cast<std::uint32_t>(event.bytes.at(2) << 16 | event.bytes.at(3) << 8 | event.bytes.at(4))});
  }
  const TempoMap map(TimeBase::perQuarter(reading.division), tempo);
  std::ranges::stable_sort(reading.events, {}, &Event::tick);
  std::vector<ScoreEvent> score;
  for (Event& event : reading.events) {
    if (event.bytes.at(0) == MetaEvent) continue;
    const auto group = static_cast<std::uint16_t>(event.bytes.at(0) & 0x0FU);
    event.bytes.at(0) &= 0xF0U;
    score.push_back({map.at(event.tick).value(), group, event.bytes});
  }
  return score;
}

std::vector<fs::path> musicIn(const fs::path& folder) {
  std::vector<fs::path> files;
  if (!fs::exists(folder)) return files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() == ".mid") files.push_back(entry.path());
  }
  return files;
}

class Midicsv : public testing::Test {
 protected:
  void SetUp() override {
    try {
      run("/dev/null");
    } catch (const std::system_error& problem) {
      if (problem.code() != std::errc::no_such_file_or_directory) throw;
      GTEST_SKIP() << "no midicsv (scripts/setup test): " << problem.what();
    }
  }

  static testsupport::ProcessResult run(const fs::path& file) {
    return testsupport::runProcess({"midicsv", {file}, {}, {}}, "", testsupport::Deadline(std::chrono::seconds(60)));
  }

  static ByteVector bytesOf(const fs::path& file) {
    return std::get<ByteVector>(sys::readFile(file, std::size_t{1} << 30U));
  }

  // Compares all events of a file; its reading by midicsv.
  static Reading compare(const fs::path& file) {
    Reading reading = readingOf(run(file).standardOutput);
    EXPECT_FALSE(reading.events.empty());
    const auto events = eventsOf(bytesOf(file));
    EXPECT_EQ(events.size(), reading.events.size());
    const auto [ours, theirs] = std::ranges::mismatch(events, reading.events);
    if (ours != events.end() && theirs != reading.events.end()) {
      EXPECT_EQ(*ours, *theirs);
    }
    return reading;
  }
};

TEST_F(Midicsv, ReadsTheSameFromTheMusicOfPackages) {
  const auto files = musicIn("/usr/share/games/openttd/baseset/openmsx");
  if (files.empty()) GTEST_SKIP() << "no music (scripts/setup test)";
  for (const fs::path& file : files) {
    SCOPED_TRACE(file);
    const Reading reading = compare(file);
    const auto score = parseSmf(bytesOf(file));
    ASSERT_TRUE(std::holds_alternative<Score>(score)) << std::get<std::string>(score);
    EXPECT_TRUE(std::get<Score>(score).events == scoreOf(reading));
  }
}

// These have system exclusive messages in parts, and escaped ones.
TEST_F(Midicsv, ReadsTheSameFromTheFilesThatFuzzingBeginsWith) {
  const auto files = musicIn(FLOWSCOPE_SOURCE_DIR "/tests/fuzz/corpus/smf");
  ASSERT_FALSE(files.empty());
  for (const fs::path& file : files) {
    SCOPED_TRACE(file);
    compare(file);
  }
}

}  // namespace
}  // namespace midi
