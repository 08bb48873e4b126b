// The text of messages that waits for the screen.
#pragma once

#include <atomic>
#include <cstdio>
#include <string>

#include "terminal/console_output.h"
#include "terminal/parting_text.h"
#include "terminal/pending_text.h"

namespace flowscope {

// One thread appends; any thread writes.
class CollectedScreen final : public PartingText {
 public:
  CollectedScreen() { enter(); }
  ~CollectedScreen() override { leave(); }

  // Sets the stream that the text is written to. Call it only while no text waits.
  void useStream(std::FILE* stream);

  // Appends an item as writeStyled of the output would write it. Returns false if there is not enough room, and then
  // appends nothing; an item larger than all room is cut.
  bool append(const ConsoleOutput& output, const StyledText& item);

  // How much was appended ever.
  PendingText::Mark end() const { return text_.end(); }

  // Writes what was appended before the mark, after what waits in the stream. Blocks as the stream does.
  void writeBefore(PendingText::Mark mark);

  // The file is written before this, and does not get what comes later.
  void endOnSignal(const PartingTime& time) noexcept override { endOnSignal_ = text_.endOnSignal(time); }
  void writeOnSignal(const PartingTime& time) noexcept override;

 private:
  std::atomic<std::FILE*> stream_ = nullptr;
  std::atomic<int> descriptor_ = -1;
  PendingText text_;
  PendingText::Mark endOnSignal_ = 0;  // one handler at a time
  std::string item_;                   // kept to save an allocation for each message
};

}  // namespace flowscope
