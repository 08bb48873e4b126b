#include "platform/streamctl/text_table.h"

#include <algorithm>
#include <string_view>

#include "platform/system/printable.h"

namespace streamctl {
namespace {

constexpr std::size_t Gap = 2;

std::string_view shown(const std::string& cell) { return cell.empty() ? std::string_view("-") : cell; }

}  // namespace

std::string textTable(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], sys::columns(shown(row[i])));
  }
  std::string text;
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      text += shown(row[i]);
      if (i + 1 < row.size()) text.append(widths[i] + Gap - sys::columns(shown(row[i])), ' ');
    }
    text += '\n';
  }
  return text;
}

}  // namespace streamctl
