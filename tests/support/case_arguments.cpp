#include "tests/support/case_arguments.h"

#include <array>
#include <charconv>
#include <utility>

#include "tests/support/case_script.h"
#include "tests/support/escapes.h"

namespace testsupport {
namespace {

// A number without a sign that is the whole text.
std::optional<int> number(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && value >= 0 ? std::optional(value) : std::nullopt;
}

}  // namespace

std::optional<WindowSize> windowSize(std::string_view text) {
  const std::size_t cross = text.find('x');
  if (cross == std::string_view::npos) {
    return std::nullopt;
  }
  const auto columns = number(text.substr(0, cross));
  const auto rows = number(text.substr(cross + 1));
  if (!columns || !rows || *columns < 1 || *rows < 1 || *columns > 1000 || *rows > 1000) {
    return std::nullopt;
  }
  return WindowSize{static_cast<unsigned short>(*rows), static_cast<unsigned short>(*columns)};
}

std::optional<ExitStatus> exitStatus(std::string_view text) {
  constexpr std::string_view BySignal = "signal ";
  if (text.starts_with(BySignal)) {
    const auto signal = signalNumber(text.substr(BySignal.size()));
    return signal ? std::optional(ExitStatus::signalled(*signal)) : std::nullopt;
  }
  const auto status = number(text);
  return status ? std::optional(ExitStatus::exited(*status)) : std::nullopt;
}

std::optional<PlacedWords> placedWords(std::string_view text) {
  const auto words = splitWords(text);
  if (!words || words->size() < 2) {
    return std::nullopt;
  }
  const auto row = number((*words)[0]);
  const auto column = number((*words)[1]);
  if (!row || !column || *row < 1 || *column < 1) {
    return std::nullopt;
  }
  return PlacedWords{{*row, *column}, {words->begin() + 2, words->end()}};
}

std::optional<Cell> cellStyle(const std::vector<std::string>& words) {
  constexpr std::array<std::string_view, 8> Colours{"black", "red",     "green", "yellow",
                                                    "blue",  "magenta", "cyan",  "white"};
  Cell cell;
  for (const std::string& word : words) {
    bool known = word == "plain";
    for (const auto& [name, flag] : {std::pair{"bold", &Cell::bold}, std::pair{"underline", &Cell::underline},
                                     std::pair{"blink", &Cell::blink}, std::pair{"reverse", &Cell::reverse}}) {
      if (word == name) {
        cell.*flag = true;
        known = true;
      }
    }
    for (std::size_t index = 0; index < Colours.size(); ++index) {
      if (word == Colours[index]) {
        cell.colour = static_cast<int>(index);
        known = true;
      }
    }
    if (!known) {
      return std::nullopt;
    }
  }
  return words.empty() ? std::nullopt : std::optional(cell);
}

std::optional<std::string> blockText(const std::vector<std::string>& block) {
  constexpr std::string_view NoLineEnd = R"(\c)";
  std::string text;
  for (std::string_view line : block) {
    const bool open = line.ends_with(NoLineEnd);
    if (open) {
      line.remove_suffix(NoLineEnd.size());
    }
    const auto bytes = unescape(line);
    if (!bytes) {
      return std::nullopt;
    }
    text += *bytes;
    if (!open) {
      text += '\n';
    }
  }
  return text;
}

std::optional<std::string> blockBytes(const std::vector<std::string>& block) {
  std::string bytes;
  for (const std::string& line : block) {
    const auto part = unescape(line);
    if (!part) {
      return std::nullopt;
    }
    bytes += *part;
  }
  return bytes;
}

std::optional<std::string> hexBytes(const std::vector<std::string>& block) {
  std::string bytes;
  for (std::string_view line : block) {
    line = line.substr(0, line.find('#'));
    for (std::size_t at = line.find_first_not_of(' '); at != std::string_view::npos;
         at = line.find_first_not_of(' ', at)) {
      unsigned value = 0;
      const std::string_view digits = line.substr(at, 2);
      const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
      if (digits.size() != 2 || error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
      }
      bytes += static_cast<char>(static_cast<unsigned char>(value));
      at += 2;
    }
  }
  return bytes;
}

}  // namespace testsupport
