#include "platform/wire/messages.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/platform/wire/bytes_of.h"

namespace wire {
namespace {

const std::vector<std::uint8_t> EntryBytes = bytesOf("02 07 00 00 00 00 00 00 00");

// One message of each kind, with every field different, and all its bytes. The tag is 0x0A0B0C0D.
struct Sample {
  const char* name;
  Body body;
  const char* bytes;
  bool openEnd = false;  // its last field takes whatever follows
};

std::vector<Sample> samples() {
  constexpr std::uint64_t Session = 0x1122334455667788;
  constexpr Token Secret{0x0102030405060708, 0x1112131415161718};
  const device::SideOfGroup numbered{3, "KeysOut", {}};
  const device::SideOfGroup listed{2, "", {"a", "bc"}};
  return {
      {"Hello", Hello{}, "E5 03 01 01 0D 0C 0B 0A"},
      {"Goodbye", Goodbye{Session}, "E5 03 02 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11"},
      {"Tap", Tap{Session, 5, 1004, "In1"},
       "E5 03 03 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11 05 00 00 00 EC 03 00 00 03 00 'In1'"},
      {"Untap", Untap{Session, 5, "In1"}, "E5 03 04 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11 05 00 00 00 03 00 'In1'"},
      {"UntapAll", UntapAll{Session, 5}, "E5 03 05 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11 05 00 00 00"},
      {"Patch", Patch{Session, true, {0x0102030405060708, 0x0304, 0x0506, 0x0708}, 0x1112131415161718},
       "E5 03 06 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11 01"
       "08 07 06 05 04 03 02 01 04 03 06 05 00 00 00 00 00 00 08 07 18 17 16 15 14 13 12 11"},
      {"Unpatch", Patch{Session, false, {1, 2, 3, 4}},
       "E5 03 06 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11 00"
       "01 00 00 00 00 00 00 00 02 00 03 00 00 00 00 00 00 00 04 00 00 00 00 00 00 00 00 00"},
      {"AskTopology", AskTopology{Session}, "E5 03 07 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11"},
      {"AskLinks", AskLinks{Session}, "E5 03 08 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11"},
      {"Send", Send{Session, 5, 0x0203, {0x90, 0x3C, 0x40}},
       "E5 03 09 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11 05 00 00 00 03 02 03 00 00 00 90 3C 40"},
      {"Inject", Inject{Session, "In1", {{0x0203, {0xF8}}, {4, {0x90, 0x3C}}}},
       "E5 03 0A 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11 03 00 'In1' 02 00 00 00"
       "03 02 01 00 00 00 F8 04 00 02 00 00 00 90 3C"},
      {"AskStats", AskStats{Session}, "E5 03 0B 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11"},
      {"Welcome", Welcome{Session, 1024, Secret},
       "E5 03 01 02 0D 0C 0B 0A 88 77 66 55 44 33 22 11 00 04 00 00 08 07 06 05 04 03 02 01 18 17 16 15 14 13 12 11"},
      {"Result", Result{device::Status::Refused, 0x0102030405060708},
       "E5 03 02 02 0D 0C 0B 0A 05 00 00 00 08 07 06 05 04 03 02 01"},
      {"Topology",
       Topology{{{0x0102030405060708, "Keys", numbered, std::nullopt, {}, 41}, {8, "X", std::nullopt, listed}}},
       "E5 03 03 02 0D 0C 0B 0A 01 00 02 00 00 00"
       "08 07 06 05 04 03 02 01 01 29 00 04 00 'Keys' 01 03 00 07 00 'KeysOut' 00 00 00 00 00"
       "08 00 00 00 00 00 00 00 00 01 00 'X' 00 01 02 00 00 00 02 00 00 00 01 00 'a' 02 00 'bc'"},
      {"first piece of Topology", Topology{{{8, "X", std::nullopt, device::SideOfGroup{2, "", {"a"}}}}, {true, true}},
       "E5 03 03 02 0D 0C 0B 0A 01 01 01 00 00 00"
       "08 00 00 00 00 00 00 00 00 01 00 'X' 00 01 02 00 00 00 01 00 00 00 01 00 'a'"},
      {"last piece of Topology", Topology{{{8, "X", std::nullopt, device::SideOfGroup{2, "", {"bc"}}}}, {false, false}},
       "E5 03 03 02 0D 0C 0B 0A 00 00 01 00 00 00"
       "08 00 00 00 00 00 00 00 00 01 00 'X' 00 01 02 00 00 00 01 00 00 00 02 00 'bc'"},
      {"piece of Links", Links{9, {{{1, 2, 3, 4}}}, {false, true}},
       "E5 03 04 02 0D 0C 0B 0A 00 01 09 00 00 00 00 00 00 00 01 00 00 00"
       "01 00 00 00 00 00 00 00 02 00 03 00 00 00 00 00 00 00 04 00 00"},
      {"piece of Stats", Stats{1, 2, 3, 4, {}, 5, 6, {false, true}},
       "E5 03 07 02 0D 0C 0B 0A 00 01 01 00 00 00 00 00 00 00 02 00 00 00 00 00 00 00 03 00 00 00 00 00 00 00"
       "04 00 00 00 00 00 00 00 00 00 00 00 05 00 00 00 00 00 00 00 06 00 00 00 00 00 00 00"},
      {"piece of Originals", Originals{{{0x0102, {}, {}, {{'b'}}}}, {false, true}},
       "E5 03 08 02 0D 0C 0B 0A 00 01 01 00 00 00"
       "02 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 01 00 00 00 'b'"},
      {"Links", Links{9, {{{1, 2, 3, 4}}, {{0x0102, 0x0304, 0x0506, 0x0708}, true}}},
       "E5 03 04 02 0D 0C 0B 0A 01 00 09 00 00 00 00 00 00 00 02 00 00 00"
       "01 00 00 00 00 00 00 00 02 00 03 00 00 00 00 00 00 00 04 00 00"
       "02 01 00 00 00 00 00 00 04 03 06 05 00 00 00 00 00 00 08 07 01"},
      {"Taken", Taken{0x0102030405060708, 0x1112131415161718},
       "E5 03 05 02 0D 0C 0B 0A 08 07 06 05 04 03 02 01 18 17 16 15 14 13 12 11"},
      {"Stats", Stats{1, 2, 3, 4, {{"top", 5, 6, 7, 8, 9, 0x0A0B, 0x0E0F}}, 0x0C0D, 0x1011},
       "E5 03 07 02 0D 0C 0B 0A 01 00 01 00 00 00 00 00 00 00 02 00 00 00 00 00 00 00 03 00 00 00 00 00 00 00"
       "04 00 00 00 00 00 00 00 01 00 00 00 03 00 'top' 05 00 00 00 06 00 00 00"
       "07 00 00 00 00 00 00 00 08 00 00 00 00 00 00 00 09 00 00 00 00 00 00 00 0B 0A 00 00 00 00 00 00"
       "0F 0E 00 00 00 00 00 00 0D 0C 00 00 00 00 00 00 11 10 00 00 00 00 00 00"},
      {"AskOriginals", AskOriginals{Session}, "E5 03 0C 01 0D 0C 0B 0A 88 77 66 55 44 33 22 11"},
      {"Originals", Originals{{{0x0102, {'a', '/'}, {{0xFF}, {}}, {}}}},
       "E5 03 08 02 0D 0C 0B 0A 01 00 01 00 00 00"
       "02 01 00 00 00 00 00 00 02 00 00 00 'a/' 02 00 00 00 01 00 00 00 FF 00 00 00 00 00 00 00 00"},
      {"OpenEvents", OpenEvents{Session, Secret},
       "E5 03 01 03 0D 0C 0B 0A 88 77 66 55 44 33 22 11 08 07 06 05 04 03 02 01 18 17 16 15 14 13 12 11"},
      {"Consumed", Consumed{Session, 0x0102030405060708},
       "E5 03 02 03 0D 0C 0B 0A 88 77 66 55 44 33 22 11 08 07 06 05 04 03 02 01"},
      {"Events", Events{EntryBytes}, "E5 03 03 03 0D 0C 0B 0A 02 07 00 00 00 00 00 00 00", true},
      {"TopologyChanged", TopologyChanged{}, "E5 03 04 03 0D 0C 0B 0A"},
      {"OpenGraph", OpenGraph{Session, Secret},
       "E5 03 01 04 0D 0C 0B 0A 88 77 66 55 44 33 22 11 08 07 06 05 04 03 02 01 18 17 16 15 14 13 12 11"},
      {"GraphSeen", GraphSeen{Session, 6}, "E5 03 02 04 0D 0C 0B 0A 88 77 66 55 44 33 22 11 06 00 00 00 00 00 00 00"},
      {"GraphChanged", GraphChanged{6, true, {{1, 2, 3, 4}, true}},
       "E5 03 03 04 0D 0C 0B 0A 06 00 00 00 00 00 00 00 01"
       "01 00 00 00 00 00 00 00 02 00 03 00 00 00 00 00 00 00 04 00 01"},
      {"GraphStale", GraphStale{}, "E5 03 04 04 0D 0C 0B 0A"},
  };
}

constexpr std::uint32_t Tag = 0x0A0B0C0D;

DecodeError errorOf(std::span<const std::uint8_t> bytes) {
  DecodeError error = DecodeError::None;
  return decode(bytes, &error) ? DecodeError::None : error;
}

TEST(Messages, EveryKindHasItsBytes) {
  for (const Sample& sample : samples()) EXPECT_EQ(encode(Tag, sample.body), bytesOf(sample.bytes)) << sample.name;
}

TEST(Messages, SamplesCoverEveryKind) {
  std::vector<bool> seen(std::variant_size_v<Body>);
  for (const Sample& sample : samples()) seen[sample.body.index()] = true;
  EXPECT_EQ(seen, std::vector<bool>(seen.size(), true));
}

TEST(Messages, EveryKindIsDecodedAsItWasEncoded) {
  for (const Sample& sample : samples()) {
    const auto bytes = bytesOf(sample.bytes);
    DecodeError error = DecodeError::Malformed;
    const auto envelope = decode(bytes, &error);
    ASSERT_TRUE(envelope) << sample.name;
    EXPECT_EQ(error, DecodeError::None) << sample.name;
    EXPECT_EQ(envelope->tag, Tag) << sample.name;
    EXPECT_EQ(envelope->body.index(), sample.body.index()) << sample.name;
    EXPECT_EQ(encode(envelope->tag, envelope->body), bytes) << sample.name;
  }
}

TEST(Messages, EventsAreAViewOfTheDecodedBytes) {
  const auto bytes = encode(0, Events{EntryBytes});
  const auto envelope = decode(bytes);
  ASSERT_TRUE(envelope);
  EXPECT_EQ(std::get<Events>(envelope->body).entries.data(), bytes.data() + 8);
}

TEST(Messages, CutAnywhereIsRefused) {
  for (const Sample& sample : samples()) {
    const auto bytes = bytesOf(sample.bytes);
    const std::size_t shortest = sample.openEnd ? 8 : bytes.size();
    for (std::size_t size = 0; size < shortest; ++size) {
      // On its own on the heap, so that reading past the end is seen.
      const std::vector<std::uint8_t> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_EQ(errorOf(cut), DecodeError::Malformed) << sample.name << " cut to " << size;
    }
  }
}

TEST(Messages, TrailingBytesAreRefused) {
  for (const Sample& sample : samples()) {
    if (sample.openEnd) continue;
    auto bytes = bytesOf(sample.bytes);
    bytes.push_back(0);
    EXPECT_EQ(errorOf(bytes), DecodeError::Malformed) << sample.name;
  }
}

TEST(Messages, BytesThatAreNoMessageAreRefused) {
  struct Case {
    const char* what;
    const char* bytes;
    DecodeError error;
  };
  const Case cases[] = {
      {"nothing", "", DecodeError::Malformed},
      {"other magic", "E4 03 04 04 00 00 00 00", DecodeError::Malformed},
      {"other magic and version", "E4 04 04 04 00 00 00 00", DecodeError::Malformed},
      {"next version", "E5 04 04 04 00 00 00 00", DecodeError::WrongVersion},
      {"version 0", "E5 00 04 04 00 00 00 00", DecodeError::WrongVersion},
      {"next version, in a form unknown here", "E5 04 'anything at all'", DecodeError::WrongVersion},
      {"kind 0", "E5 03 00 00 00 00 00 00", DecodeError::Malformed},
      {"a kind after the last", "E5 03 05 04 00 00 00 00", DecodeError::Malformed},
      {"name that reaches past the end", "E5 03 04 01 00 00 00 00 88 77 66 55 44 33 22 11 05 00 00 00 08 00 'top'",
       DecodeError::Malformed},
      {"name of 65535 bytes", "E5 03 04 01 00 00 00 00 88 77 66 55 44 33 22 11 05 00 00 00 FF FF 'top'",
       DecodeError::Malformed},
      {"truth value 2",
       "E5 03 06 01 00 00 00 00 01 00 00 00 00 00 00 00 02"
       "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
       DecodeError::Malformed},
      {"unknown status", "E5 03 02 02 00 00 00 00 06 00 00 00 00 00 00 00 00 00 00 00", DecodeError::Malformed},
      {"message of 4 GiB", "E5 03 09 01 00 00 00 00 01 00 00 00 00 00 00 00 05 00 00 00 00 00 FF FF FF FF 90",
       DecodeError::Malformed},
      {"4294967295 groups", "E5 03 03 02 00 00 00 00 01 00 FF FF FF FF 00 00 00 00 00 00 00 00 00 00 00 00 00",
       DecodeError::Malformed},
      {"two groups where one has room",
       "E5 03 03 02 00 00 00 00 01 00 02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", DecodeError::Malformed},
      {"4294967295 links",
       "E5 03 04 02 00 00 00 00 01 00 00 00 00 00 00 00 00 00 FF FF FF FF"
       "01 00 00 00 00 00 00 00 02 00 03 00 00 00 00 00 00 00 04 00 00",
       DecodeError::Malformed},
      {"4294967295 names",
       "E5 03 03 02 00 00 00 00 01 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 FF FF 00 00 FF FF FF FF 00",
       DecodeError::Malformed},
      {"two names for three ports",
       "E5 03 03 02 00 00 00 00 01 00 01 00 00 00 08 00 00 00 00 00 00 00 00 00 00 00 01 03 00 00 00 02 00 00 00 01 00 "
       "'a' "
       "01 00 'b'",
       DecodeError::Malformed},
      {"a piece that is neither the first nor not", "E5 03 03 02 00 00 00 00 02 00 00 00 00 00",
       DecodeError::Malformed},
      {"more pieces or not", "E5 03 03 02 00 00 00 00 01 02 00 00 00 00", DecodeError::Malformed},
      {"a side that is neither there nor not",
       "E5 03 03 02 00 00 00 00 01 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02 00", DecodeError::Malformed},
      {"an id that is neither there nor not",
       "E5 03 03 02 00 00 00 00 01 00 01 00 00 00 00 00 00 00 00 00 00 00 02 00 00 00 00", DecodeError::Malformed},
  };
  for (const Case& c : cases) EXPECT_EQ(errorOf(bytesOf(c.bytes)), c.error) << c.what;
}

TEST(Messages, NamesMayBeMissingOnlyWhereAPieceIsCut) {
  const device::Group whole{1, "G", device::SideOfGroup{2, "", {"a", "b"}}, std::nullopt};
  const device::Group cut{2, "G", std::nullopt, device::SideOfGroup{3, "", {"a", "b"}}};
  struct Case {
    std::vector<device::Group> groups;
    Part part;
    bool isAllowed;
  };
  constexpr Part First{.first = true, .more = true};
  constexpr Part Middle{.first = false, .more = true};
  constexpr Part Last{.first = false, .more = false};
  const Case cases[] = {
      {{whole, cut}, {}, false},     {{cut, whole}, {}, false},    {{cut}, First, true},
      {{whole, cut}, First, true},   {{cut, whole}, First, false}, {{cut, whole, cut}, Middle, true},
      {{whole, cut}, Middle, true},  {{cut, whole}, Middle, true}, {{whole, cut, whole}, Middle, false},
      {{cut, whole}, Last, true},    {{whole, cut}, Last, false},  {{cut}, Last, true},
      {{whole, whole}, First, true}, {{whole, whole}, {}, true},
  };
  for (const Case& c : cases) {
    const auto bytes = encode(Tag, Topology{c.groups, c.part});
    EXPECT_EQ(errorOf(bytes), c.isAllowed ? DecodeError::None : DecodeError::Malformed) << &c - cases;
  }
}

TEST(Messages, LongestNameIsAcceptedAndALongerOneRefused) {
  const auto bytes = encode(1, Untap{1, 2, std::string(device::MaxNameBytes, 'n')});
  const auto envelope = decode(bytes);
  ASSERT_TRUE(envelope);
  EXPECT_EQ(std::get<Untap>(envelope->body).name, std::string(device::MaxNameBytes, 'n'));

  auto longer = bytes;
  ++longer[20];
  longer.push_back('n');
  EXPECT_EQ(errorOf(longer), DecodeError::Malformed);
}

TEST(Messages, LongestMidiMessageIsAcceptedAndALongerOneRefused) {
  const auto bytes = encode(1, Send{1, 2, 3, std::vector<std::uint8_t>(device::MaxMessageBytes, 0x41)});
  const auto envelope = decode(bytes);
  ASSERT_TRUE(envelope);
  EXPECT_EQ(std::get<Send>(envelope->body).bytes.size(), device::MaxMessageBytes);

  auto longer = bytes;
  ++longer[22];
  longer.push_back(0x41);
  EXPECT_EQ(errorOf(longer), DecodeError::Malformed);
}

TEST(Messages, TagIsReadFromBytesThatCannotBeDecoded) {
  struct Case {
    const char* bytes;
    std::optional<std::uint32_t> tag;
  };
  const Case cases[] = {
      {"E5 03 04 04 0D 0C 0B 0A", Tag},
      {"E5 03 99 99 0D 0C 0B 0A", Tag},
      {"E5 07 04 04 0D 0C 0B 0A 'anything at all'", Tag},
      {"E4 02 04 04 0D 0C 0B 0A", std::nullopt},
      {"E5 03 04 04 0D 0C 0B", std::nullopt},
      {"E5", std::nullopt},
      {"", std::nullopt},
  };
  for (const Case& c : cases) EXPECT_EQ(tagOf(bytesOf(c.bytes)), c.tag) << c.bytes;
}

TEST(Messages, DecodeErrorMayBeIgnored) { EXPECT_FALSE(decode({})); }

}  // namespace
}  // namespace wire
