#include "platform/midi/smf_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/device/limits.h"
#include "platform/midi/tempo_map.h"
#include "tests/platform/midi/smf_maker.h"

namespace midi {
namespace {

using testing::ElementsAre;

constexpr std::string_view Format0 = "0000 0001 0060";  // 96 ticks per quarter note
constexpr std::string_view Format1 = "0001 0002 0060";

// The events as "milliseconds.microseconds group: bytes" lines; or the cause.
std::vector<std::string> linesOf(const ByteVector& file) {
  const auto parsed = parseSmf(file);
  if (const auto* cause = std::get_if<std::string>(&parsed)) return {*cause};
  std::vector<std::string> lines;
  for (const ScoreEvent& event : std::get<Score>(parsed).events) {
    lines.push_back(std::to_string(event.time.count()) + " " + std::to_string(event.group) + ": " + toHex(event.bytes));
  }
  return lines;
}

device::Time lengthOf(const ByteVector& file) { return std::get<Score>(parseSmf(file)).length; }

TEST(SmfFile, ReadsRunningStatus) {
  const ByteVector file = smf(Format0, {"00 C0 05  00 90 3C 40  60 3C 00  60 40 41  00 80 40 00  83 00 FF 2F 00"});
  EXPECT_THAT(linesOf(file), ElementsAre("0 0: C0 05", "0 0: 90 3C 40", "500000000 0: 90 3C 00",
                                         "1000000000 0: 90 40 41", "1000000000 0: 80 40 00"));
  EXPECT_EQ(lengthOf(file), std::chrono::seconds(3));
}

TEST(SmfFile, MergesTracksAndPlaysTheEarlierTrackFirst) {
  const ByteVector file = smf(Format1, {"00 FF 51 03 07A120  00 90 01 01  81 40 90 02 02  00 FF 2F 00",
                                        "00 91 03 03  60 91 04 04  60 91 05 05  00 FF 2F 00"});
  EXPECT_THAT(linesOf(file), ElementsAre("0 0: 90 01 01", "0 1: 90 03 03", "500000000 1: 90 04 04",
                                         "1000000000 0: 90 02 02", "1000000000 1: 90 05 05"));
}

TEST(SmfFile, AppliesTempoChangesToAllTracks) {
  // 120 quarters a minute, from tick 96 on 60, from tick 144 on 240. The changes stand in the second track.
  const ByteVector file = smf(Format1, {"00 90 01 01  60 90 02 02  60 90 03 03  60 90 04 04  00 FF 2F 00",
                                        "60 FF 51 03 0F4240  30 FF 51 03 03D090  00 FF 2F 00"});
  EXPECT_THAT(linesOf(file), ElementsAre("0 0: 90 01 01", "500000000 0: 90 02 02", "1125000000 0: 90 03 03",
                                         "1375000000 0: 90 04 04"));
}

TEST(SmfFile, ReadsChannelsAsGroupIds) {
  const ByteVector file = smf(Format0, {"00 80 01 02  00 91 01 02  00 A2 01 02  00 B3 01 02  00 C4 01  00 D5 01"
                                        "  00 E6 01 02  00 9F 01 02  00 FF 2F 00"});
  EXPECT_THAT(linesOf(file), ElementsAre("0 0: 80 01 02", "0 1: 90 01 02", "0 2: A0 01 02", "0 3: B0 01 02",
                                         "0 4: C0 01", "0 5: D0 01", "0 6: E0 01 02", "0 15: 90 01 02"));
}

TEST(SmfFile, JoinsPacketsOfASystemExclusive) {
  const ByteVector file =
      smf(Format0, {"00 F0 05 7E 7F 09 01 F7  60 90 01 01"
                    // In three parts, 100 ticks apart, with meta events between them.
                    "  00 F0 03 43 12 00  30 FF 01 02 68 69  30 F7 02 01 02  60 F7 01 F7  00 90 02 02  00 FF 2F 00"});
  EXPECT_THAT(linesOf(file), ElementsAre("0 0: F0 7E 7F 09 01 F7", "500000000 0: 90 01 01",
                                         "1500000000 0: F0 43 12 00 01 02 F7", "1500000000 0: 90 02 02"));
}

TEST(SmfFile, ReadsEscapedMessages) {
  const ByteVector file = smf(Format0, {"00 F7 01 F8  60 F7 03 F2 10 20  00 F7 02 F3 05  00 F7 01 F6  00 F7 00"
                                        "  00 F7 05 FA F1 11 FC FE  00 F7 03 95 01 02  00 F7 04 F0 01 02 F7"
                                        "  00 F7 02 F0 03  60 F7 02 04 F7  00 FF 2F 00"});
  EXPECT_THAT(linesOf(file),
              ElementsAre("0 0: F8", "500000000 0: F2 10 20", "500000000 0: F3 05", "500000000 0: F6",
                          "500000000 0: FA", "500000000 0: F1 11", "500000000 0: FC", "500000000 0: FE",
                          "500000000 5: 90 01 02", "500000000 0: F0 01 02 F7", "1000000000 0: F0 03 04 F7"));
}

TEST(SmfFile, SkipsMetaEventsOfAnyLength) {
  std::string longText = "00 FF 01 81 48";  // 200 bytes
  for (int byte = 0; byte < 200; ++byte) longText += " 61";
  const ByteVector file = smf(Format0, {longText + " 60 90 01 01  00 FF 58 04 04 02 18 08  00 FF 59 02 00 00"
                                                   "  60 01 00  00 FF 7F 00  00 FF 21 01 00  00 FF 2F 00"});
  EXPECT_THAT(linesOf(file), ElementsAre("500000000 0: 90 01 01", "1000000000 0: 90 01 00"));
}

TEST(SmfFile, KeepsRunningStatusAcrossSystemExclusive) {
  EXPECT_THAT(linesOf(smf(Format0, {"00 91 01 01  00 F0 02 05 F7  00 02 02  00 FF 2F 00"})),
              ElementsAre("0 1: 90 01 01", "0 0: F0 05 F7", "0 1: 90 02 02"));
}

TEST(SmfFile, LastsUntilItsLastTrackEnds) {
  EXPECT_EQ(lengthOf(smf(Format1, {"81 40 FF 2F 00", "60 90 01 01  00 FF 2F 00"})), std::chrono::seconds(1));
  EXPECT_EQ(lengthOf(smf(Format1, {"60 FF 2F 00", "81 40 90 01 01"})), std::chrono::seconds(1));
}

TEST(SmfFile, ReadsTimeDivisionsInFrames) {
  EXPECT_THAT(linesOf(smf("0000 0001 E728", {"87 68 90 01 01  00 FF 2F 00"})), ElementsAre("1000000000 0: 90 01 01"));
}

TEST(SmfFile, SkipsUnknownChunksAndTrailingBytes) {
  ByteVector file = chunk("MThd", fromHex("0001 0002 0060 AABB"));  // a longer header
  append(file, chunk("XFIH", fromHex("01 02 03")));
  append(file, chunk("MTrk", fromHex("00 90 01 01")));  // no end of track
  append(file, chunk("1234", {}));
  append(file, chunk("MTrk", fromHex("00 91 02 02  00 FF 2F 00  FF FF FF")));  // more behind its end
  append(file, fromHex("00 00"));
  EXPECT_THAT(linesOf(file), ElementsAre("0 0: 90 01 01", "0 1: 90 02 02"));
}

TEST(SmfFile, WithoutMessagesIsAnEmptyScore) {
  const ByteVector file = smf(Format0, {"60 FF 2F 00"});
  EXPECT_TRUE(linesOf(file).empty());
  EXPECT_EQ(lengthOf(file), std::chrono::milliseconds(500));
  EXPECT_TRUE(linesOf(smf(Format0, {""})).empty());
}

TEST(SmfFile, ErrorsSayWhatIsWrongAndWhere) {
  const struct {
    ByteVector file;
    std::string cause;
  } table[] = {
      {{}, "not a Standard MIDI File (at byte 0)"},
      {fromHex("52494646 00000000"), "not a Standard MIDI File (at byte 0)"},
      {fromHex("4D546864"), "the file ends too early (at byte 4)"},
      {fromHex("4D546864 00000006 0000 0001"), "the file ends too early (at byte 8)"},
      {smf("0000 0001", {}), "the header ends too early (at byte 12)"},
      {smf("0002 0001 0060", {"00 FF 2F 00"}), "format 2 (0 and 1 can be played) (at byte 8)"},
      {smf("0000 0000 0060", {}), "no tracks (at byte 10)"},
      {smf("0000 0001 0000", {"00 FF 2F 00"}), "0 ticks per quarter note (at byte 12)"},
      {smf("0000 0001 E700", {"00 FF 2F 00"}), "invalid time division (at byte 12)"},
      {smf("0000 0001 F028", {"00 FF 2F 00"}), "invalid time division (at byte 12)"},
      {smf(Format1, {"00 FF 2F 00"}), "the file ends too early (at byte 26, track 2 of 2)"},
      {smf(Format1, {"00 FF 2F 00", "00 90 01"}), "the track ends too early (at byte 36, track 2 of 2)"},
      {smf(Format0, {"00"}), "the track ends too early (at byte 23, track 1 of 1)"},
      {smf(Format0, {"80 80"}), "the track ends too early (at byte 24, track 1 of 1)"},
      {smf(Format0, {"80 80 80 80 00 90 01 01"}),
       "variable-length number longer than four bytes (at byte 22, track 1 of 1)"},
      {smf(Format0, {"00 90 01"}), "the track ends too early (at byte 24, track 1 of 1)"},
      {smf(Format0, {"00 01 02"}), "data byte without running status (at byte 23, track 1 of 1)"},
      {smf(Format0, {"00 F6 00 01 02"}), "data byte without running status (at byte 25, track 1 of 1)"},
      {smf(Format0, {"00 90 01 81"}), "a status byte inside a message (at byte 25, track 1 of 1)"},
      {smf(Format0, {"00 F4"}), "invalid status byte 0xF4 (at byte 23, track 1 of 1)"},
      {smf(Format0, {"00 F7 01 FF"}), "invalid status byte 0xFF (at byte 25, track 1 of 1)"},
      {smf(Format0, {"00 F7 02 01 02"}), "invalid status byte 0x01 (at byte 25, track 1 of 1)"},
      {smf(Format0, {"00 F7 02 90 02"}), "the event ends too early (at byte 26, track 1 of 1)"},
      {smf(Format0, {"00 FF"}), "the track ends too early (at byte 24, track 1 of 1)"},
      {smf(Format0, {"00 FF 01 05 61"}), "the track ends too early (at byte 26, track 1 of 1)"},
      {smf(Format0, {"00 FF 51 02 01 02"}), "the event ends too early (at byte 26, track 1 of 1)"},
      {smf(Format0, {"00 FF 51 03 00 00 00"}), "a tempo of 0 microseconds per quarter note (at byte 26, track 1 of 1)"},
      {smf(Format0, {"00 F0 05 01 F7"}), "the track ends too early (at byte 25, track 1 of 1)"},
      {smf(Format0, {"00 F0 02 01 02"}), "the track ends inside a system exclusive message (at byte 27, track 1 of 1)"},
      {smf(Format0, {"00 F0 01 01 00 FF 2F 00 00 F7 01 F7"}),
       "the track ends inside a system exclusive message (at byte 30, track 1 of 1)"},
      {smf(Format0, {"00 F0 01 01 00 F0 01 F7"}),
       "a message inside a system exclusive message (at byte 29, track 1 of 1)"},
      {smf(Format0, {"00 F0 01 01 00 90 01 01"}),
       "a message inside a system exclusive message (at byte 28, track 1 of 1)"},
      {smf(Format0, {"00 F0 03 01 90 F7"}), "a status byte inside a message (at byte 26, track 1 of 1)"},
      {smf("0000 0001 0001", {"00 FF 51 03 FFFFFF FFFFFF7F FF 2F 00"}), "longer than a year"},
  };
  for (const auto& row : table) EXPECT_THAT(linesOf(row.file), ElementsAre(row.cause));
}

TEST(SmfFile, RefusesTooManyTicks) {
  std::string track;
  for (int event = 0; event < 9; ++event) track += "FF FF FF 7F F6 ";
  EXPECT_THAT(linesOf(smf(Format0, {track + "00 FF 2F 00"})),
              ElementsAre("the track is longer than 2^31 ticks (at byte 62, track 1 of 1)"));
}

TEST(SmfFile, RefusesAMessageAboveTheLimit) {
  const auto exclusive = [](std::size_t size) {
    ByteVector track = fromHex("00 F0");
    const auto inFile = static_cast<std::uint32_t>(size - 1);
    for (const unsigned shift : {14U, 7U})
      track.push_back(static_cast<std::uint8_t>(0x80U | (inFile >> shift & 0x7FU)));
    track.push_back(inFile & 0x7FU);
    track.resize(track.size() + size - 2, 1);
    append(track, fromHex("F7 00 FF 2F 00"));
    ByteVector file = chunk("MThd", fromHex(Format0));
    append(file, chunk("MTrk", track));
    return file;
  };
  const auto whole = parseSmf(exclusive(device::MaxMessageBytes));
  ASSERT_TRUE(std::holds_alternative<Score>(whole));
  EXPECT_EQ(std::get<Score>(whole).events.at(0).bytes.size(), device::MaxMessageBytes);
  EXPECT_THAT(linesOf(exclusive(device::MaxMessageBytes + 1)),
              ElementsAre(testing::StartsWith("a system exclusive message of more than 1048576 bytes")));
}

TEST(SmfFile, CutAnywhereIsRefused) {
  const ByteVector file =
      smf(Format1, {"00 FF 03 04 6E616D65  00 FF 51 03 07A120  00 90 01 01  60 01 00  00 F0 03 01 02 F7  00 FF 2F 00",
                    "00 F7 02 F3 01  00 C1 05  60 F0 02 01 02  60 F7 01 F7  00 FF 2F 00"});
  ASSERT_EQ(linesOf(file).size(), 6U);
  for (std::size_t size = 0; size < file.size(); ++size) {
    // A copy of exactly this size, so that a read past its end is seen by the sanitizers.
    const ByteVector cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_TRUE(std::holds_alternative<std::string>(parseSmf(cut))) << size;
  }
}

TEST(SmfFile, SurvivesAnyWrongByte) {
  ByteVector file =
      smf(Format0, {"00 FF 03 02 6E61  00 90 01 01  60 01 00  00 F0 03 01 02 F7  00 F7 01 F8  00 FF 2F 00"});
  for (std::uint8_t& byte : file) {
    const std::uint8_t kept = byte;
    for (int value = 0; value < 256; ++value) {
      byte = static_cast<std::uint8_t>(value);
      const auto parsed = parseSmf(file);
      const auto* score = std::get_if<Score>(&parsed);
      if (score == nullptr) continue;
      device::Time last{};
      for (const ScoreEvent& event : score->events) {
        EXPECT_GE(event.time, last);
        EXPECT_GE(event.bytes.at(0), 0x80);
        last = event.time;
      }
      EXPECT_GE(score->length, last);
    }
    byte = kept;
  }
}

// One that needs a time for each event that grows with the events would not come to an end here.
TEST(SmfFile, ReadsTwoMillionEventsInOrder) {
  constexpr std::uint32_t Tracks = 4;
  constexpr std::uint32_t Each = 500'000;
  ByteVector file = chunk("MThd", fromHex("0001 0004 0060"));
  for (std::uint32_t number = 0; number < Tracks; ++number) {
    ByteVector track = fromHex("00 90");
    track.back() |= static_cast<std::uint8_t>(number);
    track.reserve(4 * std::size_t{Each});
    for (std::uint32_t event = 0; event < Each; ++event) {
      if (event > 0) track.push_back(1);
      append(track, {static_cast<std::uint8_t>(event & 0x7FU), static_cast<std::uint8_t>(event >> 7U & 0x7FU)});
    }
    append(file, chunk("MTrk", track));
  }
  const auto parsed = parseSmf(file);
  ASSERT_TRUE(std::holds_alternative<Score>(parsed)) << std::get<std::string>(parsed);
  const auto& events = std::get<Score>(parsed).events;
  ASSERT_EQ(events.size(), std::size_t{Tracks} * Each);
  const TempoMap tempo(TimeBase::perQuarter(0x60), {});
  std::size_t wrong = 0;
  for (std::uint32_t index = 0; index < Tracks * Each; ++index) {
    const std::uint32_t tick = index / Tracks;
    const ByteVector bytes{0x90, static_cast<std::uint8_t>(tick & 0x7FU),
                           static_cast<std::uint8_t>(tick >> 7U & 0x7FU)};
    if (events[index] != ScoreEvent{*tempo.at(tick), static_cast<std::uint16_t>(index % Tracks), bytes}) ++wrong;
  }
  EXPECT_EQ(wrong, 0U);
}

TEST(SmfFile, IsLoadedFromDisk) {
  const std::string path = testing::TempDir() + "smf_file_test.mid";
  writeFile(path, smf(Format0, {"00 90 01 01  00 FF 2F 00"}));
  const auto loaded = loadSmf(path);
  ASSERT_TRUE(std::holds_alternative<Score>(loaded));
  EXPECT_EQ(std::get<Score>(loaded).events.size(), 1U);
  std::remove(path.c_str());
  EXPECT_EQ(std::get<std::string>(loadSmf(path)), "No such file or directory");
  EXPECT_EQ(std::get<std::string>(loadSmf(testing::TempDir())), "not a regular file");
}

TEST(SmfFile, WritesNothingToStandardError) {
  testing::internal::CaptureStderr();
  linesOf(smf(Format0, {"00 90 01 01  00 FF 2F 00"}));
  linesOf(smf(Format0, {"00 90 01"}));
  linesOf(smf(Format0, {"00 01 02"}));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace midi
