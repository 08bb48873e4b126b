#include "platform/client/service_search.h"

#include <utility>
#include <variant>

namespace client {

bool findService(const std::vector<std::string>& endpoints, std::uint32_t behaviour, const TakeService& take,
                 const ReportProblem& report) {
  for (const std::string& endpoint : endpoints) {
    auto connection = openConnection(endpoint, behaviour);
    if (const auto* problem = std::get_if<ConnectionProblem>(&connection)) {
      if (!problem->nobodyThere || &endpoint == &endpoints.back()) report(endpoint, *problem);
      continue;
    }
    const auto cause = take(std::get<Connection>(std::move(connection)), endpoint);
    if (!cause) return true;
    report(endpoint, {*cause});
  }
  return false;
}

}  // namespace client
