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

// A quiet output has no width: everything stands in one column.
int widthOf(const ConsoleOutput& output) { return output.quiet() ? 0 : output.terminalColumns(); }

ColumnGeometry geometryFor(std::size_t longest, int terminalWidth) {
  ColumnGeometry geometry;
  geometry.cellWidth = static_cast<int>(longest) + CellGap;
  geometry.columnCount = std::max(1, terminalWidth / geometry.cellWidth);
  return geometry;
}

std::string lineStart(int depth) {
  std::string line;
  for (int level = 0; level < depth; ++level) line += Indentation;
  return line += Branch;
}

bool writeNode(ConsoleOutput& output, const ListingNode& node, const std::string& line, bool paged) {
  return output.writeLine({node.listedAttributes(), node.listedColour(), line.c_str()}, paged);
}

bool drawLeaf(ConsoleOutput& output, int depth, const ListingNode& leaf, int cellWidth, bool showData, bool paged) {
  const std::string name = nameOrNotFound(leaf.listedName());
  std::string line = lineStart(depth);
  line.append(name).append(blanks(cellWidth - static_cast<int>(name.size())));
  if (showData) line += formatData(leaf.listedData());
  return writeNode(output, leaf, line, paged);
}

}  // namespace

std::string nameOrNotFound(const char* name) { return name != nullptr ? name : "notfound"; }

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
    const char* const name = child.listedName();
    const std::size_t length = name != nullptr ? std::strlen(name) : nameOrNotFound(nullptr).size();
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
  std::string line = lineStart(depth) + nameOrNotFound(node.listedName());
  if (node.listedChildCount() > 0) line += '/';
  if (!writeNode(output, node, line, paged)) return false;
  const int cellWidth = measureNodes(node, widthOf(output)).cellWidth;
  for (std::size_t index = 0; index < node.listedChildCount(); ++index) {
    const ListingNode& child = node.listedChild(index);
    const bool goOn = child.listedChildCount() == 0 ? drawLeaf(output, depth + 1, child, cellWidth, showData, paged)
                                                    : drawTreeLevel(output, depth + 1, child, showData, paged);
    if (!goOn) return false;
  }
  return true;
}

}  // namespace flowscope
