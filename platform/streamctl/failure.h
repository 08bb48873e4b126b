// Why a command failed.
#pragma once

#include <optional>
#include <string>

namespace streamctl {

// One printable line; empty if the line is already printed.
struct Failure {
  std::string cause;
};

// The result of a command: nullopt on success.
using Outcome = std::optional<Failure>;

}  // namespace streamctl
