#include "tests/support/screen.h"

#include <vterm.h>

namespace testsupport {
namespace {

void appendUtf8(std::string& text, std::uint32_t code) {
  const auto put = [&text](std::uint32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6));
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18));
    put(0x80 | ((code >> 12) & 0x3F));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

std::string textOf(const VTermScreenCell& cell) {
  std::string text;
  for (const std::uint32_t code : cell.chars) {
    if (code == 0) {
      break;
    }
    appendUtf8(text, code);
  }
  return text.empty() ? " " : text;
}

int colourOf(const VTermColor& colour) {
  if (VTERM_COLOR_IS_DEFAULT_FG(&colour)) {
    return Cell::DefaultColour;
  }
  if (VTERM_COLOR_IS_INDEXED(&colour) && colour.indexed.idx < 16) {
    return colour.indexed.idx;
  }
  return Cell::OtherColour;
}

std::string trimmed(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

VTermScreenCell cellAt(const VTermScreen* screen, int row, int column) {
  VTermScreenCell cell{};
  vterm_screen_get_cell(screen, {row, column}, &cell);
  return cell;
}

// The text of the cells from column 0 up to end. The second half of a wide character adds nothing.
std::string textOfRow(const VTermScreen* screen, int row, int end) {
  std::string text;
  for (int column = 0; column < end;) {
    const VTermScreenCell cell = cellAt(screen, row, column);
    text += textOf(cell);
    column += cell.width > 1 ? cell.width : 1;
  }
  return text;
}

}  // namespace

struct Screen::Callbacks {
  static int pushLine(int columns, const VTermScreenCell* cells, void* user) {
    std::string text;
    for (int column = 0; column < columns;) {
      text += textOf(cells[column]);
      column += cells[column].width > 1 ? cells[column].width : 1;
    }
    static_cast<Screen*>(user)->scrolled_.push_back(trimmed(std::move(text)));
    return 1;
  }

  static constexpr VTermScreenCallbacks Table{nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &pushLine, nullptr};
};

Screen::Screen(WindowSize size)
    : size_(size),
      terminal_(vterm_new(size.rows, size.columns), &vterm_free),
      screen_(vterm_obtain_screen(terminal_.get())) {
  vterm_set_utf8(terminal_.get(), 1);
  vterm_screen_set_callbacks(screen_, &Callbacks::Table, this);
  vterm_screen_reset(screen_, 1);
}

Screen::~Screen() = default;

void Screen::feed(std::string_view bytes) { vterm_input_write(terminal_.get(), bytes.data(), bytes.size()); }

void Screen::resize(WindowSize size) {
  size_ = size;
  vterm_set_size(terminal_.get(), size.rows, size.columns);
}

std::vector<std::string> Screen::rows() const {
  std::vector<std::string> result;
  for (int row = 1; row <= size_.rows; ++row) {
    result.push_back(trimmed(fullRow(row)));
  }
  return result;
}

std::string Screen::fullRow(int row) const { return textOfRow(screen_, row - 1, size_.columns); }

std::string Screen::textBeforeCursor() const {
  const Place place = cursor();
  return textOfRow(screen_, place.row - 1, place.column - 1);
}

Cell Screen::cell(Place place) const {
  const VTermScreenCell cell = cellAt(screen_, place.row - 1, place.column - 1);
  return {textOf(cell),          cell.attrs.bold != 0,    cell.attrs.underline != 0,
          cell.attrs.blink != 0, cell.attrs.reverse != 0, colourOf(cell.fg)};
}

Place Screen::cursor() const {
  VTermPos position{};
  vterm_state_get_cursorpos(vterm_obtain_state(terminal_.get()), &position);
  return {position.row + 1, position.col + 1};
}

}  // namespace testsupport
