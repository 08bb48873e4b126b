// The line editor: turns keys into edits, draws the line and passes finished lines to the shell.
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
// draws nothing and never moves its cursor.
class LineEditor final : public KeySink {
 public:
  // Starts the input thread unless quiet; the thread handles its first key only after openGate is called. The host, the
  // keys and the stream are borrowed and must outlive the editor. Throws std::system_error if the system refuses
  // another thread.
  LineEditor(EditorHost& host, KeySource& keys, std::FILE* out, bool quiet);

  // Ends the input thread, even if it waits for a key, and joins it.
  ~LineEditor() override;

  // Lets the input thread handle keys: the shell is complete.
  void openGate();

  // Blocks until the input thread has finished its last command and ended; no key is handled after that. Do not call it
  // on the input thread.
  void waitForInput();

  // Carries out the key and flushes the stream. A code without a binding is inserted if it is a byte value 1 to 255,
  // and ignored otherwise.
  void handleKey(int code) override;

  // Draws the prompt and the line again, with the cursor where it was.
  void inputResumed() override;

  // Notifies the host.
  void inputEnded() override;

  // Sets the editor's copy of the shell's running flag, and inputRunning with it. Any thread may call it.
  void setRunning(bool running);
  bool running() const { return running_; }

  // Draws "[promptText]$ " and the line behind it, and moves the cursor to the end of the line. newContent, if given,
  // first becomes the line.
  void drawPrompt(std::string_view promptText, std::optional<std::string_view> newContent = std::nullopt);

  // Draws the line and erases the rest of the screen line. The screen's cursor is then behind the text; call moveCursor
  // next.
  void redrawLine();

  void moveCursor(CursorMove how);

  void insertKey(int code);
  void clearLine();
  void killLine(LinePart part);

  // See LineBuffer::replaceLastWord; draws nothing if the line holds neither "/" nor a blank.
  void replaceLastWord(std::string_view text);

  // Replace the line by an entered one, count lines away (see History). They draw the line even if there was no such
  // line; with a count of 0 they draw nothing.
  void historyBack(unsigned count);
  void historyForward(unsigned count);

  const std::string& buffer() const { return line_.text(); }
  std::size_t cursor() const { return line_.cursor(); }

  // Returns the column, from 1, where the line starts on the screen; 0 before the first prompt.
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
  std::unique_ptr<InputThread> input_;  // last: the thread uses the members above
};

}  // namespace flowscope
