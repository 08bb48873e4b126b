#include "platform/drivers/alsa/event_queue.h"

#include <gtest/gtest.h>

#include <string>

namespace drivers::alsa {
namespace {

constexpr std::size_t Room = 3 * sizeof(QueuedEvent);

snd_seq_event_t note(std::uint8_t client) {
  snd_seq_event_t event{};
  event.type = SND_SEQ_EVENT_NOTEON;
  event.source.client = client;
  return event;
}

// The event's data stays the caller's.
snd_seq_event_t exclusive(std::uint8_t client, std::vector<std::uint8_t>& data) {
  snd_seq_event_t event{};
  event.type = SND_SEQ_EVENT_SYSEX;
  event.flags = SND_SEQ_EVENT_LENGTH_VARIABLE;
  event.source.client = client;
  event.data.ext.len = static_cast<unsigned>(data.size());
  event.data.ext.ptr = data.data();
  return event;
}

// "e1" an event of client 1, "x1" system exclusive, "l1:2" two lost, "l1:2!" with one that was cut, "o" an overflow.
std::string describe(const std::vector<QueuedEvent>& events) {
  std::string text;
  for (const QueuedEvent& each : events) {
    const std::string client = std::to_string(each.source.client);
    switch (each.kind) {
      case QueuedEvent::Kind::Event:
        text += (each.data.empty() ? "e" : "x") + client;
        break;
      case QueuedEvent::Kind::Lost:
        text += "l" + client + ":" + std::to_string(each.lost) + (each.cut ? "!" : "");
        break;
      case QueuedEvent::Kind::Overflow:
        text += "o";
        break;
    }
    text += " ";
  }
  return text;
}

TEST(EventQueue, GivesEachEventOnce) {
  EventQueue queue(Room);
  std::vector<std::uint8_t> data{0xF0, 1, 0xF7};
  queue.add(note(1));
  queue.add(exclusive(2, data));
  data.assign({0, 0, 0});
  const auto events = queue.take();
  EXPECT_EQ(describe(events), "e1 x2 ");
  EXPECT_EQ(events.at(1).data, (std::vector<std::uint8_t>{0xF0, 1, 0xF7}));
  EXPECT_EQ(describe(queue.take()), "");
}

TEST(EventQueue, CountsEventsWithoutRoomExactlyAndInTheirPlace) {
  EventQueue queue(Room);
  for (int at = 0; at < 5; ++at) queue.add(note(1));
  queue.add(note(2));
  EXPECT_EQ(describe(queue.take()), "e1 e1 e1 l1:2 l2:1 ");
  queue.add(note(1));
  EXPECT_EQ(describe(queue.take()), "e1 ");
}

TEST(EventQueue, DataTakesRoom) {
  EventQueue queue(Room);
  std::vector<std::uint8_t> data(2 * sizeof(QueuedEvent), 1);
  data.front() = 0xF0;
  queue.add(exclusive(1, data));
  queue.add(note(1));
  EXPECT_EQ(describe(queue.take()), "x1 l1:1 ");
}

TEST(EventQueue, SystemExclusiveInPiecesIsLostOnceAndToItsEnd) {
  EventQueue queue(Room);
  std::vector<std::uint8_t> begin{0xF0, 1};
  std::vector<std::uint8_t> middle{2};
  std::vector<std::uint8_t> end{3, 0xF7};
  queue.add(exclusive(1, begin));
  queue.add(note(2));
  queue.add(exclusive(1, middle));  // no room
  queue.add(exclusive(1, middle));
  EXPECT_EQ(describe(queue.take()), "x1 e2 l1:1! ");
  queue.add(exclusive(1, middle));  // room, but nothing to continue
  queue.add(exclusive(1, end));
  queue.add(note(1));
  EXPECT_EQ(describe(queue.take()), "l1:0! e1 ");
  queue.add(exclusive(1, begin));
  queue.add(exclusive(1, end));
  EXPECT_EQ(describe(queue.take()), "x1 x1 ");
}

TEST(EventQueue, ANewSystemExclusiveMessageEndsTheOneThatIsDropped) {
  EventQueue queue(sizeof(QueuedEvent) + 2);
  std::vector<std::uint8_t> begin{0xF0, 1};
  std::vector<std::uint8_t> end{0xF7};
  queue.add(note(1));
  queue.add(exclusive(1, begin));
  queue.add(exclusive(1, begin));
  EXPECT_EQ(describe(queue.take()), "e1 l1:2! ");
  queue.add(exclusive(1, begin));
  EXPECT_EQ(describe(queue.take()), "x1 ");
  queue.add(exclusive(1, end));
  EXPECT_EQ(describe(queue.take()), "x1 ");
}

TEST(EventQueue, OverflowsAreReportedInTheirPlace) {
  EventQueue queue(Room);
  queue.add(note(1));
  queue.addOverflow();
  queue.addOverflow();
  queue.add(note(1));
  queue.addOverflow();
  EXPECT_EQ(describe(queue.take()), "e1 o e1 o ");
}

}  // namespace
}  // namespace drivers::alsa
