// Standard error on a terminal that does not block and has too little room.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace testsupport {

// Runs write on a thread of its own while standard error is such a terminal, and reads from it only after it has become
// full. Answers what was read until there were as many bytes as expected, or nothing came for ten seconds.
std::string readFromFullTerminal(std::size_t expected, const std::function<void()>& write);

}  // namespace testsupport
