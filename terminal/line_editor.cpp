#include "terminal/line_editor.h"

#include "terminal/escape_text.h"
#include "terminal/history_expansion.h"
#include "terminal/key_codes.h"
#include "terminal/waiting_stream.h"

namespace flowscope {
namespace {

constexpr int Tab = 9;
constexpr int Rubout = 127;
constexpr unsigned PageOfLines = 10;

}  // namespace

LineEditor::LineEditor(EditorHost& host, KeySource& keys, std::FILE* out, bool quiet)
    : host_(host), out_(out), quiet_(quiet) {
  if (!quiet_) input_ = std::make_unique<InputThread>(keys, *this);
}

LineEditor::~LineEditor() = default;

void LineEditor::openGate() {
  if (input_) input_->openGate();
}

void LineEditor::waitForInput() {
  if (input_) input_->finish();
}

void LineEditor::handleKey(int code) {
  carryOut(code);
  flush();
}

void LineEditor::inputResumed() {
  const std::size_t position = cursor();
  drawPrompt(host_.promptText());
  line_.setCursor(position);
  moveCursor(CursorMove::Stay);
  flush();
}

void LineEditor::inputEnded() { host_.inputEnded(); }

void LineEditor::setRunning(bool running) {
  running_ = running;
  inputRunning = running;
}

void LineEditor::drawPrompt(std::string_view promptText, std::optional<std::string_view> newContent) {
  if (quiet_) return;
  std::string prompt = toColumn(0);
  prompt.append("[").append(promptText).append("]$ ");
  write(prompt);
  promptColumn_ = static_cast<int>(promptText.size()) + 5;
  if (newContent) line_.assign(*newContent);
  redrawLine();
  moveCursor(CursorMove::LineEnd);
}

void LineEditor::redrawLine() {
  std::string drawn = toColumn(promptColumn_);
  drawn.append(buffer()).append(EraseToLineEnd);
  write(drawn);
}

void LineEditor::moveCursor(CursorMove how) {
  if (quiet_) return;
  line_.move(how);
  write(toColumn(static_cast<int>(cursor()) + promptColumn_));
}

void LineEditor::insertKey(int code) {
  if (code < 1 || code > 255) return;
  line_.insert(static_cast<char>(code));
  redrawLine();
  moveCursor(CursorMove::Right);
}

void LineEditor::clearLine() {
  line_.assign("");
  redrawLine();
  moveCursor(CursorMove::LineStart);
}

void LineEditor::killLine(LinePart part) {
  if (part == LinePart::FromCursor) {
    line_.eraseToEnd();
    redrawLine();
    moveCursor(CursorMove::LineEnd);
  } else {
    line_.eraseToStart();
    redrawLine();
    moveCursor(CursorMove::LineStart);
  }
}

void LineEditor::replaceLastWord(std::string_view text) {
  if (!line_.replaceLastWord(text)) return;
  redrawLine();
  moveCursor(CursorMove::LineEnd);
}

void LineEditor::historyBack(unsigned count) {
  if (count > 0) replaceLine(history_.back(buffer(), count));
}

void LineEditor::historyForward(unsigned count) {
  if (count > 0) replaceLine(history_.forward(buffer(), count));
}

void LineEditor::carryOut(int code) {
  switch (code) {
    case ctrlKey('A'):
    case KeyHome:
      return startOfLine();
    case ctrlKey('B'):
    case KeyLeft:
      if (!line_.atStart()) moveCursor(CursorMove::Left);
      return;
    case ctrlKey('D'):
    case KeyDelete:
      return deleteCharacter();
    case ctrlKey('E'):
    case KeyEnd:
      return moveCursor(CursorMove::LineEnd);
    case ctrlKey('F'):
    case KeyRight:
      if (!line_.atEnd()) moveCursor(CursorMove::Right);
      return;
    case ctrlKey('H'):
    case Rubout:
    case KeyBackspace:
      return backspace();
    case Tab:
      return complete();
    case KeyLineFeed:
    case KeyEnter:
      return acceptLine();
    case ctrlKey('K'):
      return killLine(LinePart::FromCursor);
    case ctrlKey('N'):
    case KeyDown:
      return historyForward(1);
    case ctrlKey('P'):
    case KeyUp:
      return historyBack(1);
    case ctrlKey('W'):
      return killLine(LinePart::BeforeCursor);
    case KeyInsert:
      return;
    case KeyPageDown:
      return historyForward(PageOfLines);
    case KeyPageUp:
      return historyBack(PageOfLines);
    default:
      return insertKey(code);
  }
}

void LineEditor::startOfLine() {
  drawPrompt(host_.promptText());
  redrawLine();
  moveCursor(CursorMove::LineStart);
}

void LineEditor::deleteCharacter() {
  if (line_.atEnd()) return;
  line_.eraseAtCursor();
  redrawLine();
  moveCursor(CursorMove::Stay);
}

void LineEditor::backspace() {
  if (line_.atStart()) return;
  const std::size_t before = cursor();
  line_.eraseBeforeCursor();
  write(EraseLine);
  drawPrompt(host_.promptText());
  redrawLine();
  line_.setCursor(before - 1);
  moveCursor(CursorMove::Stay);
}

void LineEditor::complete() {
  write("\n");
  flush();
  const std::size_t start = buffer().find_first_not_of(' ');
  const std::string line = start == std::string::npos ? std::string() : buffer().substr(start);
  host_.runEditedLine("tab " + line);
}

void LineEditor::acceptLine() {
  write("\n");
  flush();
  if (buffer().empty()) {
    drawPrompt(host_.promptText());
    return;
  }
  const ExpandedLine expanded = expandHistory(buffer(), history_.entries());
  line_.assign(expanded.executed);
  history_.record(expanded.recorded);
  // A shell that has ended needs no prompt.
  if (host_.runEditedLine(expanded.executed) == ResultQuit) return;
  clearLine();
  drawPrompt(host_.promptText());
}

void LineEditor::replaceLine(std::string_view text) {
  line_.assign(text);
  redrawLine();
  moveCursor(CursorMove::LineEnd);
}

void LineEditor::write(std::string_view text) {
  if (!quiet_) std::fwrite(text.data(), 1, text.size(), out_);
}

void LineEditor::flush() {
  if (!quiet_) flushStream(out_);
}

}  // namespace flowscope
