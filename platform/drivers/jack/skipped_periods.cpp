#include "platform/drivers/jack/skipped_periods.h"

#include <algorithm>
#include <chrono>

namespace drivers::jack {
namespace {

constexpr device::Time Apart = std::chrono::seconds(1);

}  // namespace

std::vector<device::PortId> SkipNews::take(device::Time now) {
  std::vector<device::PortId> due;
  for (auto& [source, news] : news_) {
    if (!news.waits || (news.told && now < *news.told + Apart)) continue;
    due.push_back(source);
    news = {false, now};
  }
  return due;
}

std::optional<device::Time> SkipNews::next() const {
  std::optional<device::Time> first;
  for (const auto& [source, news] : news_) {
    if (news.waits && news.told) first = std::min(first.value_or(*news.told + Apart), *news.told + Apart);
  }
  return first;
}

}  // namespace drivers::jack
