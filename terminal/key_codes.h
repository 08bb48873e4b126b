// Key codes: a byte is its own code, other keys have the numbers that curses gave them.
#pragma once

namespace flowscope {

inline constexpr int KeyLineFeed = 10;

inline constexpr int KeyDown = 258;
inline constexpr int KeyUp = 259;
inline constexpr int KeyLeft = 260;
inline constexpr int KeyRight = 261;
inline constexpr int KeyHome = 262;
inline constexpr int KeyBackspace = 263;
inline constexpr int KeyDelete = 330;
inline constexpr int KeyInsert = 331;
inline constexpr int KeyPageDown = 338;
inline constexpr int KeyPageUp = 339;
inline constexpr int KeyEnter = 343;
inline constexpr int KeyEnd = 360;

// The code of a letter typed with Ctrl held down.
constexpr int ctrlKey(char letter) { return letter & 0x1f; }

}  // namespace flowscope
