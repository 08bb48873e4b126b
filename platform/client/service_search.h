// The search for a service that a program can use.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/client/connection.h"

namespace client {

// Called with the connection to an endpoint. Returns nullopt if the program takes that service, else why not.
using TakeService = std::function<std::optional<std::string>(Connection connection, const std::string& endpoint)>;

// Called with the reason why there is no service at an endpoint.
using ReportProblem = std::function<void(const std::string& endpoint, const ConnectionProblem& problem)>;

// Tries the endpoints in turn until take accepts a service. Where nothing listens, only the last endpoint is reported.
// Returns true if a service was taken. Blocks as long as openConnection and take.
bool findService(const std::vector<std::string>& endpoints, std::uint32_t behaviour, const TakeService& take,
                 const ReportProblem& report);

}  // namespace client
