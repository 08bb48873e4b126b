// Everything that commands print: styled texts, columns, and the stop after each screenful.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "terminal/key_source.h"
#include "terminal/paging_counters.h"
#include "terminal/result_code.h"
#include "terminal/styled_text.h"
#include "terminal/terminal_size.h"

namespace flowscope {

// A quiet output writes plain lines: nothing that switches a style on, no column moves, no paging. Nothing here
// flushes, and no operation reports an error of the stream.
//
// Lines may be written from two threads, as long as only one of them writes paged or counted lines; what one
// operation writes stays together.
class ConsoleOutput {
 public:
  // The stream, the size and the keys (for the "More" prompt) are borrowed and must outlive this object.
  ConsoleOutput(std::FILE* out, TerminalSize& size, KeySource& keys, bool quiet);

  // Before anything is written from another thread.
  void setQuiet(bool quiet) { quiet_ = quiet; }
  bool quiet() const { return quiet_; }

  std::FILE* stream() const { return out_; }
  int terminalColumns() const { return size_.columns(); }
  int terminalRows() const { return size_.rows(); }

  // Nothing when quiet.
  void applyStyle(std::uint32_t attributes, std::uint32_t colour);

  // Also when quiet, where nothing was switched on: plain output of a styled text still ends with these sequences.
  void clearStyle(std::uint32_t attributes, std::uint32_t colour);

  // The text at a column (from 1) of the current line, without a line end; when quiet, the text and a line end. A
  // null text prints nothing, but the cursor moves.
  void writeAt(int column, const char* text);

  // The text at the first column. Adds no line end of its own, except when quiet.
  void writeStyled(const StyledText& item);

  // The text as a line, counted. Paged lines may stop at the "More" prompt and wait for a key: false means that the
  // user has had enough, nothing was printed, and the caller ends its listing without a word. The style is switched
  // off behind the line end.
  bool writeLine(const StyledText& item, bool paged);

  // writeLine, where the first line of a command passes resetCounters as true.
  bool writeLineFresh(const StyledText& item, bool resetCounters, bool paged);

  // The text at a column (from 1) of the current line.
  void writeCell(int column, const StyledText& item);

  void resetPaging() { paging_.reset(); }

  // Counts a line that is about to be printed, and asks the user where the page is full: blocks for one key. Answers
  // whether to go on.
  bool pageCheck(bool paged);

  // The line that belongs to a code, if it has one.
  void reportResult(ResultCode code);

 private:
  void appendText(std::string& written, int column, const char* text) const;
  std::string itemAt(int column, const StyledText& item, std::string_view lineEnd) const;
  PageAnswer askForPage();
  void write(std::string_view text);

  std::FILE* out_;
  TerminalSize& size_;
  KeySource& keys_;
  PagingCounters paging_;
  bool quiet_;
};

}  // namespace flowscope
