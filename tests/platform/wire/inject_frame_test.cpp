#include "platform/wire/inject_frame.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "platform/wire/messages.h"

namespace wire {
namespace {

using Bytes = std::vector<std::uint8_t>;

Inject sample() { return {0x1122334455667788, "In1", {{0x0203, {0xF8}}, {4, {0x90, 0x3C}}, {5, {}}}}; }

// What a reader finds from here on.
std::vector<InjectItem> itemsOf(InjectFrame& frame) {
  std::vector<InjectItem> items;
  while (const auto item = frame.next()) items.push_back({item->group, {item->bytes.begin(), item->bytes.end()}});
  return items;
}

void expectEqual(const std::vector<InjectItem>& items, const std::vector<InjectItem>& expected) {
  ASSERT_EQ(items.size(), expected.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    EXPECT_EQ(items[i].group, expected[i].group);
    EXPECT_EQ(items[i].bytes, expected[i].bytes);
  }
}

TEST(InjectFrame, HasWhatWasEncoded) {
  const Bytes bytes = encode(7, sample());
  ASSERT_TRUE(InjectFrame::claims(bytes));
  auto frame = InjectFrame::open(bytes);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->tag(), 7U);
  EXPECT_EQ(frame->session(), 0x1122334455667788U);
  EXPECT_EQ(frame->name(), "In1");
  EXPECT_EQ(frame->position().items, 3U);
  expectEqual(itemsOf(*frame), sample().messages);
  EXPECT_EQ(frame->position().items, 0U);
  EXPECT_FALSE(frame->next());
}

TEST(InjectFrame, GoesOnWhereItStopped) {
  const Bytes bytes = encode(7, sample());
  auto first = InjectFrame::open(bytes);
  ASSERT_TRUE(first);
  first->next();
  InjectFrame second(bytes, first->position());
  EXPECT_EQ(second.tag(), 7U);
  EXPECT_EQ(second.name(), "In1");
  const auto all = sample().messages;
  expectEqual(itemsOf(second), {all[1], all[2]});
}

TEST(InjectFrame, AcceptsExactlyWhatTheDecoderAccepts) {
  const Bytes good = encode(7, sample());
  std::mt19937 random(11);
  int accepted = 0;
  for (int round = 0; round < 20'000; ++round) {
    Bytes bytes = good;
    if (round % 3 == 0) bytes.resize(random() % (bytes.size() + 1));
    if (round % 3 == 1) bytes.insert(bytes.end(), random() % 3, 0);
    for (auto changes = random() % 3; changes > 0 && !bytes.empty(); --changes) {
      bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random() % 4 == 0 ? random() : random() % 8);
    }
    const auto decoded = decode(bytes);
    const Inject* expected = decoded ? std::get_if<Inject>(&decoded->body) : nullptr;
    auto frame = InjectFrame::open(bytes);
    ASSERT_EQ(frame.has_value(), expected != nullptr);
    if (!frame) continue;
    ++accepted;
    ASSERT_EQ(frame->session(), expected->session);
    ASSERT_EQ(frame->name(), expected->name);
    expectEqual(itemsOf(*frame), expected->messages);
  }
  EXPECT_GT(accepted, 1000);
}

TEST(InjectFrame, OthersAreNone) {
  EXPECT_FALSE(InjectFrame::claims({}));
  EXPECT_FALSE(InjectFrame::open({}));
  EXPECT_FALSE(InjectFrame::open(encode(1, Send{1, 2, 3, {0x90}})));
  Bytes other = encode(7, sample());
  other[1] = ProtocolVersion + 1;
  EXPECT_FALSE(InjectFrame::claims(other));
}

}  // namespace
}  // namespace wire
