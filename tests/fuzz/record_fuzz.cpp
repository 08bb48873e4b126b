// Arbitrary event data through the record decoder and the formatter: what is printed is whole lines of bounded length.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

#include "evtsrv.h"
#include "traffic/message_formatter.h"
#include "traffic/message_kind.h"
#include "traffic/record_decoder.h"

namespace {

using namespace flowscope;

void require(bool met) {
  if (!met) std::abort();
}

void checkLine(std::string_view line) {
  require(!line.empty() && line.size() < TextPiece::Limit && line.back() == '\n');
  require(line.find('\n') == line.size() - 1);
}

void checkPiece(std::string_view piece) {
  require(!piece.empty() && piece.size() < TextPiece::Limit && piece.find('\n') == std::string_view::npos);
}

void format(const Record& record, MessageKind kind) {
  TextPiece text;
  const auto& bytes = record.message;
  const auto channel = [&](ChannelKind channelKind, std::uint8_t second) {
    const ChannelMessage message{channelKind, bytes[1], second, record.group};
    checkLine(formatChannelMessage(text, message, "Out1", TextForm::Labelled));
    checkLine(formatChannelMessage(text, message, "Out1", TextForm::Raw));
  };
  // The raw form of these ends the program.
  const auto labelledOnly = [&](LongKind longKind) {
    checkPiece(formatHeader(text, longKind, "Out1", bytes.size()));
    for (const std::uint8_t byte : bytes) checkPiece(formatByte(text, byte));
    checkLine(formatTrailer(text, longKind, record.group));
  };
  switch (kind) {
    case MessageKind::ErrorData:
      return checkLine(formatErrorData(text, bytes, "Out1"));
    case MessageKind::NoteOff:
      return channel(ChannelKind::NoteOff, bytes[2]);
    case MessageKind::NoteOn:
      return channel(ChannelKind::NoteOn, bytes[2]);
    case MessageKind::PolyAfter:
      return channel(ChannelKind::PolyAfter, bytes[2]);
    case MessageKind::ControlChange:
      return channel(ChannelKind::ControlChange, bytes[2]);
    case MessageKind::ProgramChange:
      return channel(ChannelKind::ProgramChange, 0);
    case MessageKind::AfterTouch:
      return channel(ChannelKind::AfterTouch, 0);
    case MessageKind::PitchBend:
      return channel(ChannelKind::PitchBend, bytes[2]);
    case MessageKind::SystemExclusive:
      return labelledOnly(LongKind::SystemExclusive);
    case MessageKind::SystemCommon:
      return labelledOnly(LongKind::SystemCommon);
    case MessageKind::Meta:
      return labelledOnly(LongKind::Meta);
    case MessageKind::RealTime:
      checkLine(formatRealTime(text, bytes[0], record.group, "Out1", TextForm::Labelled));
      return checkLine(formatRealTime(text, bytes[0], record.group, "Out1", TextForm::Raw));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  EvtSrv::MemoryHolder event(std::span(data, size));
  RecordDecoder decoder(event);
  std::size_t read = EvtSrv::MemoryHolder::HeaderSize;
  while (const auto record = decoder.next()) {
    require(!record->message.empty());
    read += 6 + record->message.size();
    format(*record, kindOf(record->message));
  }
  require(!decoder.ok() || read == size || size <= EvtSrv::MemoryHolder::HeaderSize);
  return 0;
}
