#include "tests/support/keys.h"

#include <array>
#include <charconv>
#include <utility>

namespace testsupport {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 15> NamedKeys{{{"enter", "\r"},
                                                                                   {"tab", "\t"},
                                                                                   {"esc", "\x1b"},
                                                                                   {"bs", "\x7f"},
                                                                                   {"space", " "},
                                                                                   {"lt", "<"},
                                                                                   {"up", "\x1b[A"},
                                                                                   {"down", "\x1b[B"},
                                                                                   {"right", "\x1b[C"},
                                                                                   {"left", "\x1b[D"},
                                                                                   {"home", "\x1b[1~"},
                                                                                   {"del", "\x1b[3~"},
                                                                                   {"end", "\x1b[4~"},
                                                                                   {"pgup", "\x1b[5~"},
                                                                                   {"pgdn", "\x1b[6~"}}};

std::optional<std::string> namedKey(std::string_view name) {
  for (const auto& [known, bytes] : NamedKeys) {
    if (known == name) {
      return std::string(bytes);
    }
  }
  if (name.size() == 3 && name.starts_with("c-") && ((name[2] >= 'a' && name[2] <= 'z') || name[2] == '\\')) {
    return std::string(1, static_cast<char>(name[2] & 0x1F));
  }
  if (name.size() == 3 && name.front() == 'x') {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(name.data() + 1, name.data() + name.size(), value, 16);
    if (error == std::errc() && end == name.data() + name.size()) {
      return std::string(1, static_cast<char>(static_cast<unsigned char>(value)));
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> keyBytes(std::string_view keys) {
  std::string bytes;
  while (!keys.empty()) {
    if (keys.front() != '<') {
      bytes += keys.front();
      keys.remove_prefix(1);
      continue;
    }
    const std::size_t end = keys.find('>');
    if (end == std::string_view::npos) {
      return std::nullopt;
    }
    const std::optional<std::string> key = namedKey(keys.substr(1, end - 1));
    if (!key.has_value()) {
      return std::nullopt;
    }
    bytes += *key;
    keys.remove_prefix(end + 1);
  }
  return bytes;
}

}  // namespace testsupport
