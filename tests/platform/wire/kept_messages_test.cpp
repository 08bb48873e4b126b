// The messages that the fuzzer of the decoder begins with are messages of today: otherwise it never gets past a front
// that the decoder refuses.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/wire/events.h"
#include "platform/wire/messages.h"
#include "platform/wire/pieces.h"

namespace wire {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

const fs::path Kept = FLOWSCOPE_SOURCE_DIR "/tests/fuzz/corpus/wire_decoder";

Bytes contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

bool isMessage(const Bytes& bytes) { return decode(bytes).has_value(); }

bool areEntries(const Bytes& bytes) {
  EventReader reader(bytes);
  while (reader.next()) {
  }
  return !bytes.empty() && reader.ok();
}

// Messages with the length of each in two bytes, which make a whole answer.
bool isAnswer(const Bytes& bytes) {
  PieceJoiner pieces;
  bool isWhole = false;
  std::span<const std::uint8_t> rest(bytes);
  while (rest.size() >= 2 && !isWhole) {
    const std::size_t size = rest[0] + std::size_t{rest[1]} * 256;
    if (rest.size() < 2 + size) return false;
    auto envelope = decode(rest.subspan(2, size));
    if (!envelope) return false;
    isWhole = pieces.add(std::move(envelope->body), size).has_value();
    if (pieces.fault() != PieceJoiner::Fault::None) return false;
    rest = rest.subspan(2 + size);
  }
  return isWhole && rest.empty();
}

TEST(KeptMessages, AreUnderstoodToTheirEnd) {
  for (const auto& each : fs::directory_iterator(Kept)) {
    const std::string name = each.path().filename().string();
    const Bytes bytes = contentOf(each.path());
    DecodeError error = DecodeError::None;
    if (name == "other_version") {
      EXPECT_FALSE(decode(bytes, &error));
      EXPECT_EQ(error, DecodeError::WrongVersion);
    } else if (name == "entries") {
      EXPECT_TRUE(areEntries(bytes));
    } else if (name == "pieces") {
      EXPECT_TRUE(isAnswer(bytes));
    } else {
      EXPECT_TRUE(isMessage(bytes)) << name;
    }
  }
}

TEST(KeptMessages, AreOfEachKind) {
  std::vector<bool> found(std::variant_size_v<Body>);
  for (const auto& each : fs::directory_iterator(Kept)) {
    const Bytes bytes = contentOf(each.path());
    if (const auto envelope = decode(bytes)) found[envelope->body.index()] = true;
  }
  for (std::size_t kind = 0; kind < found.size(); ++kind) EXPECT_TRUE(found[kind]) << "kind " << kind << " of Body";
}

}  // namespace
}  // namespace wire
