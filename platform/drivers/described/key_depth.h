// How deep the keys of a TOML text go.
#pragma once

#include <optional>
#include <string_view>

namespace drivers {

// A key "a.b.c" has three parts. Each part is a table inside the one before, and what builds and takes down tables
// calls itself for each: without a bound a text could exhaust the stack.
inline constexpr unsigned MaxKeyParts = 16;

// The line, from 1 on, of the first key or table header with more than MaxKeyParts parts; nothing when there is none.
// Dots in texts and comments do not count. Pure; of a text that is no TOML it need only be true up to the first
// mistake, where its reading ends.
std::optional<unsigned> lineOfDeepKey(std::string_view text);

}  // namespace drivers
