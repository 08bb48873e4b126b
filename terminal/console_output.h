// The output of commands: styled texts, columns, and the pause after each screenful.
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

// A quiet output writes plain lines: it switches no style on, moves to no column and does not page. No operation
// flushes the stream or reports its errors.
//
// Two threads may write lines if only one of them writes paged or counted lines; the output of one operation stays
// together.
class ConsoleOutput {
 public:
  // The stream, the size and the keys (for the "More" prompt) are borrowed and must outlive this object.
  ConsoleOutput(std::FILE* out, TerminalSize& size, KeySource& keys, bool quiet);

  // Call this before another thread writes.
  void setQuiet(bool quiet) { quiet_ = quiet; }
  bool quiet() const { return quiet_; }

  std::FILE* stream() const { return out_; }
  int terminalColumns() const { return size_.columns(); }
  int terminalRows() const { return size_.rows(); }

  // Writes nothing when quiet.
  void applyStyle(std::uint32_t attributes, std::uint32_t colour);

  // Writes the sequences also when quiet, although no style was switched on: the plain output of a styled text ends
  // with them.
  void clearStyle(std::uint32_t attributes, std::uint32_t colour);

  // Writes the text at a column (from 1) of the current line, without a line end; when quiet, the text and a line end.
  // A null text only moves the cursor.
  void writeAt(int column, const char* text);

  // Writes the text at the first column. Adds no line end, except when quiet.
  void writeStyled(const StyledText& item);

  // Appends to a text what writeStyled would write.
  void appendStyled(std::string& to, const StyledText& item) const { appendItem(to, 1, item, ""); }

  // Writes and counts the text as a line. A paged line may stop at the "More" prompt and wait for a key. Returns false
  // if the user stopped the listing: then nothing was printed, and the caller ends its listing without a message. The
  // sequences that switch the style off follow the line end.
  bool writeLine(const StyledText& item, bool paged);

  // Writes the text as an unpaged line that countLines counts later, together with others: nothing stops an unpaged
  // listing, and asking for the window's height costs more than the line.
  void writeUncounted(const StyledText& item);

  // Counts unpaged lines that have been printed.
  void countLines(int lines);

  // Like writeLine; resetCounters is true for the first line of a command.
  bool writeLineFresh(const StyledText& item, bool resetCounters, bool paged);

  // Writes the text at a column (from 1) of the current line.
  void writeCell(int column, const StyledText& item);

  void resetPaging() { paging_.reset(); }

  // Counts a line that is about to be printed, and asks the user when the page is full: then it blocks for one key.
  // Returns whether to go on.
  bool pageCheck(bool paged);

  // Prints the message of a code, if it has one.
  void reportResult(ResultCode code);

 private:
  void appendText(std::string& written, int column, const char* text) const;
  void appendItem(std::string& to, int column, const StyledText& item, std::string_view lineEnd) const;
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
