#include "platform/channel/frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace channel {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Messages = std::vector<Bytes>;

// A message of this size whose bytes tell where they belong.
Bytes messageOf(std::size_t size) {
  Bytes message(size);
  for (std::size_t at = 0; at < size; ++at) message[at] = static_cast<std::uint8_t>(at * 7 + size);
  return message;
}

Bytes streamOf(const Messages& messages) {
  Bytes stream;
  for (const Bytes& message : messages) appendFrame(message, stream);
  return stream;
}

// The first four bytes of a frame whose message has this length.
Bytes announced(std::size_t length) {
  Bytes front;
  for (int shift = 0; shift < 32; shift += 8) front.push_back(static_cast<std::uint8_t>(length >> shift));
  return front;
}

// Takes every message that is complete.
void takeAll(FrameReader& reader, Messages& taken) {
  while (const auto message = reader.next()) taken.emplace_back(message->begin(), message->end());
}

const Messages Mixed{messageOf(40), {}, messageOf(1), {}, {}, messageOf(300), messageOf(3)};

TEST(Frames, LengthComesFirstInFourBytesTheLeastFirst) {
  Bytes out{0xAA};
  appendFrame(Bytes{1, 2, 3}, out);
  EXPECT_EQ(out, (Bytes{0xAA, 3, 0, 0, 0, 1, 2, 3}));
  out.clear();
  appendFrame(Bytes(0x010203), out);
  ASSERT_EQ(out.size(), 0x010203 + FrameFrontBytes);
  out.resize(FrameFrontBytes);
  EXPECT_EQ(out, (Bytes{3, 2, 1, 0}));
}

TEST(Frames, EmptyMessageIsAMessage) {
  const Bytes stream = streamOf({{}});
  EXPECT_EQ(stream, (Bytes{0, 0, 0, 0}));
  FrameReader reader;
  EXPECT_FALSE(reader.ready());
  EXPECT_FALSE(reader.next());
  reader.feed(stream);
  EXPECT_TRUE(reader.ready());
  const auto message = reader.next();
  ASSERT_TRUE(message);
  EXPECT_TRUE(message->empty());
  EXPECT_FALSE(reader.ready());
  EXPECT_FALSE(reader.next());
  EXPECT_FALSE(reader.broken());
}

TEST(Frames, TwoFramesInOnePiece) {
  FrameReader reader;
  reader.feed(streamOf({messageOf(5), messageOf(6)}));
  Messages taken;
  takeAll(reader, taken);
  EXPECT_EQ(taken, (Messages{messageOf(5), messageOf(6)}));
}

TEST(Frames, StreamMayBeCutAnywhere) {
  const Bytes kept = streamOf(Mixed);
  const std::span<const std::uint8_t> whole(kept);
  for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
    FrameReader reader;
    Messages taken;
    reader.feed(whole.first(cut));
    takeAll(reader, taken);
    reader.feed(whole.subspan(cut));
    takeAll(reader, taken);
    ASSERT_EQ(taken, Mixed) << "cut at " << cut;
    ASSERT_FALSE(reader.broken());
  }
}

TEST(Frames, PiecesMayHaveAnySize) {
  const Bytes kept = streamOf(Mixed);
  for (std::size_t size = 1; size <= kept.size(); ++size) {
    FrameReader reader;
    Messages taken;
    std::span<const std::uint8_t> rest(kept);
    while (!rest.empty()) {
      const auto piece = rest.first(std::min(size, rest.size()));
      reader.feed(piece);
      rest = rest.subspan(piece.size());
      takeAll(reader, taken);
    }
    ASSERT_EQ(taken, Mixed) << "in pieces of " << size;
  }
}

// A service takes some messages of a connection and then serves others, so what is left waits while more arrives.
TEST(Frames, MessagesMayBeTakenLater) {
  const Bytes kept = streamOf(Mixed);
  for (std::size_t cut = 0; cut <= kept.size(); ++cut) {
    FrameReader reader;
    Messages taken;
    const auto takeOne = [&] {
      if (const auto message = reader.next()) taken.emplace_back(message->begin(), message->end());
    };
    reader.feed(std::span(kept).first(cut));
    takeOne();
    reader.feed({});
    takeOne();
    reader.feed(std::span(kept).subspan(cut));
    takeOne();
    takeAll(reader, taken);
    ASSERT_EQ(taken, Mixed) << "cut at " << cut;
  }
}

