// What a user sees: a terminal emulator that is fed the bytes of a program.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/pseudo_terminal.h"

struct VTerm;
struct VTermScreen;

namespace testsupport {

// One character cell. An untouched cell is a blank in the default style.
struct Cell {
  std::string text;  // UTF-8
  bool bold = false;
  bool underline = false;
  bool blink = false;
  bool reverse = false;
  int colour = DefaultColour;  // index into the 16 standard colours

  static constexpr int DefaultColour = -1;
  static constexpr int OtherColour = -2;  // one that is not among the 16

  friend bool operator==(const Cell&, const Cell&) = default;
};

// A place on the screen. Both count from 1 at the top left, as in escape sequences.
struct Place {
  int row = 1;
  int column = 1;
  friend bool operator==(const Place&, const Place&) = default;
};

class Screen {
 public:
  explicit Screen(WindowSize size);
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;
  ~Screen();

  void feed(std::string_view bytes);
  void resize(WindowSize size);

  // The visible rows from top to bottom, without trailing blanks.
  std::vector<std::string> rows() const;

  // The rows that have scrolled off the top, oldest first, without trailing blanks.
  const std::vector<std::string>& scrolledRows() const { return scrolled_; }

  // One visible row in its full width, padded with blanks. row counts from 1.
  std::string fullRow(int row) const;

  // The text left of the cursor in its row.
  std::string textBeforeCursor() const;

  Cell cell(Place place) const;
  Place cursor() const;
  WindowSize size() const { return size_; }

 private:
  struct Callbacks;

  WindowSize size_;
  std::unique_ptr<VTerm, void (*)(VTerm*)> terminal_;
  VTermScreen* screen_;  // part of the terminal
  std::vector<std::string> scrolled_;
};

}  // namespace testsupport
