// Counts printed lines and decides when the page is full. No input or output.
#pragma once

namespace flowscope {

// Print the line, or ask the user first.
enum class PageDecision { Print, Ask };

// Whether the listing continues after the user was asked.
enum class PageAnswer { GoOn, Stop };

class PagingCounters {
 public:
  void reset();

  // Counts one line that is about to be printed on a terminal with this many rows. Unpaged lines are only counted, up
  // to rows - 1; paged lines ask on each page after rows - 2 lines.
  PageDecision countLine(int rows, bool paged);

  // Counts unpaged lines, as many calls of countLine would.
  void countUnpaged(int rows, int lines);

  // Takes the key that answers the prompt (a byte, a key code, or the end of input): "q" stops, Enter lets one more
  // line through, every other key a whole page.
  PageAnswer answer(int key);

 private:
  int lineCount_ = 0;  // since the last reset; stays at the limit once it is reached
  int pageLines_ = 0;  // on the current page, paged lines only
};

}  // namespace flowscope
