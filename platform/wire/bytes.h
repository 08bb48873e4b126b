// Writes and reads numbers, texts and byte sequences one after another. Numbers are little-endian unless a reader asks
// for the other order.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace wire {

// Appends to a vector, which must outlive it.
class ByteWriter {
 public:
  explicit ByteWriter(std::vector<std::uint8_t>& out) : out_(out) {}

  template <std::unsigned_integral T>
  void number(T value) {
    std::array<std::uint8_t, sizeof(T)> little{};
    for (std::size_t i = 0; i < sizeof(T); ++i) little[i] = static_cast<std::uint8_t>(value >> (8 * i));
    bytes(little);
  }

  void bytes(std::span<const std::uint8_t> value) { out_.insert(out_.end(), value.begin(), value.end()); }

  // Appends a text without its length.
  void characters(std::string_view value) { out_.insert(out_.end(), value.begin(), value.end()); }

 private:
  std::vector<std::uint8_t>& out_;
};

// Reads bytes that it does not own. A read past their end, or fail(), makes ok() false for good; from then on numbers
// are 0, texts and byte sequences are empty, and nothing is left.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  // bigEndian: the most significant byte comes first.
  template <std::unsigned_integral T>
  T number(bool bigEndian = false) {
    T value = 0;
    std::size_t shift = bigEndian ? 8 * sizeof(T) : 0;
    for (const std::uint8_t byte : bytes(sizeof(T))) {
      if (bigEndian) shift -= 8;
      value = static_cast<T>(value | static_cast<T>(static_cast<T>(byte) << shift));
      if (!bigEndian) shift += 8;
    }
    return value;
  }

  // Returns the next count bytes, valid as long as the bytes being read.
  std::span<const std::uint8_t> bytes(std::size_t count) {
    if (count > rest_.size()) {
      fail();
      return {};
    }
    const auto taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }

  // Like bytes, as text.
  std::string_view characters(std::size_t count) {
    const auto taken = bytes(count);
    return {reinterpret_cast<const char*>(taken.data()), taken.size()};
  }

  std::span<const std::uint8_t> rest() const { return rest_; }
  std::size_t left() const { return rest_.size(); }
  bool ok() const { return ok_; }

  void fail() {
    ok_ = false;
    rest_ = {};
  }

 private:
  std::span<const std::uint8_t> rest_;
  bool ok_ = true;
};

}  // namespace wire
