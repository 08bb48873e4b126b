#include "platform/client/record_reader.h"

namespace client {
namespace {

constexpr std::uint8_t BigEndianFlag = 1;
constexpr std::size_t GroupBytes = 2;

}  // namespace

RecordReader::RecordReader(EvtSrv::MemoryHolder& event)
    : event_(event), bigEndian_(event.size() > 0 && event.buffer()[0] == BigEndianFlag) {}

std::optional<Record> RecordReader::next() {
  if (!ok_ || event_.atEnd()) return std::nullopt;
  ok_ = false;
  const auto length = number(4);
  const auto group = number(GroupBytes);
  if (!length || !group || *length <= GroupBytes) return std::nullopt;
  const std::size_t size = *length - GroupBytes;
  const std::uint8_t* bytes = event_.getCurrentOffset(size);
  if (bytes == nullptr) return std::nullopt;
  ok_ = true;
  return Record{static_cast<std::uint16_t>(*group), {bytes, size}};
}

std::optional<std::uint32_t> RecordReader::number(std::size_t bytes) {
  const std::uint8_t* at = event_.getCurrentOffset(bytes);
  if (at == nullptr) return std::nullopt;
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) value = value << 8U | at[bigEndian_ ? i : bytes - 1 - i];
  return value;
}

}  // namespace client
