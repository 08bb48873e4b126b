// Arbitrary lines against an arbitrary history: the first bytes, up to a line feed each, are the entries.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/history_expansion.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> history;
  for (auto end = text.find('\n'); end != std::string_view::npos && history.size() < 20; end = text.find('\n')) {
    history.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  if (text.empty()) return 0;
  const auto expanded = flowscope::expandHistory(text, history);
  const bool refers = text.starts_with('!') || text.find("!$") != std::string_view::npos;
  if (!refers && (expanded.recorded != text || expanded.executed != text)) std::abort();
  if (text.starts_with('!') && expanded.executed != text && expanded.executed != expanded.recorded) std::abort();
  return 0;
}
