#include "topology/pattern_bounds.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace flowscope {

namespace {

// The size of a part of an expression when it is written out.
struct Size {
  std::uint64_t bytes = 0;
  std::uint64_t wildcards = 0;
  std::uint64_t anchors = 0;
  std::uint64_t references = 0;

  Size& operator+=(const Size& other) {
    bytes += other.bytes;
    wildcards += other.wildcards;
    anchors += other.anchors;
    references += other.references;
    return *this;
  }
  Size& operator*=(std::uint64_t times) {
    bytes *= times;
    wildcards *= times;
    anchors *= times;
    references *= times;
    return *this;
  }
  bool isWithinBounds() const {
    return bytes <= MaximumPatternLength && wildcards <= MaximumPatternWildcards && anchors <= MaximumPatternAnchors &&
           references <= MaximumPatternBackReferences;
  }
};

constexpr Size Plain{.bytes = 1};
constexpr Size Wildcard{.bytes = 1, .wildcards = 1};
constexpr Size Anchor{.bytes = 1, .anchors = 1};

// Above every bound, and small enough to multiply with one.
constexpr std::uint64_t TooMany = 100'000;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Reads an expression once, from left to right. Checks the sums after each step, so they stay small.
class Measure {
 public:
  explicit Measure(std::string_view expression) : rest_(expression) {}

  bool isWithinBounds() {
    while (!rest_.empty()) {
      readPart();
      Size sum = open_.back().before;
      sum += open_.back().last;
      if (!sum.isWithinBounds() || open_.size() > MaximumPatternNesting + 1) return false;
    }
    // An expression with an open group is invalid, but the engine reads it to the end before it reports that.
    Size all;
    for (const Level& level : open_) {
      all += level.before;
      all += level.last;
    }
    return all.isWithinBounds();
  }

 private:
  // An open group, or the whole expression.
  struct Level {
    Size before;
    Size last;  // what a following repetition repeats
  };

  char take() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  void readPart() {
    switch (take()) {
      case '\\':
        return readEscape();
      case '[':
        return append({.bytes = 1 + takeBracket()});
      case '*':
        return repeat(1, Wildcard);
      case '^':
      case '$':
        return append(Anchor);
      default:
        return append(Plain);
    }
  }

  void readEscape() {
    if (rest_.empty()) return append(Plain);
    const char c = take();
    switch (c) {
      case '(':
        return openGroup();
      case ')':
        return closeGroup();
      case '{':
        return repeat(takeInterval(), Wildcard);
      case '+':
        return repeat(2, Wildcard);
      case '?':
        return repeat(1, Wildcard);
      case '<':
      case '>':
      case 'b':
      case 'B':
      case '`':
      case '\'':
        return append({.bytes = 2, .anchors = 1});
      default:
        return append({.bytes = 2, .references = isDigit(c) && c != '0' ? std::uint64_t{1} : 0});
    }
  }

  void append(const Size& part) {
    Level& level = open_.back();
    level.before += level.last;
    level.last = part;
  }

  void repeat(std::uint64_t times, const Size& sign) {
    Size& last = open_.back().last;
    last *= times;
    last += sign;
  }

  void openGroup() {
    append({.bytes = 2});
    open_.emplace_back();
  }

  void closeGroup() {
    if (open_.size() == 1) return append({.bytes = 2});
    Size group = open_.back().before;
    group += open_.back().last;
    group += {.bytes = 2};
    open_.pop_back();
    open_.back().last += group;  // added to the sign that opened it
  }

  std::uint64_t takeNumber() {
    std::uint64_t number = 0;
    while (!rest_.empty() && isDigit(rest_.front())) {
      number = std::min<std::uint64_t>(TooMany, number * 10 + static_cast<std::uint64_t>(take() - '0'));
    }
    return number;
  }

  // Returns how many copies "\{" makes the engine write of what precedes it. Without an upper limit there is one copy
  // more, followed by "*".
  std::uint64_t takeInterval() {
    std::uint64_t times = takeNumber();
    if (!rest_.empty() && rest_.front() == ',') {
      take();
      times = !rest_.empty() && isDigit(rest_.front()) ? std::max(times, takeNumber()) : times + 1;
    }
    if (rest_.starts_with("\\}")) rest_.remove_prefix(2);
    return std::max<std::uint64_t>(1, times);
  }

  // Skips the text between brackets, with the closing one. Returns how many bytes it skipped.
  std::size_t takeBracket() {
    std::size_t at = rest_.starts_with('^') ? 1 : 0;
    if (rest_.substr(at).starts_with(']')) ++at;
    while (at < rest_.size() && rest_[at] != ']') at = endOfElement(at);
    const std::size_t length = std::min(at + 1, rest_.size());
    rest_.remove_prefix(length);
    return length;
  }

  // Returns the position behind the bracket element at a position: a class like "[:alpha:]", or else one byte. A class
  // that is not closed makes the expression invalid.
  std::size_t endOfElement(std::size_t at) const {
    const std::string_view element = rest_.substr(at);
    for (const auto& [opening, closing] : {std::pair("[:", ":]"), std::pair("[=", "=]"), std::pair("[.", ".]")}) {
      if (!element.starts_with(opening)) continue;
      const std::size_t end = element.find(closing, 2);
      return end == std::string_view::npos ? rest_.size() : at + end + 2;
    }
    return at + 1;
  }

  std::string_view rest_;
  std::vector<Level> open_{1};
};

}  // namespace

bool isWithinPatternBounds(std::string_view expression) { return Measure(expression).isWithinBounds(); }

}  // namespace flowscope
