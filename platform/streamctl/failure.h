// Why a command did not do what was asked.
#pragma once

#include <optional>
#include <string>

namespace streamctl {

// In one printable line; empty when the line has been written already.
struct Failure {
  std::string cause;
};

// How a command ends: without a failure, or with one.
using Outcome = std::optional<Failure>;

}  // namespace streamctl
