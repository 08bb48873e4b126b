// Columns of text.
#pragma once

#include <string>
#include <vector>

namespace streamctl {

// Rows of cells as lines. Each cell but the last of a row is as wide as its column's widest; two blanks separate
// columns. All rows have the same number of cells, at least one, of printable text. An empty cell is printed as "-".
std::string textTable(const std::vector<std::vector<std::string>>& rows);

}  // namespace streamctl
