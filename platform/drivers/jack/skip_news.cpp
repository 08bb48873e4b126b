#include "platform/drivers/jack/skip_news.h"

#include <algorithm>
#include <chrono>

namespace service::jack {
namespace {

constexpr Time Apart = std::chrono::seconds(1);

}  // namespace

std::vector<PortId> SkipNews::take(Time now) {
  std::vector<PortId> due;
  for (auto& [source, news] : news_) {
    if (!news.waits || (news.told && now < *news.told + Apart)) continue;
    due.push_back(source);
    news = {false, now};
  }
  return due;
}

std::optional<Time> SkipNews::next() const {
  std::optional<Time> first;
  for (const auto& [source, news] : news_) {
    if (news.waits && news.told) first = std::min(first.value_or(*news.told + Apart), *news.told + Apart);
  }
  return first;
}

}  // namespace service::jack
