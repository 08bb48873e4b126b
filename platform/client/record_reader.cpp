#include "platform/client/record_reader.h"

#include "platform/wire/bytes.h"

namespace client {
namespace {

constexpr std::uint8_t BigEndianFlag = 1;
constexpr std::size_t GroupBytes = sizeof(Record::group);

}  // namespace

RecordReader::RecordReader(EvtSrv::MemoryHolder& event)
    : event_(event), bigEndian_(event.size() > 0 && event.buffer()[0] == BigEndianFlag) {}

template <class Number>
std::optional<Number> RecordReader::number() {
  const std::uint8_t* at = event_.getCurrentOffset(sizeof(Number));
  if (at == nullptr) return std::nullopt;
  return wire::ByteReader({at, sizeof(Number)}).number<Number>(bigEndian_);
}

std::optional<Record> RecordReader::next() {
  if (!ok_ || event_.atEnd()) return std::nullopt;
  ok_ = false;
  const auto length = number<std::uint32_t>();
  const auto group = number<std::uint16_t>();
  if (!length || !group || *length <= GroupBytes) return std::nullopt;
  const std::size_t size = *length - GroupBytes;
  const std::uint8_t* bytes = event_.getCurrentOffset(size);
  if (bytes == nullptr) return std::nullopt;
  ok_ = true;
  return Record{*group, {bytes, size}};
}

}  // namespace client
