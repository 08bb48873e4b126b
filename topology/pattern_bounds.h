// The bounds of patterns, so that no pattern can end the program or use up its memory.
#pragma once

#include <cstddef>
#include <string_view>

namespace flowscope {

// The bounds count the expression as the engine writes it out: the text before "\{2,5\}" counts five times, the text
// before "\+" twice, with everything that it contains.
inline constexpr std::size_t MaximumPatternLength = 1024;       // bytes
inline constexpr std::size_t MaximumPatternNesting = 64;        // groups "\(" that are open at the same time
inline constexpr std::size_t MaximumPatternWildcards = 100;     // "*", "\?", "\+" and "\{"
inline constexpr std::size_t MaximumPatternAnchors = 8;         // "^", "$", "\<", "\>", "\b", "\B", "\`" and "\'"
inline constexpr std::size_t MaximumPatternBackReferences = 1;  // "\1" to "\9"

// Returns whether a POSIX basic regular expression keeps to all of these bounds. Within them the engine takes a
// fraction of a second, a few MiB and little stack to compile one. Text between brackets counts as bytes only. A text
// that is no valid expression is measured by what the engine would read of it. Takes time in proportion to the length.
bool isWithinPatternBounds(std::string_view expression);

}  // namespace flowscope