TEST(Frames, FrameIsReadyWithItsLastByteAndNotBefore) {
  const Bytes stream = streamOf({messageOf(9)});
  FrameReader reader;
  for (std::size_t at = 0; at < stream.size(); ++at) {
    EXPECT_FALSE(reader.ready()) << at;
    EXPECT_FALSE(reader.next()) << at;
    reader.feed(std::span(stream).subspan(at, 1));
  }
  EXPECT_TRUE(reader.ready());
  EXPECT_TRUE(reader.ready()) << "asking takes nothing";
  const auto message = reader.next();
  ASSERT_TRUE(message);
  EXPECT_FALSE(reader.ready());
  EXPECT_FALSE(reader.broken());
  EXPECT_EQ(Bytes(message->begin(), message->end()), messageOf(9)) << "questions leave the message as it is";
}

TEST(Frames, LongestMessageArrives) {
  const Bytes longest = messageOf(MaxFrameBytes);
  const Bytes stream = streamOf({longest, messageOf(2)});
  constexpr std::size_t Piece = 60'000;
  FrameReader reader;
  Messages taken;
  for (std::size_t at = 0; at < stream.size(); at += Piece) {
    reader.feed(std::span(stream).subspan(at, std::min(Piece, stream.size() - at)));
    EXPECT_FALSE(reader.broken());
    takeAll(reader, taken);
  }
  EXPECT_EQ(taken, (Messages{longest, messageOf(2)}));
}

TEST(Frames, LongerMessageBreaksTheStreamAtOnce) {
  for (const std::size_t length : {MaxFrameBytes + 1, MaxFrameBytes * 2, std::size_t{0x01000000},
                                   std::size_t{0x80000000}, std::size_t{0xFFFFFFFF}}) {
    FrameReader reader;
    const Bytes front = announced(length);
    reader.feed(std::span(front).first(3));
    EXPECT_FALSE(reader.broken()) << length;
    reader.feed(std::span(front).subspan(3));
    EXPECT_TRUE(reader.broken()) << length;
    EXPECT_FALSE(reader.ready()) << length;
    EXPECT_FALSE(reader.next()) << length;
    EXPECT_FALSE(reader.next()) << length;
    EXPECT_TRUE(reader.broken()) << length;
  }
}

TEST(Frames, WholeFrameThatIsTooLongIsNotReturned) {
  Bytes stream;
  appendFrame(Bytes(MaxFrameBytes), stream);
  stream.push_back(0);
  ++stream[0];
  FrameReader reader;
  reader.feed(stream);
  EXPECT_TRUE(reader.broken());
  EXPECT_FALSE(reader.ready());
  EXPECT_FALSE(reader.next());
}

TEST(Frames, MessagesBeforeOneThatIsTooLongArrive) {
  Bytes stream = streamOf(Mixed);
  const Bytes front = announced(MaxFrameBytes + 1);
  stream.insert(stream.end(), front.begin(), front.end());
  FrameReader reader;
  reader.feed(stream);
  EXPECT_FALSE(reader.broken()) << "the next frame is a good one";
  Messages taken;
  takeAll(reader, taken);
  EXPECT_EQ(taken, Mixed);
  EXPECT_TRUE(reader.broken());
}

TEST(Frames, AnnouncedLengthCostsNoMemory) {
  FrameReader reader;
  reader.feed(announced(MaxFrameBytes));
  reader.feed(Bytes(10));
  EXPECT_FALSE(reader.ready());
  EXPECT_LE(reader.bytes(), 1024U);
}

