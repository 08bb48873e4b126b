#include "traffic/record_decoder.h"

#include <cstddef>

namespace flowscope {

namespace {

constexpr std::uint32_t GroupBytes = 2;

template <class Number>
std::optional<Number> readNumber(EvtSrv::MemoryHolder& event, ByteOrder order) {
  const std::uint8_t* bytes = event.getCurrentOffset(sizeof(Number));
  if (bytes == nullptr) return std::nullopt;
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < sizeof(Number); ++i) {
    const std::size_t at = order == ByteOrder::BigEndian ? i : sizeof(Number) - 1 - i;
    value = value << 8 | bytes[at];
  }
  return static_cast<Number>(value);
}

}  // namespace

ByteOrder byteOrderOf(const EvtSrv::MemoryHolder& event) {
  return event.size() > 0 && event.buffer()[0] == 1 ? ByteOrder::BigEndian : ByteOrder::LittleEndian;
}

std::optional<std::uint16_t> readWord16(EvtSrv::MemoryHolder& event, ByteOrder order) {
  return readNumber<std::uint16_t>(event, order);
}

std::optional<std::uint32_t> readWord32(EvtSrv::MemoryHolder& event, ByteOrder order) {
  return readNumber<std::uint32_t>(event, order);
}

std::optional<Record> RecordDecoder::next() {
  if (!ok_ || event_.atEnd()) return std::nullopt;
  ok_ = false;
  const auto length = readWord32(event_, order_);
  if (!length || *length <= GroupBytes) return std::nullopt;
  const auto group = readWord16(event_, order_);
  if (!group) return std::nullopt;
  const std::size_t messageLength = *length - GroupBytes;
  const std::uint8_t* message = event_.getCurrentOffset(messageLength);
  if (message == nullptr) return std::nullopt;
  ok_ = true;
  return Record{*group, {message, messageLength}};
}

}  // namespace flowscope
