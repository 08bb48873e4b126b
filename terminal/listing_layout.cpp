#include "terminal/listing_layout.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "terminal/styled_text.h"

namespace flowscope {

namespace {

constexpr const char* Indentation = "    ";
constexpr const char* Branch = "+-- ";
constexpr int CellGap = 2;

// No window is higher, so counting goes no further.
constexpr int MostCounted = 65536;

const char* orNotFound(const char* name) { return name != nullptr ? name : "notfound"; }

// A quiet output has no width: it prints everything in one column.
int widthOf(const ConsoleOutput& output) { return output.quiet() ? 0 : output.terminalColumns(); }

ColumnGeometry geometryFor(std::size_t longest, int terminalWidth) {
  ColumnGeometry geometry;
  geometry.cellWidth = static_cast<int>(longest) + CellGap;
  geometry.columnCount = std::max(1, terminalWidth / geometry.cellWidth);
  return geometry;
}

// Draws trees. All lines reuse one string, which grows to the longest line.
class TreeDrawing {
 public:
  TreeDrawing(ConsoleOutput& output, bool showData, bool paged) : output_(output), showData_(showData), paged_(paged) {}
  TreeDrawing(const TreeDrawing&) = delete;
  TreeDrawing& operator=(const TreeDrawing&) = delete;
  ~TreeDrawing() {
    if (uncounted_ > 0) output_.countLines(uncounted_);
  }

  // Returns false as soon as the user stops it.
  bool drawLevel(int depth, const ListingNode& node) {
    beginLine(depth, node.listedName());
    const std::size_t count = node.listedChildCount();
    if (count > 0) line_ += '/';
    if (!writeLine(node)) return false;
    // A tree has no columns of names, so the terminal's width does not matter.
    const int cellWidth = measureNodes(node, 0).cellWidth;
    for (std::size_t index = 0; index < count; ++index) {
      const ListingNode& child = node.listedChild(index);
      const bool goOn =
          child.listedChildCount() == 0 ? drawLeaf(depth + 1, child, cellWidth) : drawLevel(depth + 1, child);
      if (!goOn) return false;
    }
    return true;
  }

 private:
  bool drawLeaf(int depth, const ListingNode& leaf, int cellWidth) {
    beginLine(depth, leaf.listedName());
    line_.resize(nameBegin_ + static_cast<std::size_t>(cellWidth), ' ');
    if (showData_) line_ += formatData(leaf.listedData());
    return writeLine(leaf);
  }

  void beginLine(int depth, const char* name) {
    line_.clear();
    for (int level = 0; level < depth; ++level) line_ += Indentation;
    line_ += Branch;
    nameBegin_ = line_.size();
    line_ += orNotFound(name);
  }

  bool writeLine(const ListingNode& node) {
    const StyledText item{node.listedAttributes(), node.listedColour(), line_.c_str()};
    if (paged_) return output_.writeLine(item, true);
    output_.writeUncounted(item);
    if (uncounted_ < MostCounted) ++uncounted_;
    return true;
  }

  ConsoleOutput& output_;
  bool showData_;
  bool paged_;
  std::string line_;
  std::size_t nameBegin_ = 0;
  int uncounted_ = 0;  // unpaged lines
};

}  // namespace

std::string nameOrNotFound(const char* name) { return orNotFound(name); }

std::string formatData(const char* text) {
  if (text == nullptr) return "[nodata]";
  std::string data = text;
  std::replace(data.begin(), data.end(), '\n', ' ');
  return "[" + data + "]";
}

std::string blanks(int count) { return std::string(static_cast<std::size_t>(std::max(count, 0)), ' '); }

ColumnGeometry measureNames(std::span<const std::string> names, int terminalWidth) {
  std::size_t longest = 0;
  for (const auto& name : names) longest = std::max(longest, name.size());
  return geometryFor(longest, terminalWidth);
}

ColumnGeometry measureNodes(const ListingNode& parent, int terminalWidth) {
  std::size_t longest = 0;
  for (std::size_t index = 0; index < parent.listedChildCount(); ++index) {
    const ListingNode& child = parent.listedChild(index);
    const std::size_t length = std::strlen(orNotFound(child.listedName()));
    longest = std::max(longest, length + (child.listedChildCount() > 0 ? 1 : 0));
  }
  return geometryFor(longest, terminalWidth);
}

bool listColumns(ConsoleOutput& output, std::span<const std::string> names, bool resetCounters, bool paged) {
  if (resetCounters) output.resetPaging();
  const auto [cellWidth, columnCount] = measureNames(names, widthOf(output));
  int column = 1;
  int cells = 0;
  for (const auto& name : names) {
    ++cells;
    if (cells == 1 && !output.pageCheck(paged)) return false;
    const std::string cell = name + blanks(cellWidth - static_cast<int>(name.size()));
    output.writeCell(column, {AttrNone, ColourDefault, cell.c_str()});
    if (cells == columnCount) {
      std::fputc('\n', output.stream());
      column = 1;
      cells = 0;
    } else {
      column += static_cast<int>(cell.size());
    }
  }
  if (cells > 0) std::fputc('\n', output.stream());
  return true;
}

bool drawTreeLevel(ConsoleOutput& output, int depth, const ListingNode& node, bool showData, bool paged) {
  return TreeDrawing(output, showData, paged).drawLevel(depth, node);
}

}  // namespace flowscope
