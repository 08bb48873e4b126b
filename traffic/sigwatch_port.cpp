#include "traffic/sigwatch_port.h"

#include <array>
#include <cstdio>
#include <optional>
#include <string>

#include "traffic/record_decoder.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

EvtSrv::EventResult SigwatchPort::receiveMain(const char* /*name*/, unsigned type, EvtSrv::MemoryHolder* data,
                                              EvtSrv::MemoryHolder* /*reply*/) {
  if (type != EvtSrv::EvtTyp_Debug_Receive) return EvtSrv::EvtRes_Success;
  std::FILE* out = shell_.output().stream();
  const ByteOrder order = byteOrderOf(*data);
  std::int64_t remaining = static_cast<std::int64_t>(data->size()) - std::int64_t{EvtSrv::MemoryHolder::HeaderSize};
  bool complete = true;
  do {
    const std::optional<std::uint32_t> size = readWord32(*data, order);
    if (!size) break;
    std::fprintf(out, "size = [%d]", static_cast<std::int32_t>(*size));
    complete = dumpWords(*data, order, *size / 4 + 1, out);
    remaining -= std::int64_t{4} + *size;
  } while (complete && remaining >= 5);
  return EvtSrv::EvtRes_Success;
}

bool SigwatchPort::dumpWords(EvtSrv::MemoryHolder& data, ByteOrder order, std::uint32_t count, std::FILE* out) {
  constexpr int PrintingCount = 3;
  std::string text;
  int counter = 0;
  bool complete = true;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto word = readWord32(data, order);
    complete = word.has_value();
    if (!complete) break;
    lastWord_ = *word;
    std::array<char, 16> piece{};
    std::snprintf(piece.data(), piece.size(), "[0x%08x]", *word);
    text += piece.data();
    if (counter == PrintingCount) {
      std::fputs(text.c_str(), out);
      counter = 1;
    } else {
      ++counter;
    }
  }
  std::fputs(text.c_str(), out);
  return complete;
}

}  // namespace flowscope
