#include "terminal/terminal_size.h"

#include <sys/ioctl.h>

namespace flowscope {
namespace {

constexpr int DefaultRows = 24;
constexpr int DefaultColumns = 80;

// Returns zeros if the descriptor has no size.
winsize sizeOf(int descriptor) {
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0) return winsize{};
  return size;
}

}  // namespace

int DescriptorTerminalSize::rows() {
  const int rows = sizeOf(descriptor_).ws_row;
  return rows > 0 ? rows : DefaultRows;
}

int DescriptorTerminalSize::columns() {
  const int columns = sizeOf(descriptor_).ws_col;
  return columns > 0 ? columns : DefaultColumns;
}

}  // namespace flowscope
