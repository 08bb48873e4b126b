// The line that the user types: keys in, edits and drawing out, finished lines to the shell.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "terminal/editor_host.h"
#include "terminal/history.h"
#include "terminal/input_thread.h"
#include "terminal/key_sink.h"
#include "terminal/key_source.h"
#include "terminal/line_buffer.h"

namespace flowscope {

enum class LinePart { BeforeCursor, FromCursor };

// Used by the input thread, and by the shell's thread before the gate is open. A quiet editor has no input thread,
// draws nothing, and its cursor never moves.
class LineEditor final : public KeySink {
 public:
  // Starts the input thread unless quiet; it handles its first key only when openGate is called. The host, the keys
  // and the stream are borrowed and must outlive the editor. Throws std::system_error when the system refuses another
  // thread.
  LineEditor(EditorHost& host, KeySource& keys, std::FILE* out, bool quiet);

  // Ends the input thread, which may be waiting for a key, and joins it.
  ~LineEditor() override;

  // The shell is complete: keys are handled from now on.
  void openGate();

  // Blocks until the input thread has left its last command and ended; no key is handled after that. Not on the input
  // thread.
  void waitForInput();

  // Carries out the key and flushes the stream. Codes without a binding are inserted when they are byte values 1 to
  // 255, and ignored otherwise.
  void handleKey(int code) override;

  // Draws the prompt and the line again, the cursor where it was.
  void inputResumed() override;

  // Tells the host.
  void inputEnded() override;

  // The editor's copy of the shell's running flag, stored together with inputRunning. From any thread.
  void setRunning(bool running);
  bool running() const { return running_; }

  // Draws "[promptText]$ " and the line behind it, and moves the cursor to the line's end. newContent, when given,
  // becomes the line first.
  void drawPrompt(std::string_view promptText, std::optional<std::string_view> newContent = std::nullopt);

  // The line, from the prompt to the end of the screen line. The screen's cursor is left behind the text; a
  // moveCursor follows.
  void redrawLine();

  void moveCursor(CursorMove how);

  void insertKey(int code);
  void clearLine();
  void killLine(LinePart part);

  // See LineBuffer::replaceLastWord; without a "/" or a blank in the line nothing is drawn.
  void replaceLastWord(std::string_view text);

  // Replace the line by one that was entered before, count lines away, see History. The line is drawn also when there
  // was no such line; with a count of 0 nothing is.
  void historyBack(unsigned count);
  void historyForward(unsigned count);

  const std::string& buffer() const { return line_.text(); }
  std::size_t cursor() const { return line_.cursor(); }

  // The column, from 1, at which the line starts on the screen; 0 before the first prompt.
  int promptColumn() const { return promptColumn_; }

  const History& history() const { return history_; }

 private:
  void carryOut(int code);
  void startOfLine();
  void deleteCharacter();
  void backspace();
  void complete();
  void acceptLine();
  void replaceLine(std::string_view text);
  void write(std::string_view text);
  void flush();

  EditorHost& host_;
  std::FILE* out_;
  const bool quiet_;
  std::atomic<bool> running_{true};
  LineBuffer line_;
  int promptColumn_ = 0;
  History history_;
  std::unique_ptr<InputThread> input_;  // last: the thread uses what stands above
};

}  // namespace flowscope
