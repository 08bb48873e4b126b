// Where a host tells what happens to its clients.
#pragma once

#include <functional>
#include <string_view>

namespace host {

// Takes one line without a line end, printable whatever clients and devices call themselves. Called on the host's
// thread; may be empty.
using Log = std::function<void(std::string_view line)>;

}  // namespace host
