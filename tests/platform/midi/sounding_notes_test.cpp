#include "platform/midi/sounding_notes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/midi/smf_maker.h"

namespace midi {
namespace {

// "3: 90 3C 40" is a message with group id 3.
void pass(SoundingNotes& notes, const std::string& text) {
  const auto colon = text.find(':');
  const ByteVector bytes = fromHex(text.substr(colon + 1));
  notes.passed({static_cast<std::uint16_t>(std::stoul(text.substr(0, colon))), bytes});
}

std::vector<std::string> ends(SoundingNotes& notes) {
  std::vector<std::string> texts;
  for (const ScoreEvent& event : notes.takeEnds()) {
    EXPECT_EQ(event.time, device::Time{});
    texts.push_back(std::to_string(event.group) + ": " + toHex(event.bytes));
  }
  return texts;
}

TEST(SoundingNotes, HaveEndingMessagesUntilTheyEnd) {
  using Texts = std::vector<std::string>;
  const struct {
    const char* what;
    Texts passed;
    Texts ends;
  } table[] = {
      {"nothing", {}, {}},
      {"a note", {"0: 90 3C 40"}, {"0: 80 3C 40"}},
      {"with its note-off", {"0: 90 3C 40", "0: 80 3C 00"}, {}},
      {"with a note-on of velocity 0", {"0: 90 3C 40", "0: 90 3C 00"}, {}},
      {"nothing but a note-off", {"0: 80 3C 40", "0: 90 3D 00"}, {}},
      {"struck again", {"0: 90 3C 40", "0: 80 3C 40", "0: 90 3C 01"}, {"0: 80 3C 40"}},
      {"struck twice", {"0: 90 3C 40", "0: 90 3C 40"}, {"0: 80 3C 40"}},
      {"struck twice, ended once", {"0: 90 3C 40", "0: 90 3C 40", "0: 80 3C 40"}, {}},
      {"another one ended", {"0: 90 3C 40", "0: 80 3D 40"}, {"0: 80 3C 40"}},
      {"another group's ended", {"1: 90 3C 40", "0: 80 3C 40", "256: 80 3C 40"}, {"1: 80 3C 40"}},
      {"by group, then by note",
       {"65535: 90 00 01", "2: 90 7F 01", "2: 90 00 7F", "15: 90 3C 01"},
       {"2: 80 00 40", "2: 80 7F 40", "15: 80 3C 40", "65535: 80 00 40"}},
      {"pedals, behind all notes",
       {"1: B0 42 40", "1: B0 40 7F", "0: B0 40 40", "3: 90 3C 01"},
       {"3: 80 3C 40", "0: B0 40 00", "1: B0 40 00", "1: B0 42 00"}},
      {"pedals that are up", {"0: B0 40 7F", "0: B0 40 3F", "0: B0 42 00", "1: B0 42 3F"}, {}},
      {"other controllers", {"0: B0 41 7F", "0: B0 43 7F", "0: B0 7B 00", "0: B0 01 7F"}, {}},
      {"other messages", {"0: A0 3C 40", "0: C0 40", "0: D0 3C", "0: E0 40 40", "0: F8", "0: F2 3C 40"}, {}},
      {"system exclusive", {"0: F0 90 3C 40 F7", "0: F0 3C F7"}, {}},
      {"what is no message", {"0: 90", "0: 90 3C", "0: 90 3C 40 40", "0: 3C 40 40", "0: 90 80 40", "0: 90 FF 40"}, {}},
      {"a channel in the status byte", {"0: 93 3C 40"}, {}},
  };
  for (const auto& row : table) {
    SoundingNotes notes;
    for (const std::string& message : row.passed) pass(notes, message);
    EXPECT_EQ(ends(notes), row.ends) << row.what;
    EXPECT_EQ(ends(notes), Texts{}) << row.what << ", a second time";
  }
}

TEST(SoundingNotes, IgnoreAnEmptyMessage) {
  SoundingNotes notes;
  notes.passed({0, {}});
  EXPECT_EQ(ends(notes).size(), 0U);
}

TEST(SoundingNotes, CanAllSoundAtOnce) {
  SoundingNotes notes;
  for (std::uint16_t group = 0; group < 16; ++group) {
    for (std::uint8_t note = 0; note < 128; ++note) notes.passed({group, ByteVector{0x90, note, 1}});
  }
  const auto all = notes.takeEnds();
  ASSERT_EQ(all.size(), 16U * 128U);
  EXPECT_EQ(all.back(), (ScoreEvent{{}, 15, {0x80, 127, 64}}));
}

}  // namespace
}  // namespace midi
