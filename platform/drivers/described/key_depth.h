// How deep the keys of a TOML text nest.
#pragma once

#include <optional>
#include <string_view>

namespace drivers {

// A key "a.b.c" has three parts. Each part is a table inside the previous one. The code that builds and destroys tables
// recurses for each part, so without a limit a text could exhaust the stack.
inline constexpr unsigned MaxKeyParts = 16;

// Returns the line, from 1 on, of the first key or table header with more than MaxKeyParts parts; nullopt if there is
// none. Dots in strings and comments do not count. Pure. In text that is not TOML, the result is only reliable up to
// the first error, where the parser stops.
std::optional<unsigned> lineOfDeepKey(std::string_view text);

}  // namespace drivers
