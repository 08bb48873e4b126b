// The fields of a message, written or read by the same description.
//
// A message type M is described once, by `template <class Io> void fields(Io& io, Fields<Io, M> message)`, which hands
// io each field in order. FieldWriter and FieldReader both serve as io, so that encoder and decoder cannot differ.
#pragma once

#include <algorithm>
#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/wire/bytes.h"
#include "platform/wire/messages.h"

namespace wire {

template <class Io, class M>
using Fields = std::conditional_t<Io::Writes, const M&, M&>;

// Appends fields. Texts and messages must be within MaxNameBytes and MaxMessageBytes.
class FieldWriter {
 public:
  static constexpr bool Writes = true;

  explicit FieldWriter(std::vector<std::uint8_t>& out) : to_(out) {}

  template <std::unsigned_integral T>
  void operator()(T value) {
    to_.number(value);
  }
  void operator()(bool value) { to_.number(static_cast<std::uint8_t>(value ? 1 : 0)); }
  void operator()(device::Status value) { to_.number(static_cast<std::uint32_t>(value)); }

  void operator()(std::string_view value) {
    assert(value.size() <= device::MaxNameBytes);
    to_.number(static_cast<std::uint16_t>(value.size()));
    to_.characters(value);
  }

  void operator()(const std::vector<std::uint8_t>& value) {
    assert(value.size() <= device::MaxMessageBytes);
    to_.number(static_cast<std::uint32_t>(value.size()));
    to_.bytes(value);
  }

  template <class T>
  void operator()(const std::vector<T>& list) {
    to_.number(static_cast<std::uint32_t>(list.size()));
    for (const T& item : list) field(item);
  }

  template <class T>
  void operator()(const std::optional<T>& value) {
    (*this)(value.has_value());
    if (value) field(*value);
  }

  // The names of a side's ports, which has its count already: none if they are numbered and all exist. That of a
  // removed port is empty. In a piece the names are some of them.
  void portNames(const device::SideOfGroup& side) {
    assert(side.names.size() <= side.count);
    const bool isListed = !side.names.empty() || std::ranges::find(side.gone, true) != side.gone.end();
    const std::size_t listed = side.names.empty() ? side.count : side.names.size();
    const auto count = static_cast<std::uint16_t>(isListed ? listed : 0);
    to_.number(std::uint32_t{count});
    for (std::uint16_t index = 0; index < count; ++index) {
      (*this)(std::string_view(side.hasGone(index) ? std::string() : side.nameOf(index)));
    }
  }

  // All bytes up to the end of the message.
  void rest(std::span<const std::uint8_t> value) { to_.bytes(value); }

  template <class T>
  void field(const T& value) {
    if constexpr (requires { (*this)(value); }) {
      (*this)(value);
    } else {
      fields(*this, value);
    }
  }

 private:
  ByteWriter to_;
};

// Fills fields. A value that is too long or not allowed for its type makes the reader fail.
class FieldReader {
 public:
  static constexpr bool Writes = false;

  explicit FieldReader(ByteReader& from) : from_(from) {}

  template <std::unsigned_integral T>
  void operator()(T& value) {
    value = from_.number<T>();
  }

  void operator()(bool& value) {
    const auto byte = from_.number<std::uint8_t>();
    require(byte <= 1);
    value = byte == 1;
  }

  void operator()(device::Status& value) {
    const auto number = from_.number<std::uint32_t>();
    require(number <= static_cast<std::uint32_t>(device::Status::Refused));
    value = static_cast<device::Status>(number);
  }

  void operator()(std::string& value) {
    const std::size_t size = from_.number<std::uint16_t>();
    require(size <= device::MaxNameBytes);
    value = from_.characters(size);
  }

  void operator()(std::vector<std::uint8_t>& value) {
    const std::size_t size = from_.number<std::uint32_t>();
    require(size <= device::MaxMessageBytes);
    const auto bytes = from_.bytes(size);
    value.assign(bytes.begin(), bytes.end());
  }

  template <class T>
  void operator()(std::vector<T>& list) {
    const std::size_t count = from_.number<std::uint32_t>();
    require(count <= from_.left() / smallestItem<T>());
    if (!from_.ok()) return;
    list.reserve(count);
    for (std::size_t i = 0; i < count && from_.ok(); ++i) field(list.emplace_back());
  }

  template <class T>
  void operator()(std::optional<T>& value) {
    bool present = false;
    (*this)(present);
    if (present) field(value.emplace());
  }

  void portNames(device::SideOfGroup& side) {
    (*this)(side.names);
    require(side.names.size() <= side.count);
    if (side.names.size() == side.count) side.removeUnnamed();
  }

  void rest(std::span<const std::uint8_t>& value) { value = from_.bytes(from_.left()); }

  void require(bool met) {
    if (!met) from_.fail();
  }

  template <class T>
  void field(T& value) {
    if constexpr (requires { (*this)(value); }) {
      (*this)(value);
    } else {
      fields(*this, value);
    }
  }

 private:
  // The shortest item of a list has only empty texts and lists.
  template <class T>
  static std::size_t smallestItem() {
    static const std::size_t size = [] {
      std::vector<std::uint8_t> bytes;
      FieldWriter(bytes).field(T{});
      return bytes.size();
    }();
    return size;
  }

  ByteReader& from_;
};

}  // namespace wire
