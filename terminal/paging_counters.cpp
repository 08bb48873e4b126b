#include "terminal/paging_counters.h"

#include <algorithm>

#include "terminal/key_codes.h"

namespace flowscope {

void PagingCounters::reset() { *this = PagingCounters(); }

PageDecision PagingCounters::countLine(int rows, bool paged) {
  const int limit = paged ? rows - 2 : rows - 1;
  if (lineCount_ < limit) {
    ++lineCount_;
    if (paged) ++pageLines_;
    return PageDecision::Print;
  }
  if (!paged) return PageDecision::Print;
  if (pageLines_ < limit) {
    ++pageLines_;
    return PageDecision::Print;
  }
  return PageDecision::Ask;
}

void PagingCounters::countUnpaged(int rows, int lines) {
  const int limit = rows - 1;
  if (lineCount_ < limit) lineCount_ += std::min(lines, limit - lineCount_);
}

PageAnswer PagingCounters::answer(int key) {
  if (key == 'q') return PageAnswer::Stop;
  // After Enter the page stays full, so the next line asks again.
  if (key != KeyLineFeed && key != KeyEnter) pageLines_ = 1;
  return PageAnswer::GoOn;
}

}  // namespace flowscope
