// The folder of a local socket.
#pragma once

#include <optional>
#include <string>

namespace streamd {

// Makes the folder, one level deep, with mode 0750. An existing folder stays as it is; one that all users may write is
// refused unless it is sticky, because any of them could replace the socket. The empty path is the current folder. On
// failure returns the cause as text.
std::optional<std::string> prepareFolder(const std::string& folder);

}  // namespace streamd
