#include "platform/streamctl/progress_text.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace streamctl {
namespace {

constexpr std::size_t LeastBar = 10;
constexpr std::size_t MostBar = 60;

std::string clock(device::Time time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time).count();
  const std::string rest = std::to_string(seconds % 60);
  return std::to_string(seconds / 60) + (rest.size() < 2 ? ":0" : ":") + rest;
}

std::string bar(std::size_t inside, double part) {
  const auto done = std::min(static_cast<std::size_t>(static_cast<double>(inside) * part), inside);
  std::string text(done, '=');
  if (done < inside) text.append(1, '>').append(inside - done - 1, ' ');
  return '[' + text + ']';
}

}  // namespace

std::string progressText(device::Time position, device::Time length, std::size_t columns) {
  const double part =
      length.count() == 0 ? 1 : static_cast<double>(position.count()) / static_cast<double>(length.count());
  const std::string number = std::to_string(static_cast<int>(100 * part));
  const std::string percent = std::string(3 - std::min<std::size_t>(3, number.size()), ' ') + number + '%';
  // The same width at the start and at the end, so the bar does not change its width.
  const std::string end = clock(length);
  const std::string now = clock(position);
  const std::string times = std::string(end.size() - std::min(end.size(), now.size()), ' ') + now + " / " + end;
  std::string words = percent + "  " + times;
  const std::size_t around = words.size() + 3;
  if (columns >= around + LeastBar) return bar(std::min(columns - around, MostBar), part) + ' ' + words;
  if (columns >= words.size()) return words;
  return columns >= percent.size() ? percent : std::string();
}

}  // namespace streamctl
