// Columns of text.
#pragma once

#include <string>
#include <vector>

namespace streamctl {

// Rows of cells as lines, each cell but the last of a row as wide as its column's widest, two blanks between columns.
// Rows have the same number of cells, at least one, of printable text; an empty cell is shown as "-".
std::string textTable(const std::vector<std::vector<std::string>>& rows);

}  // namespace streamctl
