// The line being edited and the cursor in it. No drawing.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace flowscope {

enum class CursorMove { Stay, LineStart, LineEnd, Right, Left };

// The cursor stands between 0 and the length of the text. Edits leave it where it is, or at the end of a text that
// has become shorter than that; moving it is a step of its own.
class LineBuffer {
 public:
  const std::string& text() const { return text_; }
  std::size_t cursor() const { return cursor_; }
  bool atStart() const { return cursor_ == 0; }
  bool atEnd() const { return cursor_ == text_.size(); }

  // Stays within the text.
  void move(CursorMove how);
  void setCursor(std::size_t position);

  void insert(char character);

  // The character at the cursor, or before it; nothing where there is none.
  void eraseAtCursor();
  void eraseBeforeCursor();

  void eraseToEnd();
  void eraseToStart();
  void assign(std::string_view text);

  // Puts text in the place of what stands behind the last "/" or the last blank, whichever comes later. Answers false
  // and changes nothing when the line holds neither.
  bool replaceLastWord(std::string_view text);

 private:
  void clampCursor();

  std::string text_;
  std::size_t cursor_ = 0;
};

}  // namespace flowscope