// Growth doubles the memory at most.
TEST(Frames, MemoryFollowsWhatHasArrived) {
  const Bytes stream = streamOf({messageOf(MaxFrameBytes)});
  constexpr std::size_t Piece = 1000;
  FrameReader reader;
  for (std::size_t at = 0; at < stream.size(); at += Piece) {
    const auto piece = std::span(stream).subspan(at, std::min(Piece, stream.size() - at));
    reader.feed(piece);
    ASSERT_LE(reader.bytes(), 2 * (at + piece.size())) << at;
  }
  EXPECT_TRUE(reader.ready());
}

TEST(Frames, MemoryOfALongMessageIsGivenBack) {
  FrameReader reader;
  Messages taken;
  reader.feed(streamOf({messageOf(MaxFrameBytes)}));
  takeAll(reader, taken);
  reader.feed(streamOf({messageOf(40)}));
  takeAll(reader, taken);
  EXPECT_EQ(taken.size(), 2U);
  EXPECT_LE(reader.bytes(), 64U << 10U);
}

TEST(Frames, BufferOfALongMessageIsNoLongerThanTheMessage) {
  const Bytes stream = streamOf({messageOf(MaxFrameBytes)});
  constexpr std::size_t Piece = 50'000;
  FrameReader reader;
  for (std::size_t at = 0; at < stream.size(); at += Piece) {
    reader.feed(std::span(stream).subspan(at, std::min(Piece, stream.size() - at)));
    ASSERT_LE(reader.bytes(), stream.size() + Piece) << at;
  }
  Messages taken;
  takeAll(reader, taken);
  EXPECT_EQ(taken, Messages{messageOf(MaxFrameBytes)});
}

TEST(Frames, TrimKeepsWhatHasArrivedAndWhatIsInUse) {
  FrameReader reader;
  Messages taken;
  reader.feed(streamOf({messageOf(50'000)}));
  takeAll(reader, taken);
  EXPECT_GT(reader.bytes(), 40'000U) << "kept for later";
  reader.trim();
  EXPECT_EQ(reader.bytes(), 0U);
  const Bytes stream = streamOf({messageOf(1000), messageOf(2000)});
  reader.feed(std::span(stream).first(2500));
  reader.trim();
  EXPECT_EQ(reader.bytes(), 2500U);
  const auto first = reader.next();
  ASSERT_TRUE(first);
  reader.trim();
  EXPECT_EQ(Bytes(first->begin(), first->end()), messageOf(1000));
  reader.feed(std::span(stream).subspan(2500));
  taken.clear();
  takeAll(reader, taken);
  EXPECT_EQ(taken, Messages{messageOf(2000)});
}

// Pieces that never end where a frame ends, for as long as a connection lives.
TEST(Frames, MemoryStaysSmallWhereverThePiecesEnd) {
  const Bytes frame = streamOf({messageOf(40)});
  FrameReader reader;
  Messages taken;
  reader.feed(std::span(frame).first(7));
  for (int i = 0; i < 10'000; ++i) {
    Bytes piece(frame.begin() + 7, frame.end());
    piece.insert(piece.end(), frame.begin(), frame.begin() + 7);
    reader.feed(piece);
    takeAll(reader, taken);
    ASSERT_EQ(taken.size(), 1U);
    taken.clear();
    ASSERT_LE(reader.bytes(), 1024U);
  }
}

// What waits is moved now and then; if each frame moved it, the time would grow with the square of the frames.
TEST(Frames, FramesThatWaitAreRarelyMoved) {
  constexpr std::size_t Count = 100'000;
  const Bytes frame = streamOf({{0x55}});
  FrameReader reader;
  reader.feed(streamOf(Messages(Count, {0x55})));
  int moves = 0;
  const std::uint8_t* expected = nullptr;
  for (std::size_t taken = 0; taken < 2 * Count; ++taken) {
    const auto message = reader.next();
    ASSERT_TRUE(message);
    ASSERT_EQ(Bytes(message->begin(), message->end()), Bytes{0x55});
    if (message->data() != expected) ++moves;
    expected = message->data() + frame.size();
    if (taken < Count) reader.feed(frame);
  }
  EXPECT_FALSE(reader.next());
  EXPECT_LT(moves, 20);
}

}  // namespace
}  // namespace channel
