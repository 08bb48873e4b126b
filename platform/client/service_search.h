// Which service a program takes.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/client/connection.h"

namespace client {

// Takes the connection to an endpoint. Returns nullopt when it takes the service, else the reason why it does not.
using TakeService = std::function<std::optional<std::string>(Connection connection, const std::string& endpoint)>;

// Called with the reason why there is no service at an endpoint.
using ReportProblem = std::function<void(const std::string& endpoint, const ConnectionProblem& problem)>;

// Tries the endpoints in turn until a service is taken, and returns whether one was. An endpoint where nobody listens
// is reported only when it is the last. Blocks as long as openConnection and take.
bool findService(const std::vector<std::string>& endpoints, std::uint32_t behaviour, const TakeService& take,
                 const ReportProblem& report);

}  // namespace client
