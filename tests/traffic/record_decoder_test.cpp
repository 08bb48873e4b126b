#include "traffic/record_decoder.h"

#include <gtest/gtest.h>

#include "tests/traffic/event_bytes.h"

namespace flowscope {
namespace {

struct Decoded {
  std::vector<std::pair<std::uint16_t, Bytes>> records;
  bool ok = false;

  friend bool operator==(const Decoded&, const Decoded&) = default;
};

Decoded decode(const Bytes& event) {
  EvtSrv::MemoryHolder holder(event);
  RecordDecoder decoder(holder);
  Decoded result;
  while (const auto record = decoder.next()) {
    result.records.emplace_back(record->group, Bytes(record->message.begin(), record->message.end()));
  }
  EXPECT_FALSE(decoder.next().has_value());
  result.ok = decoder.ok();
  return result;
}

class RecordDecoderOrders : public testing::TestWithParam<bool> {};

TEST_P(RecordDecoderOrders, ReadsRecords) {
  const EventBytes event =
      EventBytes(GetParam()).record(0x0102, {0x90, 0x3C, 0x40}).record(0xFFFE, {0xF8}).record(0, Bytes(70'000, 0x55));
  const Decoded expected{{{0x0102, {0x90, 0x3C, 0x40}}, {0xFFFE, {0xF8}}, {0, Bytes(70'000, 0x55)}}, true};
  EXPECT_EQ(decode(event.bytes()), expected);
}

TEST_P(RecordDecoderOrders, AnEventMayHaveNoRecords) {
  EXPECT_EQ(decode(EventBytes(GetParam()).bytes()), (Decoded{{}, true}));
}

TEST_P(RecordDecoderOrders, AnEventCutAnywhereYieldsItsWholeRecords) {
  const Bytes first{0x90, 0x3C, 0x40};
  const Bytes second{0xF0, 1, 2, 3, 0xF7};
  const Bytes whole = EventBytes(GetParam()).record(1, first).record(2, second).bytes();
  const std::size_t secondAt = EvtSrv::MemoryHolder::HeaderSize + 6 + first.size();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Bytes cut(whole.begin(),
                    whole.begin() + static_cast<std::ptrdiff_t>(size));  // its own memory: no byte behind
    Decoded expected;
    if (size >= secondAt) expected.records.emplace_back(1, first);
    expected.ok = size <= EvtSrv::MemoryHolder::HeaderSize || size == secondAt;
    EXPECT_EQ(decode(cut), expected) << size;
  }
}

TEST_P(RecordDecoderOrders, ImpossibleLengthsEndTheReading) {
  for (const std::uint32_t length : {0U, 1U, 2U, 11U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    const EventBytes event =
        EventBytes(GetParam()).record(7, {0xFE}).word(length).half(1).raw({0x90, 0x3C, 0x40, 0, 0, 0, 0, 0});
    EXPECT_EQ(decode(event.bytes()), (Decoded{{{7, {0xFE}}}, false})) << length;
  }
}

TEST_P(RecordDecoderOrders, TheShortestRecordIsRead) {
  EXPECT_EQ(decode(EventBytes(GetParam()).word(3).half(9).raw({0xF8}).bytes()), (Decoded{{{9, {0xF8}}}, true}));
}

INSTANTIATE_TEST_SUITE_P(Both, RecordDecoderOrders, testing::Bool(),
                         [](const auto& order) { return order.param ? "BigEndian" : "LittleEndian"; });

TEST(RecordDecoder, OnlyOneInTheFirstByteIsBigEndian) {
  for (const std::uint8_t flag : Bytes{0, 2, 0x7F, 0xFF}) {
    Bytes event = EventBytes().record(0x0102, {0xF8}).bytes();
    event[0] = flag;
    EXPECT_EQ(decode(event), (Decoded{{{0x0102, {0xF8}}}, true})) << int{flag};
  }
}

TEST(RecordDecoder, NeedsNoAlignment) {
  const Bytes event = EventBytes().record(1, {0xF8}).record(2, {0x90, 1, 2}).bytes();
  for (std::size_t shift = 0; shift < 4; ++shift) {
    Bytes memory(shift, 0);
    memory.insert(memory.end(), event.begin(), event.end());
    EvtSrv::MemoryHolder holder(std::span<const std::uint8_t>(memory).subspan(shift));
    RecordDecoder decoder(holder);
    EXPECT_EQ(decoder.next()->group, 1);
    EXPECT_EQ(decoder.next()->group, 2);
    EXPECT_FALSE(decoder.next().has_value());
    EXPECT_TRUE(decoder.ok());
  }
}

}  // namespace
}  // namespace flowscope
