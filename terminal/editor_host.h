// What the line editor needs from its shell.
#pragma once

#include <string>

#include "terminal/result_code.h"

namespace flowscope {

class EditorHost {
 public:
  EditorHost() = default;
  EditorHost(const EditorHost&) = delete;
  EditorHost& operator=(const EditorHost&) = delete;
  virtual ~EditorHost() = default;

  // Returns the current text inside the prompt's brackets.
  virtual std::string promptText() = 0;

  // Executes a line and returns its result when it is done. Meanwhile it may call the editor to draw the prompt or to
  // change the edited line; line itself does not change.
  virtual ResultCode runEditedLine(const std::string& line) = 0;

  // No more keys come: the shell should stop. The input thread calls it once, as its last action.
  virtual void inputEnded() = 0;
};

}  // namespace flowscope
