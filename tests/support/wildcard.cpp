#include "tests/support/wildcard.h"

#include <cstddef>

namespace testsupport {
namespace {

constexpr std::string_view AnyText = "{*}";
constexpr std::string_view AnyRows = "{**}";

std::span<const std::string> withoutEmptyEnd(std::span<const std::string> rows) {
  while (!rows.empty() && rows.back().find_first_not_of(' ') == std::string::npos) {
    rows = rows.first(rows.size() - 1);
  }
  return rows;
}

std::string_view withoutBlanksAtEnd(std::string_view text) { return text.substr(0, text.find_last_not_of(' ') + 1); }

bool matchesFrom(std::span<const std::string> patterns, std::span<const std::string> rows) {
  while (!patterns.empty()) {
    if (patterns.front() == AnyRows) {
      patterns = patterns.subspan(1);
      for (std::size_t skipped = 0; skipped <= rows.size(); ++skipped) {
        if (matchesFrom(patterns, rows.subspan(skipped))) {
          return true;
        }
      }
      return false;
    }
    if (rows.empty() || !matchesText(withoutBlanksAtEnd(patterns.front()), withoutBlanksAtEnd(rows.front()))) {
      return false;
    }
    patterns = patterns.subspan(1);
    rows = rows.subspan(1);
  }
  return rows.empty();
}

}  // namespace

bool matchesText(std::string_view pattern, std::string_view text) {
  std::size_t wildcard = pattern.find(AnyText);
  if (wildcard == std::string_view::npos) {
    return pattern == text;
  }
  if (!text.starts_with(pattern.substr(0, wildcard))) {
    return false;
  }
  text.remove_prefix(wildcard);
  pattern.remove_prefix(wildcard + AnyText.size());
  // Every part between two wildcards is matched at its first occurrence, which leaves the most text for the rest.
  for (;;) {
    wildcard = pattern.find(AnyText);
    if (wildcard == std::string_view::npos) {
      return text.ends_with(pattern);
    }
    const std::size_t found = text.find(pattern.substr(0, wildcard));
    if (found == std::string_view::npos) {
      return false;
    }
    text.remove_prefix(found + wildcard);
    pattern.remove_prefix(wildcard + AnyText.size());
  }
}

bool matchesRows(std::span<const std::string> patterns, std::span<const std::string> rows) {
  return matchesFrom(withoutEmptyEnd(patterns), withoutEmptyEnd(rows));
}

}  // namespace testsupport
