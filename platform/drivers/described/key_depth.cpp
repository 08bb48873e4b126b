#include "platform/drivers/described/key_depth.h"

#include <algorithm>
#include <cstddef>

namespace drivers {
namespace {

bool endsLine(char byte) { return byte >= '\n' && byte <= '\r'; }

// Walks over a text once and tells keys, quoted text and comments apart.
class Walk {
 public:
  explicit Walk(std::string_view text) : rest_(text) {}

  std::optional<unsigned> lineOfDeepKey() {
    unsigned dots = 0;
    while (!rest_.empty()) {
      const char byte = rest_.front();
      if (byte == '"' || byte == '\'') {
        skipQuoted(byte);
        continue;
      }
      if (byte == '#') {
        while (!rest_.empty() && !endsLine(rest_.front())) skip(1);
        continue;
      }
      if (byte == '.') {
        if (++dots >= MaxKeyParts) return line_;
      } else if (endsLine(byte) || std::string_view("=,[]{}").find(byte) != std::string_view::npos) {
        dots = 0;
      }
      skip(1);
    }
    return std::nullopt;
  }

 private:
  void skip(std::size_t count) {
    const auto skipped = rest_.substr(0, count);
    line_ += static_cast<unsigned>(std::ranges::count(skipped, '\n'));
    rest_.remove_prefix(skipped.size());
  }

  void skipQuoted(char quote) {
    const std::size_t width = quotes(quote) >= 3 ? 3 : 1;
    skip(width);
    while (!rest_.empty()) {
      if (quote == '"' && rest_.front() == '\\') {
        skip(2);
      } else if (width == 1 && endsLine(rest_.front())) {
        return;  // never closed: not TOML from here on
      } else if (quotes(quote) >= width) {
        // Up to two quotes may precede the three that close.
        skip(width == 1 ? 1 : std::min<std::size_t>(quotes(quote), 5));
        return;
      } else {
        skip(1);
      }
    }
  }

  // Returns the number of consecutive quotes here.
  std::size_t quotes(char quote) const { return std::min(rest_.find_first_not_of(quote), rest_.size()); }

  std::string_view rest_;
  unsigned line_ = 1;
};

}  // namespace

std::optional<unsigned> lineOfDeepKey(std::string_view text) { return Walk(text).lineOfDeepKey(); }

}  // namespace drivers
