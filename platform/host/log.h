// The log of a host about its clients.
#pragma once

#include <functional>
#include <string_view>

namespace host {

// Takes one line without a line end. The line is printable, whatever names clients and devices have. Called on the
// host's thread; may be empty.
using Log = std::function<void(std::string_view line)>;

}  // namespace host
