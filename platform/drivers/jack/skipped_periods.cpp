#include "platform/drivers/jack/skipped_periods.h"

#include <algorithm>
#include <chrono>

namespace drivers::jack {
namespace {

constexpr device::Time Apart = std::chrono::seconds(1);

}  // namespace

std::vector<device::PortId> SkippedPeriods::take(device::Time now) {
  std::vector<device::PortId> due;
  for (auto& [source, report] : reports_) {
    if (!report.waits || (report.told && now < *report.told + Apart)) continue;
    due.push_back(source);
    report = {false, now};
  }
  return due;
}

std::optional<device::Time> SkippedPeriods::next() const {
  std::optional<device::Time> first;
  for (const auto& [source, report] : reports_) {
    if (report.waits && report.told) first = std::min(first.value_or(*report.told + Apart), *report.told + Apart);
  }
  return first;
}

}  // namespace drivers::jack
