#include "terminal/console_output.h"

#include <string>

#include "terminal/escape_text.h"

namespace flowscope {
namespace {

// Enough for the usual line with its sequences.
constexpr std::size_t ReservedLength = 160;

}  // namespace

ConsoleOutput::ConsoleOutput(std::FILE* out, TerminalSize& size, KeySource& keys, bool quiet)
    : out_(out), size_(size), keys_(keys), quiet_(quiet) {}

void ConsoleOutput::applyStyle(std::uint32_t attributes, std::uint32_t colour) {
  if (!quiet_) write(styleOn(attributes, colour));
}

void ConsoleOutput::clearStyle(std::uint32_t attributes, std::uint32_t colour) { write(styleOff(attributes, colour)); }

void ConsoleOutput::writeAt(int column, const char* text) {
  std::string written;
  appendText(written, column, text);
  write(written);
}

void ConsoleOutput::writeStyled(const StyledText& item) { write(itemAt(1, item, "")); }

bool ConsoleOutput::writeLine(const StyledText& item, bool paged) {
  if (!pageCheck(paged)) return false;
  writeUncounted(item);
  return true;
}

void ConsoleOutput::writeUncounted(const StyledText& item) { write(itemAt(1, item, "\n")); }

void ConsoleOutput::countLines(int lines) {
  if (!quiet_) paging_.countUnpaged(terminalRows(), lines);
}

bool ConsoleOutput::writeLineFresh(const StyledText& item, bool resetCounters, bool paged) {
  if (resetCounters) resetPaging();
  return writeLine(item, paged);
}

void ConsoleOutput::writeCell(int column, const StyledText& item) { write(itemAt(column, item, "")); }

bool ConsoleOutput::pageCheck(bool paged) {
  if (quiet_) return true;
  if (paging_.countLine(terminalRows(), paged) == PageDecision::Print) return true;
  return askForPage() == PageAnswer::GoOn;
}

void ConsoleOutput::reportResult(ResultCode code) {
  const char* message = resultMessage(code);
  if (message == nullptr) return;
  std::string line = message;
  if (!quiet_) line += '\n';
  writeStyled({AttrNone, ColourDefault, line.c_str()});
}

void ConsoleOutput::appendText(std::string& written, int column, const char* text) const {
  if (!quiet_) written += toColumn(column);
  if (text == nullptr) return;
  written += text;
  if (quiet_) written += '\n';
}

void ConsoleOutput::appendItem(std::string& to, int column, const StyledText& item, std::string_view lineEnd) const {
  if (!quiet_) to += styleOn(item.attributes, item.colour);
  appendText(to, column, item.text);
  if (!quiet_) to += lineEnd;
  to += styleOff(item.attributes, item.colour);
}

// Returns one item as one text: a single write keeps the lines of two threads apart.
std::string ConsoleOutput::itemAt(int column, const StyledText& item, std::string_view lineEnd) const {
  std::string written;
  written.reserve(ReservedLength);
  appendItem(written, column, item, lineEnd);
  return written;
}

PageAnswer ConsoleOutput::askForPage() {
  int key = InputResumed;
  while (key == InputResumed) {
    applyStyle(AttrReverse | AttrBlink, ColourDefault);
    write("More");
    clearStyle(AttrReverse | AttrBlink, ColourDefault);
    key = keys_.readByte();
    write(EraseLine);
    // The prompt is drawn again at the same place.
    if (key == InputResumed) write(toColumn(1));
  }
  return paging_.answer(key);
}

void ConsoleOutput::write(std::string_view text) {
  if (!text.empty()) std::fwrite(text.data(), 1, text.size(), out_);
}

}  // namespace flowscope
