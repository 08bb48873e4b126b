#include "platform/streamctl/stats_report.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/streamctl/json_text.h"
#include "platform/streamctl/text_table.h"
#include "platform/system/printable.h"

namespace streamctl {
namespace {

// In whole percent, rounded up: a queue that holds anything is above 0%.
std::string fill(std::uint64_t bytes, std::uint64_t limit) {
  if (limit == 0) return {};
  return std::to_string((100 * bytes + limit - 1) / limit) + '%';
}

}  // namespace

std::string statsText(const wire::Stats& stats) {
  std::string lost = std::to_string(stats.lost);
  if (const auto times = stats.uncountedLosses; times > 0) {
    lost += "; " + std::to_string(times) + (times == 1 ? " more loss" : " more losses") + " of unknown size";
  }
  std::string text = textTable({{"messages in", std::to_string(stats.in)},
                                {"messages out", std::to_string(stats.out)},
                                {"messages lost", lost},
                                {"messages unsendable", std::to_string(stats.unsendable)},
                                {"queue limit", std::to_string(stats.queueLimit) + " bytes"}});
  std::vector<std::vector<std::string>> rows{
      {"PROGRAM", "PROCESS", "TAPS", "IN", "OUT", "LOST", "UNSENDABLE", "QUEUE", "FILL"}};
  for (const wire::ClientStats& client : stats.clients) {
    rows.push_back({sys::printable(client.program), std::to_string(client.process), std::to_string(client.taps),
                    std::to_string(client.in), std::to_string(client.out), std::to_string(client.lost),
                    std::to_string(client.unsendable), std::to_string(client.queueBytes),
                    fill(client.queueBytes, stats.queueLimit)});
  }
  return text + '\n' + textTable(rows);
}

std::string statsJson(const wire::Stats& stats) {
  JsonValue clients = JsonValue::array();
  for (const wire::ClientStats& client : stats.clients) {
    clients.push_back({{"program", client.program},
                       {"process", client.process},
                       {"taps", client.taps},
                       {"in", client.in},
                       {"out", client.out},
                       {"lost", client.lost},
                       {"unsendable", client.unsendable},
                       {"queue_bytes", client.queueBytes}});
  }
  return jsonText(JsonValue{{"in", stats.in},
                            {"out", stats.out},
                            {"lost", stats.lost},
                            {"uncounted_losses", stats.uncountedLosses},
                            {"unsendable", stats.unsendable},
                            {"queue_limit", stats.queueLimit},
                            {"clients", std::move(clients)}},
                  2) +
         '\n';
}

}  // namespace streamctl
