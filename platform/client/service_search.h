// Which service a program takes.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/client/connection.h"

namespace client {

// Is given the connection to an endpoint. Answers why that service is of no use, or nothing when it is taken.
using TakeService = std::function<std::optional<std::string>(Connection connection, const std::string& endpoint)>;

// Is told why there is no service at an endpoint.
using ReportProblem = std::function<void(const std::string& endpoint, const ConnectionProblem& problem)>;

// Tries the endpoints in turn until a service is taken. Where nobody is, only the last is reported. True when one was
// taken. Blocks as long as openConnection and take.
bool findService(const std::vector<std::string>& endpoints, std::uint32_t behaviour, const TakeService& take,
                 const ReportProblem& report);

}  // namespace client
