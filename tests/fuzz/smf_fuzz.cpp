// Any bytes are either a score of whole messages in order of time, or one cause.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/midi/smf_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto result = service::parseSmf({data, size});
  const auto* score = std::get_if<service::Score>(&result);
  if (score == nullptr) return 0;
  service::Time last{};
  for (const service::ScoreEvent& event : score->events) {
    if (event.time < last || event.bytes.empty() || event.bytes[0] < 0x80 || event.group > 15) std::abort();
    last = event.time;
  }
  if (score->length < last) std::abort();
  return 0;
}
