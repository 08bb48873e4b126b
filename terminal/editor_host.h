// What the line editor needs of the shell around it.
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

  // What stands inside the prompt's frame, as of now.
  virtual std::string promptText() = 0;

  // Executes a line and answers when it is done. The editor may be called from inside, to draw the prompt or to
  // change the line; line stays as it is.
  virtual ResultCode runEditedLine(const std::string& line) = 0;

  // There will be no more keys: the shell should stop. Called on the input thread, once, as its last act.
  virtual void inputEnded() = 0;
};

}  // namespace flowscope
