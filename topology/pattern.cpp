#include "topology/pattern.h"

#include <regex.h>

#include <algorithm>
#include <ctime>
#include <utility>

#include "topology/pattern_bounds.h"

namespace flowscope {

namespace {

// The engine caches every state of a match, never frees it, and searches all of them again and again. A pattern that
// matches in many ways would take gigabytes over the paths of a large device. So compile again after each piece of this
// many bytes, if that is cheap.
constexpr std::size_t PieceOfText = 8192;

// CPU time of this thread, so that other load on the machine does not matter.
double processorSeconds() {
  timespec used{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

class Expression {
 public:
  explicit Expression(std::string text) : text_(std::move(text)) { compile(); }
  Expression(const Expression&) = delete;
  Expression& operator=(const Expression&) = delete;
  ~Expression() { release(); }

  bool valid() const { return valid_; }

  // Returns false also if memory runs out.
  bool matchesWhole(const std::string& text) {
    read_ += text.size();
    if (read_ > PieceOfText) {
      read_ = text.size();
      if (isWorthCompiling()) {
        release();
        compile();
      }
    }
    regmatch_t match{};
    if (!valid_ || regexec(&compiled_, text.c_str(), 1, &match, 0) != 0) return false;
    return match.rm_so == 0 && std::cmp_equal(match.rm_eo, text.size());
  }

 private:
  // Called after each piece of text. The compile time includes the first piece, for which the engine creates most of
  // its states. Returns true once later pieces took as long, so compiling takes at most half the time. This also bounds
  // what the engine caches, because each state costs time.
  bool isWorthCompiling() {
    const double now = processorSeconds();
    if (hasBegun_) return now - mark_ >= beginSeconds_;
    hasBegun_ = true;
    beginSeconds_ = now - std::exchange(mark_, now);
    return false;
  }

  void compile() {
    mark_ = processorSeconds();
    hasBegun_ = false;
    valid_ = regcomp(&compiled_, text_.c_str(), REG_NEWLINE) == 0;
  }
  void release() {
    if (valid_) regfree(&compiled_);  // after a failed regcomp nothing may be freed
  }

  std::string text_;
  regex_t compiled_{};
  bool valid_ = false;
  std::size_t read_ = 0;  // bytes of the current piece
  bool hasBegun_ = false;
  double mark_ = 0;  // CPU time when compiling began; after the first piece, when the second one began
  double beginSeconds_ = 0;
};

// Returns a text that every match of the pattern begins with, so that the engine need not read paths that cannot match.
// Empty if the pattern has a backslash, which may introduce alternatives or make the text before it optional.
std::string_view literalStart(std::string_view pattern) {
  if (pattern.find('\\') != std::string_view::npos) return {};
  return pattern.substr(0, pattern.find_first_of(".[*^$"));
}

bool sameAsFarAsBothReach(std::string_view a, std::string_view b) {
  const std::size_t length = std::min(a.size(), b.size());
  return a.substr(0, length) == b.substr(0, length);
}

// Walks the tree depth first and calls visit(path) for each node down to maxDepth. Walks below a node if visit returns
// true. All paths share one buffer.
template <class Visit>
void walkPaths(std::size_t maxDepth, const TopologyNode::Children& children, Visit visit) {
  struct Level {
    const TopologyNode::Children& nodes;
    std::size_t next;
    std::size_t parentLength;
  };
  std::string path;
  std::vector<Level> levels;
  levels.push_back({children, 0, 0});
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next == level.nodes.size()) {
      levels.pop_back();
      continue;
    }
    const TopologyNode& node = *level.nodes[level.next++];
    path.resize(level.parentLength);
    path += '/';
    path += node.name;
    if (visit(std::as_const(path)) && levels.size() < maxDepth && !node.children.empty()) {
      levels.push_back({node.children, 0, path.size()});
    }
  }
}

}  // namespace

void splitAtChar(std::string_view text, std::vector<std::string>& result, char separator) {
  for (;;) {
    const std::size_t end = text.find(separator);
    if (end == std::string_view::npos) break;
    if (end > 0) result.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  result.emplace_back(text);
}

void collectNodePaths(std::size_t maxDepth, const TopologyNode::Children& children, std::vector<std::string>& result) {
  walkPaths(maxDepth, children, [&result](const std::string& path) {
    result.push_back(path);
    return true;
  });
}

std::vector<std::string> expandPattern(const std::string& pattern, const TopologyNode& root) {
  std::vector<std::string> result;

  std::string text;
  for (const char c : pattern) {
    if (c == '*') text += '.';
    text += c;
  }
  if (!isWithinPatternBounds(text)) return result;
  Expression expression(std::move(text));
  if (!expression.valid()) return result;

  std::vector<std::string> pieces;
  splitAtChar(pattern, pieces, '/');
  const std::string_view start = literalStart(pattern);
  walkPaths(pieces.size(), root.children, [&](const std::string& path) {
    if (!sameAsFarAsBothReach(path, start)) return false;
    if (path.size() >= start.size() && expression.matchesWhole(path)) result.push_back(path);
    return true;
  });
  return result;
}

}  // namespace flowscope
