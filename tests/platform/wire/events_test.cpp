#include "platform/wire/events.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/wire/messages.h"
#include "tests/platform/wire/bytes_of.h"

namespace wire {
namespace {

constexpr const char* HeaderSample = "00 00 01 00 1D 00 00 00 04 03 02 01 18 17 16 15 14 13 12 11";
constexpr const char* RecordSample = "05 00 00 00 02 01 90 3C 40";
constexpr const char* EntrySample =
    "01 0D 0C 0B 0A 04 00 'Out1' 1D 00 00 00"
    "00 00 01 00 1D 00 00 00 04 03 02 01 18 17 16 15 14 13 12 11"
    "05 00 00 00 02 01 90 3C 40";
constexpr const char* LossSample = "02 08 07 06 05 04 03 02 01";

EventHeader sampleHeader() { return {.size = 29, .sequence = 0x01020304, .time = 0x1112131415161718}; }

std::vector<std::uint8_t> sampleEvent() { return bytesOf(std::string(HeaderSample) + RecordSample); }

TEST(EventHeader, HasItsBytes) {
  std::array<std::uint8_t, EventHeaderBytes> out{};
  writeEventHeader(sampleHeader(), out);
  EXPECT_EQ(std::vector(out.begin(), out.end()), bytesOf(HeaderSample));
}

TEST(EventHeader, IsWrittenLittleEndianOnly) {
  std::array<std::uint8_t, EventHeaderBytes> out{};
  auto header = sampleHeader();
  header.bigEndian = true;
  writeEventHeader(header, out);
  EXPECT_EQ(std::vector(out.begin(), out.end()), bytesOf(HeaderSample));
}

TEST(EventHeader, IsReadInBothByteOrders) {
  struct Case {
    const char* bytes;
    bool bigEndian;
  };
  const Case cases[] = {
      {"00 00 01 00 14 00 00 00 04 03 02 01 18 17 16 15 14 13 12 11", false},
      {"02 00 01 00 14 00 00 00 04 03 02 01 18 17 16 15 14 13 12 11", false},
      {"FF 00 01 00 14 00 00 00 04 03 02 01 18 17 16 15 14 13 12 11", false},
      {"01 00 00 01 00 00 00 14 01 02 03 04 11 12 13 14 15 16 17 18", true},
  };
  for (const Case& c : cases) {
    const auto header = readEventHeader(bytesOf(c.bytes));
    ASSERT_TRUE(header) << c.bytes;
    EXPECT_EQ(header->bigEndian, c.bigEndian) << c.bytes;
    EXPECT_EQ(header->type, DebugReceiveEvent) << c.bytes;
    EXPECT_EQ(header->size, EventHeaderBytes) << c.bytes;
    EXPECT_EQ(header->sequence, 0x01020304U) << c.bytes;
    EXPECT_EQ(header->time, 0x1112131415161718U) << c.bytes;
  }
}

TEST(EventHeader, IsRefusedWhenItsSizeIsNotTheEvents) {
  const auto event = sampleEvent();
  EXPECT_TRUE(readEventHeader(event));
  for (std::size_t size = 0; size < event.size(); ++size) {
    const std::vector<std::uint8_t> cut(event.begin(), event.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(readEventHeader(cut)) << size;
  }
  auto longer = event;
  longer.push_back(0);
  EXPECT_FALSE(readEventHeader(longer));
}

TEST(Record, HasItsBytes) {
  std::vector<std::uint8_t> out = bytesOf("77");
  appendRecord(0x0102, bytesOf("90 3C 40"), out);
  EXPECT_EQ(out, bytesOf(std::string("77") + RecordSample));
}

TEST(Record, FrontTakesLargeLengths) {
  const auto front = recordFront(0xFFFE, 0x01020304);
  EXPECT_EQ(std::vector(front.begin(), front.end()), bytesOf("06 03 02 01 FE FF"));
}

TEST(EventEntry, HasItsBytes) {
  const auto event = sampleEvent();
  std::vector<std::uint8_t> out;
  appendEventEntry({0x0A0B0C0D, "Out1", event, 0}, out);
  EXPECT_EQ(out, bytesOf(EntrySample));
  EXPECT_EQ(out.size(), eventEntryBytes("Out1", 9));
}

TEST(EventEntry, MayBeBegunAndItsRecordsFollow) {
  std::vector<std::uint8_t> out;
  beginEventEntry(0x0A0B0C0D, "Out1", sampleHeader(), out);
  appendRecord(0x0102, bytesOf("90 3C 40"), out);
  EXPECT_EQ(out, bytesOf(EntrySample));
}

TEST(EventEntry, LossHasItsBytes) {
  std::vector<std::uint8_t> out;
  appendEventEntry({.lost = 0x0102030405060708}, out);
  EXPECT_EQ(out, bytesOf(LossSample));
  EXPECT_EQ(out.size(), LossEntryBytes);
}

TEST(EventEntry, LossBeforeAnEventHasItsBytesAndIsDecoded) {
  std::vector<std::uint8_t> out;
  appendEventEntry({.lostBefore = 0x0102030405060708}, out);
  EXPECT_EQ(out, bytesOf("03 08 07 06 05 04 03 02 01"));
  EXPECT_EQ(out.size(), LossEntryBytes);
  appendEventEntry({.lostBefore = 0}, out);
  EventReader reader(out);
  const auto counted = reader.next();
  const auto uncounted = reader.next();
  ASSERT_TRUE(counted && uncounted);
  EXPECT_EQ(counted->lostBefore, 0x0102030405060708U);
  EXPECT_EQ(counted->lost, 0U);
  EXPECT_EQ(uncounted->lostBefore, 0U);
  EXPECT_FALSE(reader.next());
  EXPECT_TRUE(reader.ok());
}

TEST(EventReader, ReadsEntriesInOrder) {
  const auto bytes = bytesOf(std::string(EntrySample) + LossSample + EntrySample);
  EventReader reader(bytes);
  const auto first = reader.next();
  const auto second = reader.next();
  const auto third = reader.next();
  ASSERT_TRUE(first && second && third);
  EXPECT_EQ(first->eventPort, 0x0A0B0C0DU);
  EXPECT_EQ(first->port, "Out1");
  EXPECT_EQ(std::vector(first->event.begin(), first->event.end()), sampleEvent());
  EXPECT_EQ(first->lost, 0U);
  EXPECT_EQ(second->lost, 0x0102030405060708U);
  EXPECT_TRUE(second->event.empty());
  EXPECT_EQ(third->port, "Out1");
  EXPECT_FALSE(reader.next());
  EXPECT_TRUE(reader.ok());
}

TEST(EventReader, NothingIsNoError) {
  EventReader reader({});
  EXPECT_FALSE(reader.next());
  EXPECT_TRUE(reader.ok());
}

TEST(EventReader, CutInsideAnEntryIsAnError) {
  for (const char* sample : {EntrySample, LossSample}) {
    const auto bytes = bytesOf(sample);
    for (std::size_t size = 1; size < bytes.size(); ++size) {
      const std::vector<std::uint8_t> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
      EventReader reader(cut);
      EXPECT_FALSE(reader.next()) << size;
      EXPECT_FALSE(reader.ok()) << size;
      EXPECT_FALSE(reader.next()) << size;
    }
  }
}

TEST(EventReader, MalformedEntriesAreRefusedButNotThoseBefore) {
  struct Case {
    const char* what;
    std::string bytes;
  };
  const Case cases[] = {
      {"unknown kind", "00"},
      {"another unknown kind", "04 01 00 00 00 00 00 00 00"},
      {"loss of nothing", "02 00 00 00 00 00 00 00 00"},
      {"event shorter than its header", "01 00 00 00 00 00 00 13 00 00 00 '1234567890123456789'"},
      {"event of 4 GiB", "01 00 00 00 00 00 00 FF FF FF FF '12345678901234567890'"},
      {"name longer than a port's",
       "01 00 00 00 00 40 00 '" + std::string(device::MaxNameBytes + 1, 'n') + "' 14 00 00 00 '12345678901234567890'"},
  };
  for (const Case& c : cases) {
    const auto bytes = bytesOf(LossSample + c.bytes + EntrySample);
    EventReader reader(bytes);
    EXPECT_TRUE(reader.next()) << c.what;
    EXPECT_FALSE(reader.next()) << c.what;
    EXPECT_FALSE(reader.ok()) << c.what;
    EXPECT_FALSE(reader.next()) << c.what;
  }
}

TEST(EventReader, TakesTheLongestName) {
  const std::string name(device::MaxNameBytes, 'n');
  const auto event = sampleEvent();
  std::vector<std::uint8_t> out;
  appendEventEntry({1, name, event, 0}, out);
  EventReader reader(out);
  const auto entry = reader.next();
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->port, name);
}

using Bytes = std::vector<std::uint8_t>;

struct ReadRecords {
  std::vector<std::pair<std::uint16_t, Bytes>> records;
  bool ok = false;
};

ReadRecords readRecords(const Bytes& bytes, bool bigEndian = false) {
  ReadRecords read;
  RecordReader reader(bytes, bigEndian);
  while (const auto record = reader.next()) {
    read.records.emplace_back(record->group, Bytes(record->message.begin(), record->message.end()));
  }
  read.ok = reader.ok();
  return read;
}

TEST(Records, AreReadInBothByteOrders) {
  const std::vector<std::pair<std::uint16_t, Bytes>> expected{{0x0102, bytesOf("90 3C 40")}, {3, bytesOf("F8")}};
  const auto little = readRecords(bytesOf("05 00 00 00 02 01 90 3C 40 03 00 00 00 03 00 F8"));
  EXPECT_EQ(little.records, expected);
  EXPECT_TRUE(little.ok);
  const auto big = readRecords(bytesOf("00 00 00 05 01 02 90 3C 40 00 00 00 03 00 03 F8"), true);
  EXPECT_EQ(big.records, expected);
  EXPECT_TRUE(big.ok);
}

TEST(Records, EndAtAMalformedOne) {
  const Bytes whole = bytesOf("03 00 00 00 03 00 F8");
  EXPECT_TRUE(readRecords({}).ok);
  for (const char* rest : {"00 00 00 00 00 00 F8", "01 00 00 00 00 00 F8", "02 00 00 00 00 00 F8",
                           "04 00 00 00 00 00 F8", "FF FF FF FF 00 00 F8"}) {
    Bytes bytes = whole;
    const Bytes malformed = bytesOf(rest);
    bytes.insert(bytes.end(), malformed.begin(), malformed.end());
    const auto read = readRecords(bytes);
    EXPECT_EQ(read.records.size(), 1U) << rest;
    EXPECT_FALSE(read.ok) << rest;
  }
  for (std::size_t size = 1; size < whole.size(); ++size) {
    EXPECT_FALSE(readRecords({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}).ok) << size;
  }
}

}  // namespace
}  // namespace wire
