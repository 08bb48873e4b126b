#include "terminal/line_buffer.h"

#include <algorithm>

namespace flowscope {

void LineBuffer::move(CursorMove how) {
  switch (how) {
    case CursorMove::Stay:
      break;
    case CursorMove::LineStart:
      cursor_ = 0;
      break;
    case CursorMove::LineEnd:
      cursor_ = text_.size();
      break;
    case CursorMove::Right:
      if (!atEnd()) ++cursor_;
      break;
    case CursorMove::Left:
      if (!atStart()) --cursor_;
      break;
  }
}

void LineBuffer::setCursor(std::size_t position) {
  cursor_ = position;
  clampCursor();
}

void LineBuffer::insert(char character) { text_.insert(cursor_, 1, character); }

void LineBuffer::eraseAtCursor() {
  if (!atEnd()) text_.erase(cursor_, 1);
}

void LineBuffer::eraseBeforeCursor() {
  if (!atStart()) text_.erase(cursor_ - 1, 1);
  clampCursor();
}

void LineBuffer::eraseToEnd() { text_.erase(cursor_); }

void LineBuffer::eraseToStart() {
  text_.erase(0, cursor_);
  clampCursor();
}

void LineBuffer::assign(std::string_view text) {
  text_.assign(text);
  clampCursor();
}

bool LineBuffer::replaceLastWord(std::string_view text) {
  const std::size_t separator = text_.find_last_of("/ ");
  if (separator == std::string::npos) return false;
  text_.resize(separator + 1);
  text_.append(text);
  clampCursor();
  return true;
}

void LineBuffer::clampCursor() { cursor_ = std::min(cursor_, text_.size()); }

}  // namespace flowscope
