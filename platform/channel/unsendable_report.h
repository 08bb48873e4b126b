// Messages of a client that another system has no form for, reported at intervals.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/wire/loss_text.h"
#include "platform/wire/total_news.h"

namespace channel {

// Makes lines for the user: the first at once, later ones as a sum at most once a second. Not thread-safe.
class UnsendableReport {
 public:
  // total: as the service counts since the session began.
  void counted(std::uint64_t total) { total_ = earlier_ + total; }

  // Another session follows, with a count of its own.
  void sessionEnded() { earlier_ = total_; }

  // True while something is left to report.
  bool hasNews() const { return news_.next(total_).has_value(); }

  // Returns the line that is due at now; nullopt if there is none.
  std::optional<std::string> line(std::chrono::nanoseconds now) { return lineFor(news_.take(total_, now)); }

  // Like line, but without waiting: for the last report.
  std::optional<std::string> lastLine(std::chrono::nanoseconds now) { return lineFor(news_.takeAll(total_, now)); }

 private:
  static std::optional<std::string> lineFor(std::uint64_t count) {
    return count == 0 ? std::nullopt : std::optional(wire::unsendableText(count));
  }

  std::uint64_t earlier_ = 0;  // of sessions that have ended
  std::uint64_t total_ = 0;
  wire::TotalNews news_{std::chrono::seconds(1)};
};

}  // namespace channel
