// How large a pattern may be, so that none can end the program or take its memory.
#pragma once

#include <cstddef>
#include <string_view>

namespace flowscope {

// The bounds count what the engine makes of an expression: it writes repetitions out, so that what stands before
// "\{2,5\}" counts five times, and what stands before "\+" twice, with all that it holds.
inline constexpr std::size_t MaximumPatternLength = 1024;       // bytes
inline constexpr std::size_t MaximumPatternNesting = 64;        // groups "\(" that are open at once
inline constexpr std::size_t MaximumPatternWildcards = 100;     // "*", "\?", "\+" and "\{"
inline constexpr std::size_t MaximumPatternAnchors = 8;         // "^", "$", "\<", "\>", "\b", "\B", "\`" and "\'"
inline constexpr std::size_t MaximumPatternBackReferences = 1;  // "\1" to "\9"

// Whether a POSIX basic regular expression keeps to all of these bounds. Within them the engine takes a fraction of a
// second and a few MiB to compile one, and little stack. What stands between brackets counts as bytes only. A
// text that is no expression is judged by what the engine would read of it. Takes time in proportion to the length.
bool isWithinPatternBounds(std::string_view expression);

}  // namespace flowscope
