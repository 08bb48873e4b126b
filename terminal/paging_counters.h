// How many lines went by, and whether the page is full. No input or output.
#pragma once

namespace flowscope {

// Whether a line may be printed as it is, or the user must be asked first.
enum class PageDecision { Print, Ask };

// Whether the listing goes on after the user was asked.
enum class PageAnswer { GoOn, Stop };

class PagingCounters {
 public:
  void reset();

  // Counts one line that is about to be printed on a terminal of rows rows. Unpaged lines are only counted, up to one
  // less than the rows; paged ones stop two rows before the end, on each page.
  PageDecision countLine(int rows, bool paged);

  // Takes the key that answered the prompt (a byte, a key code, or the end of input): "q" stops, Enter lets one more
  // line by, and everything else a whole page.
  PageAnswer answer(int key);

 private:
  int lineCount_ = 0;  // since the last reset; stays at the limit once it is reached
  int pageLines_ = 0;  // on the current page, paged lines only
};

}  // namespace flowscope
