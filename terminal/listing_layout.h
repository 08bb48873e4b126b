// The two forms of a listing: names in columns, and a tree with one line per node.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "terminal/console_output.h"
#include "terminal/listing_node.h"

namespace flowscope {

// How names are spread over the width of the terminal, in character cells.
struct ColumnGeometry {
  int cellWidth = 0;
  int columnCount = 1;
  friend bool operator==(const ColumnGeometry&, const ColumnGeometry&) = default;
};

// Returns the name, or "notfound" for null.
std::string nameOrNotFound(const char* name);

// Returns the text in brackets, with blanks in place of line feeds; "[nodata]" for null.
std::string formatData(const char* text);

// Returns count blanks; none if count is below 1.
std::string blanks(int count);

// A cell is two wider than the longest name; there is at least one column, however narrow the terminal is.
ColumnGeometry measureNames(std::span<const std::string> names, int terminalWidth);

// Like measureNames, for the children of a node; the name of a child that has children itself includes a "/".
ColumnGeometry measureNodes(const ListingNode& parent, int terminalWidth);

// Prints the names in columns, row by row. resetCounters starts a new page of the pager. Returns false if the user
// stopped at the pager's prompt.
bool listColumns(ConsoleOutput& output, std::span<const std::string> names, bool resetCounters, bool paged);

// Prints a node and everything below it, one line each, indented by depth. showData adds the data text to the lines of
// leaves, in one column for each set of siblings. Returns false as soon as the user stops at the pager's prompt.
bool drawTreeLevel(ConsoleOutput& output, int depth, const ListingNode& node, bool showData, bool paged);

}  // namespace flowscope
