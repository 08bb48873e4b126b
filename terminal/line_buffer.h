// The line being edited and the cursor in it. Draws nothing.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace flowscope {

enum class CursorMove { Stay, LineStart, LineEnd, Right, Left };

// The cursor is between 0 and the length of the text. An edit does not move it, except to the end of a text that became
// shorter than its position; moving it is a separate step.
class LineBuffer {
 public:
  const std::string& text() const { return text_; }
  std::size_t cursor() const { return cursor_; }
  bool atStart() const { return cursor_ == 0; }
  bool atEnd() const { return cursor_ == text_.size(); }

  // The cursor stays within the text.
  void move(CursorMove how);
  void setCursor(std::size_t position);

  void insert(char character);

  // Erase the character at the cursor, or before it; no effect if there is none.
  void eraseAtCursor();
  void eraseBeforeCursor();

  void eraseToEnd();
  void eraseToStart();
  void assign(std::string_view text);

  // Replaces the text behind the last "/" or the last blank, whichever comes later. Returns false and changes nothing
  // if the line holds neither.
  bool replaceLastWord(std::string_view text);

 private:
  void clampCursor();

  std::string text_;
  std::size_t cursor_ = 0;
};

}  // namespace flowscope
