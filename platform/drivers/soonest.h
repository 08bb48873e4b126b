// Which of several times comes first.
#pragma once

#include <algorithm>
#include <optional>

#include "platform/drivers/port.h"

namespace service {

// Makes first the earlier of the two, where nothing is never.
inline void soonest(std::optional<Time>& first, std::optional<Time> other) {
  if (other) first = std::min(first.value_or(*other), *other);
}

}  // namespace service
