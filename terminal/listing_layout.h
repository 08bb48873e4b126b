// The two forms of a listing: names in columns, and a tree with one line a place.
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

// The name, or "notfound" for null.
std::string nameOrNotFound(const char* name);

// The text in brackets, its line feeds as blanks; "[nodata]" for null.
std::string formatData(const char* text);

// So many blanks; none for a count below 1.
std::string blanks(int count);

// Cells are two wider than the longest name; there is at least one column, however narrow the terminal.
ColumnGeometry measureNames(std::span<const std::string> names, int terminalWidth);

// The same for the children of a node, where a name carries "/" when its node has children.
ColumnGeometry measureNodes(const ListingNode& parent, int terminalWidth);

// Prints the names in columns, row by row. resetCounters starts the pager's page anew. False when the user stopped it
// at the pager's prompt.
bool listColumns(ConsoleOutput& output, std::span<const std::string> names, bool resetCounters, bool paged);

// Prints a node and everything below it, a line each, indented by its depth. showData adds the data text to the lines
// of leaves, in one column for each set of siblings. False as soon as the user stopped it at the pager's prompt.
bool drawTreeLevel(ConsoleOutput& output, int depth, const ListingNode& node, bool showData, bool paged);

}  // namespace flowscope
